// Commands that clients send over the WebSocket.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace sim {

// Carries out a command of a login's client. Returns the answer.
nlohmann::json CarryOut(const std::string& token, const std::string& text);

}  // namespace sim
