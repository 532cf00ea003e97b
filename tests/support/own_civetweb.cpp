// What only our build of the web server has, for the in-memory one: closing single WebSockets, bounds,
// counts, a request's route and path as sent, and the beginning of a stop.
#include "own_civetweb.h"

#include <utility>

#include "fake_civetweb.h"

namespace sdktest {

ServerBounds& Bounds() {
  static ServerBounds bounds;
  return bounds;
}

ServerFigures& Figures() {
  static ServerFigures figures;
  return figures;
}

}  // namespace sdktest

extern "C" {

int mg_websocket_close(mg_connection* conn, const char* data, size_t length);
void mg_websocket_set_limits(mg_connection* conn, size_t queueBytes, size_t queueFrames,
                             uint64_t payloadBytes);
size_t mg_websocket_queued(mg_connection* conn);
int mg_set_body_limit(mg_connection* conn, long long bytes);
void mg_set_address_limit(unsigned most);
long long mg_get_bytes_sent(const mg_connection* conn);
const char* mg_get_route(const mg_connection* conn);
const char* mg_get_sent_path(const mg_connection* conn);
void mg_stop_begin(mg_context* ctx);

int mg_websocket_close(mg_connection* conn, const char* data, size_t length) {
  return mg_websocket_write(conn, MG_WEBSOCKET_OPCODE_CONNECTION_CLOSE, data, length);
}

void mg_websocket_set_limits(mg_connection* /*conn*/, size_t queueBytes, size_t queueFrames,
                             uint64_t payloadBytes) {
  sdktest::Bounds().queueBytes = queueBytes;
  sdktest::Bounds().queueFrames = queueFrames;
  sdktest::Bounds().payloadBytes = payloadBytes;
}

size_t mg_websocket_queued(mg_connection* /*conn*/) { return sdktest::Bounds().queued; }

int mg_set_body_limit(mg_connection* conn, long long bytes) {
  const bool passed = std::exchange(conn->bodyLimit, bytes) > 0 && conn->bodyLimitPassed;
  return passed ? 1 : 0;
}

void mg_get_traffic(mg_traffic* traffic) { *traffic = sdktest::Figures().traffic; }

void mg_get_load(mg_context* /*ctx*/, mg_load* load) { *load = sdktest::Figures().load; }

void mg_set_address_limit(unsigned most) { sdktest::Bounds().ofOneAddress = most; }

long long mg_get_bytes_sent(const mg_connection* conn) { return static_cast<long long>(conn->output.size()); }

const char* mg_get_route(const mg_connection* /*conn*/) { return nullptr; }

const char* mg_get_sent_path(const mg_connection* conn) { return conn->uri ? conn->uri->c_str() : nullptr; }

void mg_stop_begin(mg_context* ctx) { ctx->stopping = true; }
}
