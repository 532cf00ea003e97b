// Presets: stored routings, which transmitter each receiver shows.
#include "model/presets.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "bus/events.h"
#include "model/units.h"
#include "store/database.h"
#include "store/names.h"

namespace sim {
namespace {

using nlohmann::json;

constexpr std::size_t kMostPresets = 32;
constexpr std::size_t kMostRoutes = 128;
constexpr const char* kUnknown = "no such preset";

bool Exists(const std::string& name) {
  return !TheDatabase().Query("SELECT 1 FROM presets WHERE name = ? LIMIT 1", {name}).empty();
}

bool IsFull() {
  return std::stoul(TheDatabase().Query("SELECT COUNT(DISTINCT name) FROM presets")[0][0]) >= kMostPresets;
}

bool HasReceivers() { return !TheDatabase().Query("SELECT 1 FROM units WHERE type = 'rx' LIMIT 1").empty(); }

std::string StoreFault(const std::string& name) {
  if (!IsName(name)) return "bad name";
  if (!HasReceivers()) return "there are no receivers";
  return !Exists(name) && IsFull() ? "too many presets" : "";
}

bool IsRoute(const std::string& receiver, const json& input) {
  if (!IsName(receiver) || !input.is_string()) return false;
  const auto transmitter = input.get<std::string>();
  return transmitter.empty() || IsName(transmitter);
}

bool AreRoutes(const json& routes) {
  if (!routes.is_object() || routes.empty() || routes.size() > kMostRoutes) return false;
  const auto items = routes.items();
  return std::all_of(items.begin(), items.end(),
                     [](const auto& item) { return IsRoute(item.key(), item.value()); });
}

bool IsPreset(const json& preset) {
  const json name = preset.is_object() ? preset.value("name", json()) : json();
  return name.is_string() && IsName(name.get<std::string>()) && AreRoutes(preset.value("routes", json()));
}

void Tell(const std::string& name, const char* action, const json& more = json::object()) {
  json event = {{"type", "preset"}, {"name", name}, {"action", action}};
  event.update(more);
  Publish(event);
}

// One change of the presets, and its event.
std::string Change(const std::string& name, const char* action, const std::vector<const char*>& statements) {
  Transaction transaction(TheDatabase());
  for (const char* const statement : statements) TheDatabase().Execute(statement, {name});
  transaction.Commit();
  Tell(name, action);
  return "";
}

std::string RenameFault(const std::string& name, const std::string& to) {
  if (!Exists(name)) return kUnknown;
  if (!IsName(to)) return "bad name";
  return to != name && Exists(to) ? "name is taken" : "";
}

std::vector<std::string> LockedAgainst(const std::string& preset) {
  std::vector<std::string> receivers;
  const auto rows = TheDatabase().Query(
      "SELECT units.name FROM units JOIN presets AS stored ON stored.receiver = units.name "
      "WHERE stored.name = ? AND units.locked = 1 AND units.input <> stored.input ORDER BY units.id",
      {preset});
  receivers.reserve(rows.size());
  for (const auto& row : rows) receivers.push_back(row[0]);
  return receivers;
}

constexpr const char* kRecall =
    "UPDATE units SET input = stored.input FROM presets AS stored WHERE stored.name = ? AND "
    "stored.receiver = units.name AND units.type = 'rx' AND units.locked = 0 AND (stored.input = '' OR "
    "EXISTS (SELECT 1 FROM units AS source WHERE source.name = stored.input AND source.type = 'tx'))";

}  // namespace

json ListPresets() {
  json presets = json::array();
  for (const auto& row :
       TheDatabase().Query("SELECT name, receiver, input FROM presets ORDER BY name, receiver")) {
    if (presets.empty() || presets.back()["name"] != row[0])
      presets.push_back({{"name", row[0]}, {"routes", json::object()}});
    presets.back()["routes"][row[1]] = row[2];
  }
  return presets;
}

json NoPresets() { return json::array(); }

std::string PresetsFault(const json& presets) {
  if (!presets.is_array() || presets.size() > kMostPresets) return "no list of presets, or too long";
  if (!std::all_of(presets.begin(), presets.end(), IsPreset)) return "a bad preset";
  return HaveOwnNames(presets) ? "" : "a name that is there twice";
}

bool ReplacePresets(const json& presets) {
  TheDatabase().Execute("DELETE FROM presets");
  for (const json& preset : presets) {
    for (const auto& [receiver, input] : preset["routes"].items()) {
      TheDatabase().Execute("INSERT INTO presets (name, receiver, input) VALUES (?, ?, ?)",
                            {preset["name"], receiver, input});
    }
  }
  return true;
}

std::optional<json> FindPreset(const std::string& name) {
  for (const json& preset : ListPresets()) {
    if (preset["name"] == name) return preset;
  }
  return std::nullopt;
}

std::string StorePreset(const std::string& name) {
  const auto lock = OneChange();
  if (std::string fault = StoreFault(name); !fault.empty()) return fault;
  return Change(
      name, "stored",
      {"DELETE FROM presets WHERE name = ?",
       "INSERT INTO presets (name, receiver, input) SELECT ?, name, input FROM units WHERE type = 'rx'"});
}

Recalled RecallPreset(const std::string& name) {
  const auto lock = OneChange();
  if (!Exists(name)) return {kUnknown, {}};
  const std::vector<std::string> locked = LockedAgainst(name);
  TheDatabase().Execute(kRecall, {name});
  Tell(name, "recalled", {{"locked", locked}});
  PublishUnits();
  return {"", locked};
}

std::string RenamePreset(const std::string& name, const std::string& to) {
  const auto lock = OneChange();
  if (std::string fault = RenameFault(name, to); !fault.empty()) return fault;
  TheDatabase().Execute("UPDATE presets SET name = ? WHERE name = ?", {to, name});
  Tell(to, "renamed", {{"was", name}});
  return "";
}

void PublishPresets() { Publish({{"type", "presets"}, {"id", nullptr}, {"presets", ListPresets()}}); }

std::string DeletePreset(const std::string& name) {
  const auto lock = OneChange();
  return Exists(name) ? Change(name, "deleted", {"DELETE FROM presets WHERE name = ?"}) : kUnknown;
}

}  // namespace sim
