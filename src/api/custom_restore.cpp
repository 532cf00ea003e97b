// Restoring the device's custom settings.
#include "http/handlers.h"
#include "http/request.h"
#include "sdkapi/host.h"
#include "server/log.h"

namespace {

using namespace sdkapi;

constexpr LogSource kLog{"sdkapi"};

constexpr int kRestoreCode = 16;  // its meaning is the host's

}  // namespace

extern "C" int FuncCustomRestore(mg_connection* conn, void* /*cbdata*/) {
  const JsonRequest request(conn);
  if (request.host() == nullptr) {
    kLog.error()("token err!!!!");
    return request.Answer(401);
  }
  const auto restore = request.host()->CustomRestoreCb;
  if (restore == nullptr) return NotRegistered(kLog.error(), __func__);

  CustomRestoreArg arg{.code = kRestoreCode, .reserved = 0};
  return request.Answer(StatusFor(restore(request.token(), &arg)));
}
