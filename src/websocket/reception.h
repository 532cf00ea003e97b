// What a host has set for WebSockets, and a message of one of them on its way to the host.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "sdkapi/extension.h"

namespace sdkapi {

// What a connection takes along from its handshake; later settings are for later connections.
struct WebSocketSettings {
  SdkAPIExtWebSocketSlots slots;
  std::size_t mostQueuedFrames;
  std::size_t mostQueuedBytes;
  uint64_t mostMessageBytes;  // 0: no bound
};
WebSocketSettings CurrentSettings();

// The bounds of a connection whose host set none.
constexpr std::size_t kUsualQueuedFrames = 512;
constexpr std::size_t kUsualQueuedBytes = 1048576;
constexpr uint64_t kUsualMessageBytes = 1048576;

// One message that comes in frames. Its text has a NUL behind it.
struct Reception {
  Reception() = default;
  ~Reception() { Drop(); }
  Reception(const Reception&) = delete;
  Reception& operator=(const Reception&) = delete;

  int kind = 0;        // the opcode of the message that has begun; 0: none has
  uint64_t bytes = 0;  // of the message so far, kept or not
  char* data = nullptr;
  std::size_t length = 0;
  std::size_t room = 0;

  // False when memory is short.
  bool Append(std::string_view part);
  void Drop();
};

}  // namespace sdkapi
