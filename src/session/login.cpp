// Login, log-out and the question whether a login is required.
#include <cstdint>

#include "base/json_object.h"
#include "base/owned.h"
#include "base/text.h"
#include "http/accessors.h"
#include "http/handlers.h"
#include "http/login_ref.h"
#include "http/request.h"
#include "http/response.h"
#include "sdkapi/host.h"
#include "sdkapi/session.h"
#include "sdkapi/values.h"
#include "server/authentication.h"
#include "server/counters.h"
#include "server/host_table.h"
#include "server/log.h"
#include "session/login_limits.h"
#include "session/login_registry.h"

namespace {

using namespace sdkapi;

constexpr LogSource kLog{"sdkapi"};

constexpr uint32_t kSuccess = 0;
constexpr uint32_t kRefused = 1;
constexpr uint32_t kLocked = 2;

void ReadCredentials(mg_connection* conn, LoginInfo& info) {
  const JsonPtr body = ReadJsonBody(conn);
  cJSON_GetObjectItemValueString(body.get(), "username", info.username, sizeof info.username);
  cJSON_GetObjectItemValueString(body.get(), "password", info.password, sizeof info.password);
}

JsonText RefusedBody() {
  JsonObject body;
  body.Add("code", kRefused);
  return body.Print();
}

JsonText LockedBody(const LoginInfo& info) {
  JsonObject body;
  body.Add("code", kLocked);
  body.Add("lockTime", static_cast<double>(info.lockTime));
  return body.Print();
}

JsonText SuccessBody(const LoginInfo& info) {
  JsonObject body;
  body.Add("token", info.token);
  body.Add("firstlogin", info.firstlogin);
  body.Add("code", kSuccess);
  if (info.wizard[0] != '\0') body.Add("wizard", info.wizard);
  return body.Print();
}

int CompleteLogin(mg_connection* conn, const LoginRef& login, const LoginInfo& info) {
  const JsonText body = SuccessBody(info);
  if (body == nullptr) return Reply(conn, 500, "");
  if (info.token[0] != '\0') {
    switch (RegisterWithinLimits(login, info.token)) {
      case Registration::kListFailed:
        kLog.error()("json api FunLogin add handle fail");
        return 0;
      case Registration::kSessionsFull:
        return Reply(conn, 500, "");
      case Registration::kNoRoom:
        kLog.error()("no room for another login!!!!");
        Count(Counter::kRefusedLogins);
        return Reply(conn, 503, "");
      case Registration::kDone:
        break;
    }
  }
  Count(Counter::kGrantedLogins);
  return Reply(conn, 200, body.get());
}

}  // namespace

extern "C" int FuncLogin(mg_connection* conn, void* /*cbdata*/) {
  const LoginRef login = NewLogin(RemoteAddress(conn));
  if (login == nullptr) return Reply(conn, 500, "");
  if (login->LoginCb == nullptr) return NotRegistered(kLog.error(), __func__);

  LoginInfo info{};
  ReadCredentials(conn, info);
  const int result = login->LoginCb(&info);
  kLog.info()("iretCode = %d", result);
  if (result < 0) return 0;

  Terminate(info.token);
  Terminate(info.wizard);
  if (info.code == kRefused || info.code == kLocked) Count(Counter::kDeniedLogins);
  if (info.code == kRefused) return ReplyJson(conn, 200, RefusedBody());
  if (info.code == kLocked) return ReplyJson(conn, 200, LockedBody(info));
  return info.code == kSuccess ? CompleteLogin(conn, login, info) : 0;
}

extern "C" int FuncLogOut(mg_connection* conn, void* /*cbdata*/) {
  const JsonRequest request(conn);
  if (request.host() == nullptr) {
    kLog.error()("token err!!!!");
    return request.Answer(401);
  }
  if (request.host()->LogOutCb != nullptr) request.host()->LogOutCb();
  if (!RemoveLogin(request.host())) {
    kLog.error()("json api del handle fail");
    return 0;
  }
  DelUsrIdStack(request.token());
  // A string here, a number in the login's reply: clients know both.
  return request.Answer(200, R"({"code":"0"})");
}

extern "C" int FuncNoLogin(mg_connection* conn, void* /*cbdata*/) {
  const auto query = GetSerHandle()->AuthQueryCb;
  if (query == nullptr) return NotRegistered(kLog.error(), __func__);

  int flag = -1;
  query(&flag);
  SetLoginRequired(flag != 1);
  return Reply(conn, 200, flag == 1 ? R"({"result":"off"})" : R"({"result":"on"})");
}
