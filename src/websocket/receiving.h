// Frames of a client that a host's slots and bounds are for.
#pragma once

#include <string_view>

#include "websocket/connection.h"

namespace sdkapi {

enum class Received {
  kNotTaken,  // goes the way of a host without slots
  kKeep,      // the connection goes on, or its close frame is out
  kEnd,       // the host ends the connection
};
Received Receive(Connection& connection, int flags, std::string_view data);

}  // namespace sdkapi
