// The routes of the presets: list, look, store, recall, rename, delete.
#include "slots/preset_routes.h"

#include <sdkapi/kit_accounts.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "model/presets.h"
#include "slots/acts.h"
#include "slots/replies.h"
#include "slots/slot_guard.h"

namespace sim {
namespace {

using nlohmann::json;

constexpr std::string_view kUrl = "/sim/presets";

int AnswerPreset(mg_connection* conn, const std::string& name) {
  const auto preset = FindPreset(name);
  return preset ? Answer(conn, 200, *preset) : AnswerError(conn, 404, "no such preset");
}

// The name is that which it has afterwards.
int AnswerChange(mg_connection* conn, const json& act, const std::string& fault, const std::string& name) {
  NoteCommand(act["type"], act, fault);
  return fault.empty() ? AnswerPreset(conn, name) : AnswerError(conn, 400, fault.c_str());
}

int AnswerRecall(mg_connection* conn, const std::string& name) {
  const Recalled recalled = RecallPreset(name);
  NoteCommand("preset-recall", {{"name", name}}, recalled.fault);
  json preset = FindPreset(name).value_or(json::object());
  preset["locked"] = recalled.locked;
  return recalled.fault.empty() ? Answer(conn, 200, preset) : AnswerError(conn, 400, recalled.fault.c_str());
}

int AnswerDelete(mg_connection* conn, const std::string& name) {
  const std::string fault = DeletePreset(name);
  NoteCommand("preset-delete", {{"name", name}}, fault);
  return fault.empty() ? Answer(conn, 200, json::object()) : AnswerError(conn, 400, fault.c_str());
}

int PostPreset(mg_connection* conn, const CustomReqInfo& request, const std::string& name) {
  const json body = BodyOf(request);
  if (!body.is_object() || !body.value("action", json()).is_string())
    return AnswerError(conn, 400, "bad body");
  const auto asks = [&](const char* action, std::size_t members) {
    return body.size() == members && body["action"] == action;
  };
  if (asks("store", 1))
    return AnswerChange(conn, {{"type", "preset-store"}, {"name", name}}, StorePreset(name), name);
  if (!FindPreset(name)) return AnswerError(conn, 404, "no such preset");
  if (asks("recall", 1)) return AnswerRecall(conn, name);
  if (asks("delete", 1)) return AnswerDelete(conn, name);
  const json to = asks("rename", 2) ? body.value("to", json()) : json();
  if (!to.is_string()) return AnswerError(conn, 400, "bad body");
  return AnswerChange(conn, {{"type", "preset-rename"}, {"name", name}, {"to", to}}, RenamePreset(name, to),
                      to);
}

int DispatchPresets(mg_connection* conn, const CustomReqInfo& request) {
  const std::string_view url = GetHttpUrl(conn);
  const std::string_view rest = url.substr(std::min(url.size(), kUrl.size()));
  if (!url.starts_with(kUrl) || (!rest.empty() && rest[0] != '/'))
    return AnswerError(conn, 404, "no such route");
  const std::string name(rest.substr(rest.empty() ? 0 : 1));
  if (request.method == kPost && !name.empty()) return PostPreset(conn, request, name);
  if (request.method != kGet) return AnswerError(conn, 405, "method not allowed");
  return name.empty() ? Answer(conn, 200, {{"presets", ListPresets()}}) : AnswerPreset(conn, name);
}

int ServePresets(mg_connection* conn, CustomReqInfo* request) {
  return Guarded([&] { return DispatchPresets(conn, *request); });
}

}  // namespace

void RegisterPresetRoutes() { SdkKitAccounts_Get_Post_Add("/sim/presets", ServePresets); }

}  // namespace sim
