// Start and stop of the server.
#include "server/lifecycle.h"

#include <civetweb.h>
#include <openssl/err.h>
#include <openssl/ssl.h>

#include <atomic>
#include <cstdio>
#include <cstring>

#include "base/clock.h"
#include "base/lock_order.h"
#include "base/mutex.h"
#include "base/thread_safety.h"
#include "sdkapi/host.h"
#include "sdkapi/server.h"
#include "sdkapi/websocket.h"
#include "server/config.h"
#include "server/host_table.h"
#include "server/log.h"
#include "server/options.h"
#include "server/start_failure.h"

// Tells the web server's threads to end and keeps its context; in our build of the web server only.
extern "C" __attribute__((weak, visibility("default"))) void mg_stop_begin(mg_context* ctx);

namespace sdkapi {
namespace {

constexpr LogSource kLog{"sdkapi"};

enum class Phase { kStopped, kStarting, kRunning, kFailed, kStopping };

// The one answer to "does it run". The context may be used while it does: a stop waits for the users
// that it finds, and the web server frees its context at the end of the stop.
struct RunState {
  Mutex mutex ACQUIRED_AFTER(contextLock, listLock);
  Condition changed;
  Phase phase GUARDED_BY(mutex) = Phase::kStopped;
  mg_context* context GUARDED_BY(mutex) = nullptr;
  int64_t since GUARDED_BY(mutex) = 0;  // on the monotonic clock, in milliseconds
  int users GUARDED_BY(mutex) = 0;      // of the context
  std::atomic<bool> starting{false};    // whether the phase is kStarting, for requests to look at
};
constinit RunState runState;

// Without a pass phrase OpenSSL would ask for one on the terminal and block the start for ever.
int RefusePassPhrase(char* /*buf*/, int /*size*/, int /*rwflag*/, void* /*userData*/) { return -1; }

void RegisterWebSocket(mg_context* ctx, const char* websocketUrl) {
  char pattern[kConfigTextSize + 1] = "/websocket";
  // Deliberate: only a configured URL is matched exactly; the default also serves longer paths.
  if (websocketUrl[0] != '\0') {
    std::snprintf(pattern, sizeof pattern, "%s$", websocketUrl);
  }
  mg_set_websocket_handler(ctx, pattern, WebSocketConnectHandler, WebSocketReadyHandler, WebsocketDataHandler,
                           WebSocketCloseHandler, nullptr);
}

bool HttpsIsRefused() {
#ifdef SDKAPI_NO_HTTPS
  return std::strchr(OptionValue("listening_ports"), 's') != nullptr;
#else
  return false;
#endif
}

void WaitWhile(Phase phase) REQUIRES(runState.mutex) {
  while (runState.phase == phase) runState.changed.Wait(runState.mutex);
}

void Enter(Phase phase) EXCLUDES(runState.mutex) {
  const ScopedLock lock(runState.mutex);
  runState.phase = phase;
  runState.starting = phase == Phase::kStarting;
  runState.since = MonotonicMilliseconds();
  runState.changed.WakeAll();
}

void KeepContext(mg_context* context) EXCLUDES(runState.mutex) {
  const ScopedLock lock(runState.mutex);
  runState.context = context;
}

bool BeginStart() EXCLUDES(runState.mutex) {
  const ScopedLock lock(runState.mutex);
  if (runState.phase != Phase::kStopped && runState.phase != Phase::kFailed) return false;
  runState.phase = Phase::kStarting;
  runState.starting = true;
  return true;
}

// False when there is nothing to stop, or another thread has stopped it meanwhile.
bool BeginStop() EXCLUDES(runState.mutex) {
  const ScopedLock lock(runState.mutex);
  WaitWhile(Phase::kStarting);
  if (runState.phase == Phase::kRunning) {
    runState.phase = Phase::kStopping;
    return true;
  }
  if (runState.phase == Phase::kFailed) runState.phase = Phase::kStopped;
  WaitWhile(Phase::kStopping);
  return false;
}

void AwaitUsers() EXCLUDES(runState.mutex) {
  const ScopedLock lock(runState.mutex);
  while (runState.users > 0) runState.changed.Wait(runState.mutex);
}

// A registration may wait for a request that ends only when its writes fail, so the web server is told first.
void StopServer(mg_context* ctx) {
  if (mg_stop_begin != nullptr) mg_stop_begin(ctx);
  AwaitUsers();
  mg_stop(ctx);
}

// The start's result.
int RefuseStart(const char* reason) {
  NoteRefusedStart(reason);
  return -1;
}

// What the start leads to.
Phase StartServer(const SdkAPISerHandle* table) {
  if (HttpsIsRefused()) {
    kLog.error()("https is not available with this web server");
    NoteStartMessage("HTTPS is not available with this web server");
    return Phase::kStopped;
  }
  SdkAPISerHandleInit(table);
  UsrManageTask();
  // What this thread's earlier starts left would be told as the reason of this one's failure.
  ERR_clear_error();
  const int result = CivetWebServerTask(GetOptionsParam(), GetCertPassword(), WebsocketUrl());
  return result == 0 ? Phase::kRunning : Phase::kFailed;
}

}  // namespace

bool ServerIsRunning() {
  const ScopedLock lock(runState.mutex);
  return runState.phase != Phase::kStopped && runState.phase != Phase::kStopping;
}

mg_context* GetMgContext() {
  const ScopedLock lock(runState.mutex);
  return runState.context;
}

RunningContext::RunningContext() {
  const ScopedLock lock(runState.mutex);
  context_ = runState.phase == Phase::kRunning ? runState.context : nullptr;
  if (context_ != nullptr) ++runState.users;
}

RunningContext::~RunningContext() {
  if (context_ == nullptr) return;
  const ScopedLock lock(runState.mutex);
  if (--runState.users == 0) runState.changed.WakeAll();
}

bool RegisterRoute(const char* uri, RequestHandler handler, void* cbdata) {
  const RunningContext context;
  if (context.get() == nullptr) return false;
  if (uri != nullptr) mg_set_request_handler(context.get(), uri, handler, cbdata);
  return true;
}

uint64_t UptimeSeconds() {
  const ScopedLock lock(runState.mutex);
  return runState.phase == Phase::kRunning ? SecondsBetween(runState.since, MonotonicMilliseconds()) : 0;
}

void AwaitRoutes() {
  if (!runState.starting.load(std::memory_order_acquire)) return;
  const ScopedLock lock(runState.mutex);
  WaitWhile(Phase::kStarting);
}

bool ServerIsStopped() {
  const ScopedLock lock(runState.mutex);
  return runState.phase == Phase::kStopped || runState.phase == Phase::kFailed;
}

const char* OptionName(const char* key) {
  for (const mg_option* option = mg_get_valid_options(); option->name != nullptr; ++option) {
    if (std::strcmp(option->name, key) == 0) return option->name;
  }
  return nullptr;
}

int init_ssl(void* sslContext, void* userData) {
  SSL_CTX* const context = static_cast<SSL_CTX*>(sslContext);
  const char* const passPhrase = static_cast<const char*>(userData);
  if (passPhrase != nullptr && passPhrase[0] != '\0') {
    // The line is fixed, secret included: level 1 is for the host to filter.
    kLog.info()("https cert passwd is [%s]", passPhrase);
    SSL_CTX_set_default_passwd_cb_userdata(context, userData);
  } else {
    SSL_CTX_set_default_passwd_cb(context, RefusePassPhrase);
  }
  // An idle connection keeps no record buffers: 34 KiB less for each.
  SSL_CTX_set_mode(context, SSL_MODE_RELEASE_BUFFERS);
  kLog.info()("ssl_ctx_st = [%p]", sslContext);
  return 0;
}

int CivetWebServerTask(const char** options, char* certPassword, const char* websocketUrl) {
  mg_callbacks callbacks{};
  callbacks.log_message = log_message;
  callbacks.init_ssl = init_ssl;
  callbacks.begin_request = BeginRequest;
  callbacks.end_request = EndRequest;
  mg_context* const ctx = mg_start(&callbacks, certPassword, options);
  KeepContext(ctx);
  if (ctx == nullptr) return -1;

  JsonSwitch(ctx);
  WebSocketInit();
  RegisterWebSocket(ctx, websocketUrl);
  return 0;
}

}  // namespace sdkapi

int SdkAPISer_Start(const SdkAPISerHandle* table) {
  using namespace sdkapi;
  if (GetOptionsParam()[0] == nullptr) {
    kLog.error()("http no init..");
    return RefuseStart("SdkAPISer_Init was not called");
  }
  if (table == nullptr) return RefuseStart("there is no table of functions");
  if (!BeginStart()) return RefuseStart("the server runs, or is being stopped");
  BeginStartNotes();
  const Phase outcome = StartServer(table);
  EndStartNotes(outcome == Phase::kRunning);
  Enter(outcome);
  return outcome == Phase::kRunning ? 0 : -1;
}

int SdkAPISer_Stop(void* /*unused*/) {
  using namespace sdkapi;
  kLog.info()("SdkAPISer_Stop ..");
  if (!BeginStop()) return 0;
  StopServer(GetMgContext());
  Enter(Phase::kStopped);
  return 0;
}
