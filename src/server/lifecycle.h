// The running server: its context, whether it runs, and registration of routes while it does.
#pragma once

#include <cstdint>

struct mg_connection;
struct mg_context;

namespace sdkapi {

// The web server's type of handler.
using RequestHandler = int (*)(mg_connection* conn, void* cbdata);

// False before the first start and once the server is being stopped; streams end when they see it. A start
// that failed counts as running until the next stop: so the interface has it.
bool ServerIsRunning();

// The context of the last start, null if that failed; keeps its value after a stop.
mg_context* GetMgContext();

// Registers a route unless the server is not running (never started, or stopped). Safe against a stop at
// the same moment. Returns whether the server runs; a NULL pattern, which could match nothing, is not
// registered.
bool RegisterRoute(const char* uri, RequestHandler handler, void* cbdata);

// Starts the web server with its routes and its WebSocket endpoint. Returns 0 or -1.
int CivetWebServerTask(const char** options, char* certPassword, const char* websocketUrl);

// The web server listens before it knows the routes: waits until the start is over, which nothing can hold up
// from then on.
void AwaitRoutes();

// Since the server was started; 0 while none runs.
uint64_t UptimeSeconds();

// Whether nothing runs, starts or is being stopped.
bool ServerIsStopped();

// The context of the running server; a stop waits for whoever holds one.
class RunningContext {
 public:
  RunningContext();
  ~RunningContext();
  RunningContext(const RunningContext&) = delete;
  RunningContext& operator=(const RunningContext&) = delete;

  // Null when none runs.
  mg_context* get() const { return context_; }

 private:
  mg_context* context_;
};

// The web server's own text of an option's name; null for an option that it does not know.
const char* OptionName(const char* key);

// The callbacks that the web server gets. All but init_ssl are defined on the floor above: around every
// request, WebSockets included, and for what it writes to its error log.
int init_ssl(void* sslContext, void* userData);
int log_message(const mg_connection* conn, const char* message);
int BeginRequest(mg_connection* conn);
void EndRequest(const mg_connection* conn, int status);

// Called at start, defined on the floors above with what they start. All return 0; JsonSwitch hands every
// route to the web server and returns -1 without a context.
int JsonSwitch(mg_context* ctx);
int UsrManageTask();
int WebSocketInit();

}  // namespace sdkapi
