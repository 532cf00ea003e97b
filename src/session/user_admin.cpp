// Changing one's own name or password, creating and deleting users.
#include <cstring>

#include "base/json_object.h"
#include "base/owned.h"
#include "base/text.h"
#include "http/accessors.h"
#include "http/handlers.h"
#include "http/request.h"
#include "http/response.h"
#include "sdkapi/host.h"
#include "sdkapi/http.h"
#include "sdkapi/values.h"
#include "server/log.h"

namespace {

using namespace sdkapi;

constexpr LogSource kLog{"sdkapi"};

enum ChangeType : int { kChangeName = 0, kChangePassword = 1, kChangeBoth = 2 };
enum UserAction : int { kCreate = 0, kDelete = 1 };

struct PathValue {
  const char* path;
  int value;
};

// "/change/username" has no built-in route; a host's own route may lead here with it.
constexpr PathValue kChangePaths[] = {
    {"/change/username", kChangeName},
    {"/change/password", kChangePassword},
    {"/change/usrorpasswd", kChangeBoth},
};
constexpr PathValue kManagePaths[] = {
    {"/createuser", kCreate},
    {"/deleteuser", kDelete},
};

// The value of the request's path, or -1 when the table does not list it.
template <std::size_t kRows>
int ValueForPath(const mg_connection* conn, const PathValue (&rows)[kRows]) {
  char path[32] = {};
  if (const char* const url = GetHttpUrl(conn); url != nullptr) CopyText(path, url);
  for (const PathValue& row : rows) {
    if (std::strcmp(path, row.path) == 0) return row.value;
  }
  return -1;
}

template <std::size_t kSize>
void ReadMember(const JsonPtr& body, const char* name, char (&dst)[kSize]) {
  cJSON_GetObjectItemValueString(body.get(), name, dst, static_cast<int>(kSize));
}

ChangeUserRequest ReadChange(const JsonPtr& body, int changeType) {
  ChangeUserRequest change{};
  ReadMember(body, "username", change.username);
  ReadMember(body, "newusername", change.newusername);
  ReadMember(body, "newpassword", change.newpassword);
  ReadMember(body, "oldpassword", change.oldpassword);
  change.changeType = changeType;
  return change;
}

ManageUserRequest ReadUser(const JsonPtr& body, int action) {
  ManageUserRequest user{};
  ReadMember(body, "username", user.username);
  if (action == kCreate) {
    ReadMember(body, "password", user.password);
    user.role = cJSON_GetObjectItemValueInt(body.get(), "role");
  }
  user.action = action;
  return user;
}

JsonObject CodeBody(std::integral auto code) {
  JsonObject body;
  body.Add("code", code);
  return body;
}

}  // namespace

extern "C" int FuncChangeUserInfo(mg_connection* conn, void* /*cbdata*/) {
  const JsonRequest request(conn);
  if (request.host() == nullptr) {
    kLog.error()("token err!!!!");
    return request.Answer(401);
  }
  const auto changeUser = request.host()->ChangeUserInfoCb;
  if (changeUser == nullptr) return NotRegistered(kLog.error(), __func__);
  const JsonPtr body = ReadJsonBody(conn);
  const int changeType = ValueForPath(conn, kChangePaths);
  if (changeType < 0) return 0;

  ChangeUserRequest change = ReadChange(body, changeType);
  const int result = changeUser(request.token(), &change);
  if (result == kNotAuthorised) return request.Answer(401);
  // Printed with line breaks, unlike every other reply: clients know it so.
  if (result == 0) return ReplyJson(conn, 200, CodeBody(change.code).PrintFormatted());
  // Any other failure is deliberately answered with nothing.
  SendHttpBuff(conn, "", 0);
  EndConnection(conn);
  return 1;
}

extern "C" int FuncManageUser(mg_connection* conn, void* /*cbdata*/) {
  const JsonRequest request(conn);
  if (request.host() == nullptr) {
    kLog.error()("token err!!!!");
    return request.Answer(401);
  }
  const auto manageUser = request.host()->ManageUserCb;
  if (manageUser == nullptr) return NotRegistered(kLog.error(), __func__);
  const JsonPtr body = ReadJsonBody(conn);
  const int action = ValueForPath(conn, kManagePaths);
  if (action < 0) return 0;

  ManageUserRequest user = ReadUser(body, action);
  const int result = manageUser(request.token(), &user);
  if (result != 0) return request.Answer(StatusFor(result));
  return ReplyJson(conn, 200, CodeBody(user.code).Print());
}
