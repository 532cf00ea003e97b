// What only our build of the web server has, for the in-memory one: closing single WebSockets, and bounds.
#pragma once

#include <cstddef>
#include <cstdint>

#include "fake_civetweb.h"

namespace sdktest {

struct ServerBounds {
  std::size_t queueBytes = 0;  // as they were set last; 0: never
  std::size_t queueFrames = 0;
  uint64_t payloadBytes = 0;
  std::size_t queued = 0;  // what mg_websocket_queued tells
  unsigned ofOneAddress = 0;
};

// What the server tells of itself.
struct ServerFigures {
  mg_traffic traffic{};
  mg_load load{};
};
ServerFigures& Figures();

// Of any connection: the library sets those of WebSockets when a handshake is complete.
ServerBounds& Bounds();

}  // namespace sdktest
