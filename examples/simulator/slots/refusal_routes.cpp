// The device's own route that says why an upload was refused.
#include "slots/refusal_routes.h"

#include <sdkapi/kit_accounts.h>

#include "model/refusals.h"
#include "slots/replies.h"
#include "slots/slot_guard.h"

namespace sim {
namespace {

int ServeRefusals(mg_connection* conn, CustomReqInfo* request) {
  return Guarded([&] {
    if (request->method != kGet) return AnswerError(conn, 405, "method not allowed");
    return Answer(conn, 200, {{"refusals", RefusalsOf(TokenOf(conn))}});
  });
}

}  // namespace

void RegisterRefusalRoutes() { SdkKitAccounts_Get_Post_Add("/sim/refusals$", ServeRefusals); }

}  // namespace sim
