// Commands that clients send over the WebSocket.
#include "slots/commands.h"

#include <functional>
#include <map>

#include "model/device.h"
#include "model/presets.h"
#include "model/reboot.h"
#include "model/units.h"
#include "model/users.h"
#include "slots/acts.h"

namespace sim {
namespace {

using nlohmann::json;

constexpr int kDeepest = 16;

// Returns an empty text, or why the command failed.
using Command = std::string (*)(const json& message);

std::string Change(const json& message, const char* member) {
  if (!message.value("unit", json()).is_string() || !message.contains(member)) return "members are missing";
  const auto change = ToUnitChange({{member, message[member]}});
  return change ? ChangeUnit(message["unit"], *change) : "bad value";
}

template <std::string (*kChange)(const std::string& name)>
std::string Preset(const json& message) {
  const json name = message.value("name", json());
  return name.is_string() ? kChange(name) : "members are missing";
}

std::string Recall(const std::string& name) { return RecallPreset(name).fault; }

std::string Rename(const json& message) {
  const json name = message.value("name", json());
  const json to = message.value("to", json());
  return name.is_string() && to.is_string() ? RenamePreset(name, to) : "members are missing";
}

std::string Route(const json& message) {
  if (!message.contains("routes")) return "members are missing";
  const auto routes = ToRoutes(message["routes"]);
  return routes ? SetRoutes(*routes) : "bad value";
}

std::string Reboot(const json& /*message*/) {
  return BeginReboot(SoftwareVersion()) ? "" : "rebooting already";
}

const std::map<std::string, Command, std::less<>> kCommands = {
    {"set-unit-name", [](const json& message) { return Change(message, "name"); }},
    {"set-unit-online", [](const json& message) { return Change(message, "online"); }},
    {"set-unit-input", [](const json& message) { return Change(message, "input"); }},
    {"set-unit-edid", [](const json& message) { return Change(message, "edid"); }},
    {"set-unit-locked", [](const json& message) { return Change(message, "locked"); }},
    {"set-routes", Route},
    {"preset-store", Preset<StorePreset>},
    {"preset-recall", Preset<Recall>},
    {"preset-rename", Rename},
    {"preset-delete", Preset<DeletePreset>},
    {"reboot", Reboot},
};

std::string Run(const std::string& token, const std::string& type, const json& message) {
  const auto command = kCommands.find(type);
  if (command == kCommands.end()) return "unknown command";
  std::string reason = MayWrite(token) ? command->second(message) : "not authorised";
  NoteCommand(type, message, reason);
  return reason;
}

json Answer(const std::string& token, const json& message) {
  const bool understood = message.is_object() && message.value("type", json()).is_string();
  const json id = message.is_object() ? message.value("id", json()) : json();
  if (!understood) return {{"type", "error"}, {"id", id}, {"text", "not a command"}};
  if (message["type"] == "ping") return {{"type", "pong"}, {"id", id}};
  if (message["type"] == "preset-list") return {{"type", "presets"}, {"id", id}, {"presets", ListPresets()}};
  const std::string reason = Run(token, message["type"], message);
  if (reason.empty()) return {{"type", "ok"}, {"id", id}};
  return {{"type", "error"}, {"id", id}, {"text", reason}};
}

}  // namespace

json CarryOut(const std::string& token, const std::string& text) {
  // The id is sent back, and writing JSON recurses: deep values are dropped.
  const auto isShallow = [](int depth, json::parse_event_t /*event*/, json& /*value*/) {
    return depth <= kDeepest;
  };
  return Answer(token, json::parse(text, isShallow, false));
}

}  // namespace sim
