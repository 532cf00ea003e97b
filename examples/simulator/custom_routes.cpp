// The device's own routes: units in REST style, status, users. Made to be copied.
#include "custom_routes.h"

#include <array>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "device.h"
#include "live.h"
#include "sdkapi/sdkapi.h"
#include "slot_guard.h"
#include "units.h"
#include "users.h"

namespace sim {
namespace {

using nlohmann::json;

enum Method : int { kGet = 0, kPost = 1 };
enum ContentType : int { kJson = 1 };

constexpr std::string_view kUnitsUrl = "/sim/units";

// 1. What a get/post function does is reply: one call, JSON, the fixed headers.
int Answer(mg_connection* conn, int status, const json& body) {
  const std::string text = body.dump(-1, ' ', false, json::error_handler_t::replace);
  SendReponseInfo(conn, status, kJson, text.c_str(), static_cast<int>(text.size()));
  return 0;
}

int AnswerError(mg_connection* conn, int status, const char* text) {
  return Answer(conn, status, {{"error", text}});
}

// 2. The library has checked that the token belongs to a login; what its user may do is the host's own
// question.
std::string TokenOf(mg_connection* conn) {
  std::array<char, 1025> token{};  // zero-filled, as GetHttpToken wants it
  GetHttpToken(conn, token.data());
  return token.data();
}

// 3. The body is not NUL-terminated, and NULL without one.
json BodyOf(const CustomReqInfo& request) {
  if (request.body == nullptr || request.bodyLength <= 0) return json::value_t::discarded;
  return json::parse(request.body, request.body + request.bodyLength, nullptr, false);
}

// 4. The route is registered without "$", so everything behind it arrives here: "/sim/units" and
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
  if (!MayWrite(TokenOf(conn))) return AnswerError(conn, 401, "not authorised");
  if (!FindUnit(name)) return AnswerError(conn, 404, "no such unit");
  const auto change = ToUnitChange(BodyOf(request));
  if (!change) return AnswerError(conn, 400, "bad body");
  const std::string reason = ChangeUnit(name, *change);
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

json UsersBody() {
  json users = json::array();
  for (const User& user : ListUsers()) {
    users.push_back({{"name", user.name}, {"role", user.role}, {"firstlogin", user.firstLogin}});
  }
  return {{"users", users}};
}

// 5. The functions that are registered: plain functions with the library's signatures; no exception leaves
// them.
int ServeUnits(mg_connection* conn, CustomReqInfo* request) {
  return Guarded([&] {
    if (!UserForToken(TokenOf(conn))) return AnswerError(conn, 401, "not authorised");
    return DispatchUnits(conn, *request);
  });
}

int ServeStatus(mg_connection* conn, CustomReqInfo* request) {
  return Guarded([&] {
    if (!UserForToken(TokenOf(conn))) return AnswerError(conn, 401, "not authorised");
    if (request->method != kGet) return AnswerError(conn, 405, "method not allowed");
    return Answer(conn, 200, StatusBody());
  });
}

int ServeUsers(mg_connection* conn, CustomReqInfo* request) {
  return Guarded([&] {
    if (!IsAdministrator(TokenOf(conn))) return AnswerError(conn, 401, "not authorised");
    if (request->method != kGet) return AnswerError(conn, 405, "method not allowed");
    return Answer(conn, 200, UsersBody());
  });
}

}  // namespace

void RegisterDeviceRoutes() {
  SdkAPISer_Custom_Get_Post_Api_Add("/sim/units", ServeUnits);
  SdkAPISer_Custom_Get_Post_Api_Add("/sim/status$", ServeStatus);
  SdkAPISer_Custom_Get_Post_Api_Add("/sim/users$", ServeUsers);
}

}  // namespace sim
