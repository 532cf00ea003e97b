// The routes of the presets: list, look, store, recall, delete.
#include "slots/preset_routes.h"

#include <sdkapi/kit_accounts.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "model/presets.h"
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

int CarryOutPreset(mg_connection* conn, const std::string& name, const std::string& action) {
  if (action != "store" && !FindPreset(name)) return AnswerError(conn, 404, "no such preset");
  std::string reason = "bad body";
  if (action == "store") reason = StorePreset(name);
  if (action == "recall") reason = RecallPreset(name);
  if (action == "delete") reason = DeletePreset(name);
  if (!reason.empty()) return AnswerError(conn, 400, reason.c_str());
  return action == "delete" ? Answer(conn, 200, json::object()) : AnswerPreset(conn, name);
}

int PostPreset(mg_connection* conn, const CustomReqInfo& request, const std::string& name) {
  const json body = BodyOf(request);
  const bool isGood = body.is_object() && body.size() == 1 && body.value("action", json()).is_string();
  return isGood ? CarryOutPreset(conn, name, body["action"]) : AnswerError(conn, 400, "bad body");
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
