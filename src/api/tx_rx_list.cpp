// The list of transmitter and receiver units.
#include "base/json_object.h"
#include "base/owned.h"
#include "http/handlers.h"
#include "http/request.h"
#include "http/response.h"
#include "server/log.h"

namespace {

using namespace sdkapi;

constexpr LogSource kLog{"sdkapi"};

JsonText ListBody(const char* list) {
  JsonObject body;
  body.Add("list", list);
  return body.Print();
}

}  // namespace

extern "C" int FuncGetTxRxList(mg_connection* conn, void* /*cbdata*/) {
  const JsonRequest request(conn);
  if (request.host() == nullptr) {
    kLog.error()("token err!!!!");
    return request.Answer(401);
  }
  const auto getList = request.host()->GetTxRxListCb;
  if (getList == nullptr) return NotRegistered(kLog.error(), __func__);

  char list[kTxRxListSize] = {};
  const int result = getList(request.token(), list);
  if (result != 0) return request.Answer(StatusFor(result));
  list[kTxRxListSize - 1] = '\0';
  return ReplyJson(conn, 200, ListBody(list));
}
