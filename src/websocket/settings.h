// What a host has set for WebSockets.
#pragma once

#include <cstddef>
#include <cstdint>

#include "sdkapi/extension.h"

namespace sdkapi {

// What a connection takes along from its handshake; later settings are for later connections.
struct WebSocketSettings {
  SdkAPIExtWebSocketSlots slots;
  std::size_t mostQueuedFrames;
  std::size_t mostQueuedBytes;
  uint64_t mostMessageBytes;  // 0: no bound
};

// Whether messages have slots or a bound.
bool IsGoverned(const WebSocketSettings& settings);

WebSocketSettings CurrentSettings();

}  // namespace sdkapi
