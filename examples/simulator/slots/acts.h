// Acts: what the kit says of who did what, and what clients switch, whichever way the command came.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace sim {

// From the first to the second acts are kept, and clients hear that there is a new one.
void StartActs();
void StopActs();

// The request that this thread serves says who acts. An empty reason: it was done.
void NoteAct(const char* subject, const std::string& action, const std::string& object,
             const std::string& target, const std::string& reason);

// A command by its type, as the WebSocket channel has it. An empty reason: it was carried out.
void NoteCommand(const std::string& type, const nlohmann::json& message, const std::string& reason);

// A change of a unit: one act for each of its members.
void NoteUnitChange(const std::string& unit, const nlohmann::json& change, const std::string& reason);

}  // namespace sim
