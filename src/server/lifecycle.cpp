// Start and stop of the server.
#include "server/lifecycle.h"

#include <openssl/ssl.h>
#include <pthread.h>

#include <atomic>
#include <cstdio>
#include <cstring>

#include "base/scoped_lock.h"
#include "http/routes.h"
#include "sdkapi/server.h"
#include "sdkapi/websocket.h"
#include "server/config.h"
#include "server/host_table.h"
#include "server/log.h"
#include "server/options.h"

namespace sdkapi {
namespace {

constexpr LogSource kLog{"sdkapi"};

std::atomic<int> gTaskExitFlag{0};
std::atomic<mg_context*> s_ctx{nullptr};

// Whether s_ctx may be used. A stop waits for the registrations that it finds in flight: the web server
// frees its context at the end of the stop.
struct RunState {
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  pthread_cond_t idle = PTHREAD_COND_INITIALIZER;
  bool running = false;
  int registrations = 0;
};
RunState runState;

// Without a pass phrase OpenSSL would ask for one on the terminal and block the start for ever.
int RefusePassPhrase(char* /*buf*/, int /*size*/, int /*rwflag*/, void* /*userData*/) { return -1; }

void RegisterWebSocket(mg_context* ctx, const char* websocketUrl) {
  char pattern[kConfigTextSize + 1] = "/websocket";
  // Deliberate: only a configured URL is matched exactly; the default also serves longer paths.
  if (websocketUrl != nullptr && websocketUrl[0] != '\0') {
    std::snprintf(pattern, sizeof pattern, "%s$", websocketUrl);
  }
  mg_set_websocket_handler(ctx, pattern, WebSocketConnectHandler, WebSocketReadyHandler, WebsocketDataHandler,
                           WebSocketCloseHandler, nullptr);
}

bool HttpsIsRefused() {
#ifdef SDKAPI_NO_HTTPS
  return std::strchr(ListeningPorts(), 's') != nullptr;
#else
  return false;
#endif
}

void SetRunning(bool running) {
  const ScopedLock lock(runState.mutex);
  runState.running = running;
}

bool IsStarted() {
  const ScopedLock lock(runState.mutex);
  return runState.running;
}

// Ends the running state; false when there was none to end.
bool LeaveRunning() {
  const ScopedLock lock(runState.mutex);
  if (!runState.running) return false;
  runState.running = false;
  while (runState.registrations > 0) pthread_cond_wait(&runState.idle, &runState.mutex);
  return true;
}

bool EnterRegistration() {
  const ScopedLock lock(runState.mutex);
  if (runState.running) ++runState.registrations;
  return runState.running;
}

void LeaveRegistration() {
  const ScopedLock lock(runState.mutex);
  if (--runState.registrations == 0) pthread_cond_broadcast(&runState.idle);
}

}  // namespace

bool ServerIsRunning() { return gTaskExitFlag.load() != 0; }

mg_context* GetMgContext() { return s_ctx.load(); }

bool RegisterRoute(const char* uri, mg_request_handler handler, void* cbdata) {
  if (!EnterRegistration()) return false;
  if (uri != nullptr) mg_set_request_handler(GetMgContext(), uri, handler, cbdata);
  LeaveRegistration();
  return true;
}

int log_message(const mg_connection* /*conn*/, const char* /*message*/) { return 0; }

int init_ssl(void* sslContext, void* userData) {
  SSL_CTX* const context = static_cast<SSL_CTX*>(sslContext);
  const char* const passPhrase = static_cast<const char*>(userData);
  if (passPhrase != nullptr && passPhrase[0] != '\0') {
    kLog.info()("https cert passwd is [%s]", passPhrase);
    SSL_CTX_set_default_passwd_cb_userdata(context, userData);
  } else {
    SSL_CTX_set_default_passwd_cb(context, RefusePassPhrase);
  }
  kLog.info()("ssl_ctx_st = [%p]", sslContext);
  return 0;
}

int CivetWebServerTask(const char** options, char* certPassword, const char* websocketUrl) {
  mg_callbacks callbacks{};
  callbacks.log_message = log_message;
  callbacks.init_ssl = init_ssl;
  mg_context* const ctx = mg_start(&callbacks, certPassword, options);
  s_ctx.store(ctx);
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
    return -1;
  }
  if (table == nullptr || IsStarted()) return -1;
  if (HttpsIsRefused()) {
    kLog.error()("https is not available with this web server");
    return -1;
  }
  gTaskExitFlag.store(1);
  SdkAPISerHandleInit(table);
  UsrManageTask();
  if (CivetWebServerTask(GetOptionsParam(), GetCertPassword(), WebsocketUrl()) != 0) return -1;
  SetRunning(true);
  return 0;
}

int SdkAPISer_Stop(void* /*unused*/) {
  using namespace sdkapi;
  kLog.info()("SdkAPISer_Stop ..");
  gTaskExitFlag.store(0);
  if (LeaveRunning()) mg_stop(GetMgContext());
  return 0;
}
