// The device's own routes: units in REST style, and status. Made to be copied.
#include "slots/unit_routes.h"

#include <sdkapi/kit_accounts.h>

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "model/device.h"
#include "model/units.h"
#include "slots/acts.h"
#include "slots/live.h"
#include "slots/replies.h"
#include "slots/slot_guard.h"

namespace sim {
namespace {

using nlohmann::json;

constexpr std::string_view kUnitsUrl = "/sim/units";

// 1. What a get/post function does is reply (replies.h). Who may ask was judged before: the kit's rows of
// rights.
// 2. The route is registered without "$", so everything behind it arrives here: "/sim/units" and
// "/sim/units/NAME". Nothing for other URLs.
std::optional<std::string> UnitNameOf(mg_connection* conn) {
  const std::string_view url = GetHttpUrl(conn);
  if (!url.starts_with(kUnitsUrl)) return std::nullopt;
  const std::string_view rest = url.substr(kUnitsUrl.size());
  if (rest.empty()) return "";
  if (rest[0] != '/') return std::nullopt;
  return std::string(rest.substr(1));
}

int AnswerUnit(mg_connection* conn, const std::string& name) {
  const auto unit = FindUnit(name);
  return unit ? Answer(conn, 200, ToJson(*unit)) : AnswerError(conn, 404, "no such unit");
}

int PostUnit(mg_connection* conn, const CustomReqInfo& request, const std::string& name) {
  if (!FindUnit(name)) return AnswerError(conn, 404, "no such unit");
  const json body = BodyOf(request);
  const auto change = ToUnitChange(body);
  if (!change) return AnswerError(conn, 400, "bad body");
  const std::string reason = ChangeUnit(name, *change);
  NoteUnitChange(name, body, reason);
  return reason.empty() ? AnswerUnit(conn, change->name.value_or(name))
                        : AnswerError(conn, 400, reason.c_str());
}

int DispatchUnits(mg_connection* conn, const CustomReqInfo& request) {
  const auto name = UnitNameOf(conn);
  if (!name) return AnswerError(conn, 404, "no such route");
  if (request.method == kPost && !name->empty()) return PostUnit(conn, request, *name);
  if (request.method != kGet) return AnswerError(conn, 405, "method not allowed");
  return name->empty() ? Answer(conn, 200, {{"units", ExportUnits()}}) : AnswerUnit(conn, *name);
}

json StatusBody() {
  json status = StatusEvent();
  status.erase("type");
  status["model"] = kDeviceModel;
  status["version"] = SoftwareVersion();
  return status;
}

// 3. The functions that are registered: plain functions with the library's signatures; no exception leaves
// them.
int ServeUnits(mg_connection* conn, CustomReqInfo* request) {
  return Guarded([&] { return DispatchUnits(conn, *request); });
}

int ServeStatus(mg_connection* conn, CustomReqInfo* request) {
  return Guarded([&] {
    if (request->method != kGet) return AnswerError(conn, 405, "method not allowed");
    return Answer(conn, 200, StatusBody());
  });
}

}  // namespace

void RegisterUnitRoutes() {
  SdkKitAccounts_Get_Post_Add("/sim/units", ServeUnits);
  SdkKitAccounts_Get_Post_Add("/sim/status$", ServeStatus);
}

}  // namespace sim
