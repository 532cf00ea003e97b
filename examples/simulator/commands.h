// Commands that clients send over the WebSocket.
#pragma once

#include <string>

namespace sim {

// Carries a command out and answers it on the token's connection.
void CarryOut(const std::string& token, const std::string& text);

}  // namespace sim
