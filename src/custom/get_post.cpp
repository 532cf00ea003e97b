// Requests of the host's own get/post routes.
#include <civetweb.h>
#include <strings.h>

#include <atomic>
#include <cstdlib>

#include "base/owned.h"
#include "custom/host_function.h"
#include "http/body_limit.h"
#include "http/handlers.h"
#include "http/request.h"
#include "http/response.h"
#include "sdkapi/custom.h"
#include "sdkapi/extension.h"
#include "sdkapi/http.h"
#include "server/counters.h"
#include "server/limits.h"
#include "server/log.h"
#include "server/refusal.h"

// In our build of the web server only.
// NOLINTNEXTLINE(readability-redundant-declaration): another build's header does not declare it.
extern "C" long long mg_get_bytes_sent(const mg_connection* conn) __attribute__((weak));

namespace {

using namespace sdkapi;

constexpr LogSource kLog{"sdkapicustom"};

enum Method : int { kGet = 0, kPost = 1, kOther = 2 };

int MethodOf(const mg_connection* conn) {
  const char* const method = GetHttpRepMethod(conn);
  if (method == nullptr) return kOther;
  if (strcasecmp(method, "GET") == 0) return kGet;
  return strcasecmp(method, "POST") == 0 ? kPost : kOther;
}

// Bodies of unknown length are not read. The length is cut to 32 bits on purpose: nothing larger is taken.
int BodyLength(const mg_connection* conn) { return static_cast<int>(GetHttpLen(conn)); }

// The status for functions that fail without an answer; 0 while the host has set none.
std::atomic<int> g_silentFailure{0};

// What the host's function leaves to the library: nothing where it has sent something, or wants silence.
bool MayStillBeAnswered(int result, const mg_connection* conn) {
  return result != kNotAuthorised && mg_get_bytes_sent(conn) == 0;
}

int RefuseBody(const JsonRequest& request) {
  kLog.error()("body is larger than allowed!!!!");
  Count(Counter::kRefusedBodies);
  return request.Answer(413);
}

// False when memory is short.
bool ReadBody(mg_connection* conn, CustomReqInfo& info) {
  const int length = BodyLength(conn);
  if (length <= 0) return true;
  info.body = static_cast<char*>(std::malloc(static_cast<std::size_t>(length)));
  if (info.body == nullptr) return false;
  info.bodyLength = GetHttpBody(conn, info.body, length);
  return true;
}

// What follows the host's function.
int FinishRequest(mg_connection* conn, const JsonRequest& request, int result, bool tooLong) {
  const int silentFailure = g_silentFailure.load(std::memory_order_relaxed);
  const bool failed = silentFailure != 0 && result != 0;
  if ((tooLong || failed) && MayStillBeAnswered(result, conn)) {
    return tooLong ? RefuseBody(request) : request.Answer(silentFailure);
  }
  DrainBody(conn);
  // After -2 nothing is sent, deliberately; the worker is let go instead of waiting for the client.
  if (result == kNotAuthorised) mg_disable_connection_keep_alive(conn);
  return 1;
}

}  // namespace

extern "C" int FuncCustomGetPost(mg_connection* conn, void* cbdata) {
  const JsonRequest request(conn);
  if (request.host() == nullptr) {
    kLog.error()("token err!!!!");
    return request.Answer(401);
  }
  const auto serve = HostFunctionOf<CustomGetPostFunction>(cbdata);
  if (serve == nullptr) {
    kLog.error()("no server func");
    return request.Answer(500);
  }
  const BodyLimit limit(conn, g_limits.customBodyBytes.load(std::memory_order_relaxed));
  if (limit.AnnouncedTooMuch()) {
    limit.End();
    return RefuseBody(request);
  }
  CustomReqInfo info{};
  info.method = MethodOf(conn);
  if (!ReadBody(conn, info)) return request.Answer(500);
  const int result = serve(conn, &info);
  // What stands in the record now: the host may have taken the body, or left a block of its own.
  const MallocPtr<char> body(info.body);
  return FinishRequest(conn, request, result, limit.End());
}

int SdkAPIExt_SilentFailure_Set(int status) {
  using namespace sdkapi;
  if (mg_get_bytes_sent == nullptr) {
    return Refuse(kExtensionLog.error(), __func__, "not possible with this web server");
  }
  if (status != 0 && !KnowsStatus(status)) return Refuse(kExtensionLog.error(), __func__, "status unknown");
  g_silentFailure.store(status, std::memory_order_relaxed);
  return 0;
}
