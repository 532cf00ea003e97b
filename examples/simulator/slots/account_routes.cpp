// Who am I, who is logged in, who may be.
#include "slots/account_routes.h"

#include <sdkapi/kit_accounts.h>

#include <string>
#include <string_view>

#include "model/users.h"
#include "slots/acts.h"
#include "slots/replies.h"
#include "slots/slot_guard.h"

namespace sim {
namespace {

using nlohmann::json;

// What the kit knows; larger numbers would be cut to an int.
constexpr int kLeastRole = 1;
constexpr int kMostRole = 30;

json MeBody(const std::string& token) {
  SdkKitUser user{};
  user.size = sizeof user;
  if (SdkKitAccounts_Who(token.c_str(), &user) != 0) return {};
  return {{"name", user.name},           {"role", user.role},
          {"rolename", user.roleName},   {"firstlogin", user.firstlogin},
          {"mayWrite", MayWrite(token)}, {"mayAdminister", MayAdminister(token)}};
}

json SessionsBody(const std::string& token) {
  json list = json::array();
  for (const SdkKitSession& session : ListSessions(token)) {
    list.push_back({{"id", session.id},
                    {"name", session.name},
                    {"role", session.role},
                    {"address", session.address},
                    {"age", session.ageSeconds},
                    {"idle", session.idleSeconds},
                    {"webSockets", session.webSockets},
                    {"own", session.own == 1}});
  }
  return {{"sessions", list}};
}

int ServeMe(mg_connection* conn, CustomReqInfo* request) {
  return Guarded([&] {
    if (request->method != kGet) return AnswerError(conn, 405, "method not allowed");
    return Answer(conn, 200, MeBody(TokenOf(conn)));
  });
}

int EndSession(mg_connection* conn, const CustomReqInfo& request) {
  const json body = BodyOf(request);
  if (!body.is_object() || !body.value("end", json()).is_number_unsigned())
    return AnswerError(conn, 400, "bad body");
  if (SdkKitAccounts_EndSession(TokenOf(conn).c_str(), body["end"]) != 0)
    return AnswerError(conn, 404, "no such session");
  return Answer(conn, 200, json::object());
}

int ServeSessions(mg_connection* conn, CustomReqInfo* request) {
  return Guarded([&] {
    if (request->method == kPost) return EndSession(conn, *request);
    if (request->method != kGet) return AnswerError(conn, 405, "method not allowed");
    return Answer(conn, 200, SessionsBody(TokenOf(conn)));
  });
}

int ServeUsers(mg_connection* conn, CustomReqInfo* request) {
  return Guarded([&] {
    if (request->method != kGet) return AnswerError(conn, 405, "method not allowed");
    return Answer(conn, 200, UsersBody());
  });
}

// The code is that of the built-in routes about users.
int AnswerCode(mg_connection* conn, int code) {
  return code < 0 ? AnswerError(conn, 500, "not stored") : Answer(conn, 200, {{"code", code}});
}

int ChangeRole(mg_connection* conn, const std::string& name, const json& role) {
  const bool isRole = role >= kLeastRole && role <= kMostRole;
  const int code = isRole ? SdkKitAccounts_SetRole(name.c_str(), role) : kKitUserBadRole;
  NoteAct("accounts", "role", name, role.dump(), SdkKitAccounts_CodeText(code));
  return AnswerCode(conn, code);
}

int ChangePassword(mg_connection* conn, const std::string& name, const std::string& password) {
  const int code = SdkKitAccounts_SetPassword(name.c_str(), password.c_str());
  NoteAct("accounts", "first-password", name, "", SdkKitAccounts_CodeText(code));
  return AnswerCode(conn, code);
}

int ChangeUser(mg_connection* conn, const CustomReqInfo& request, const std::string& name) {
  const json body = BodyOf(request);
  if (!body.is_object() || body.size() != 1) return AnswerError(conn, 400, "bad body");
  if (body.value("role", json()).is_number_integer()) return ChangeRole(conn, name, body["role"]);
  if (body.value("password", json()).is_string()) return ChangePassword(conn, name, body["password"]);
  return AnswerError(conn, 400, "bad body");
}

int ServeUser(mg_connection* conn, CustomReqInfo* request) {
  return Guarded([&] {
    constexpr std::string_view kPrefix = "/sim/users/";
    const std::string_view url = GetHttpUrl(conn);
    if (request->method != kPost) return AnswerError(conn, 405, "method not allowed");
    if (!url.starts_with(kPrefix)) return AnswerError(conn, 404, "no such route");
    return ChangeUser(conn, *request, std::string(url.substr(kPrefix.size())));
  });
}

}  // namespace

void RegisterAccountRoutes() {
  SdkKitAccounts_Get_Post_Add("/sim/me$", ServeMe);
  SdkKitAccounts_Get_Post_Add("/sim/sessions$", ServeSessions);
  SdkKitAccounts_Get_Post_Add("/sim/users$", ServeUsers);
  SdkKitAccounts_Get_Post_Add("/sim/users/", ServeUser);
}

}  // namespace sim
