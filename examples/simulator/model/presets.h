// Presets: stored routings, which transmitter each receiver shows.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace sim {

// [{"name","routes":{RECEIVER:TRANSMITTER or empty,...}},...]
nlohmann::json ListPresets();
nlohmann::json NoPresets();
// An empty text for a list that ReplacePresets takes, else what is wrong with it.
std::string PresetsFault(const nlohmann::json& presets);
bool ReplacePresets(const nlohmann::json& presets);

// Nothing for a name that has none.
std::optional<nlohmann::json> FindPreset(const std::string& name);

// Each is one change, and told to all clients. They return an empty text, or why not.
std::string StorePreset(const std::string& name);
// Units and inputs that are gone stay as they are.
std::string RecallPreset(const std::string& name);
std::string DeletePreset(const std::string& name);

}  // namespace sim
