// Units as a document: which lists the device takes, and the text of its list.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace sim {

// An empty text for a list of units that the device takes, else what is wrong with it.
std::string UnitsFault(const nlohmann::json& units);
// The text of the host table's list of units: without what only this device's own routes know.
std::string UnitListText(nlohmann::json units);

}  // namespace sim
