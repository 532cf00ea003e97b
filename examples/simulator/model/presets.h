// Presets: stored routings, which transmitter each receiver shows.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

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
std::string RenamePreset(const std::string& name, const std::string& to);
std::string DeletePreset(const std::string& name);

struct Recalled {
  std::string fault;
  std::vector<std::string> locked;  // receivers that would show something else if they were not locked
};

// Units and inputs that are gone stay as they are, and so do locked receivers.
Recalled RecallPreset(const std::string& name);

// Tells all clients about every preset, after an import.
void PublishPresets();

}  // namespace sim
