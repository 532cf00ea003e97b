// The WebSocket whose event a thread is telling the host.
#pragma once

#include <cstdint>

namespace sdkapi {

// Names the connection for as long as the object lives.
class CurrentWebSocket {
 public:
  explicit CurrentWebSocket(uint64_t id);
  ~CurrentWebSocket();
  CurrentWebSocket(const CurrentWebSocket&) = delete;
  CurrentWebSocket& operator=(const CurrentWebSocket&) = delete;

 private:
  uint64_t outer_;
};

}  // namespace sdkapi
