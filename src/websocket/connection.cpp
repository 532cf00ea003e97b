// Sending to one WebSocket connection while its handshake, its close and other sends go on.
#include "websocket/connection.h"

#include <civetweb.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include "base/mutex.h"
#include "base/thread_safety.h"
#include "server/counters.h"
#include "server/log.h"

// In our build of the web server only: without them a close frame waits for its answer as long as the client
// likes, and bounds stay what they are.
extern "C" {
__attribute__((weak, visibility("default"))) int mg_websocket_close(mg_connection* conn, const char* data,
                                                                    size_t length);
__attribute__((weak, visibility("default"))) void mg_websocket_set_limits(mg_connection* conn,
                                                                          size_t queueBytes,
                                                                          size_t queueFrames,
                                                                          uint64_t payloadBytes);
__attribute__((weak, visibility("default"))) size_t mg_websocket_queued(mg_connection* conn);
}

namespace sdkapi {

// A frame that waits for the end of the handshake; its bytes follow.
struct WaitingFrame {
  WaitingFrame* next;
  int opcode;
  std::size_t length;
  char* data() { return static_cast<char*>(static_cast<void*>(this + 1)); }
};

namespace {

constexpr LogSource kLog{"sdkapi"};

void DropWaiting(Connection& connection) REQUIRES(connection.sendMutex) {
  while (WaitingFrame* const frame = connection.waiting) {
    connection.waiting = frame->next;
    std::free(frame);
  }
  connection.waitingBytes = 0;
  connection.largestWaiting = 0;
  connection.waitingFrames = 0;
}

// A frame that did not go out whole was this connection's last: its client must never read one inside
// another.
bool Write(Connection& connection, int opcode, std::string_view data) REQUIRES(connection.sendMutex) {
  const int written = mg_websocket_write(connection.entry.conn, opcode, data.data(), data.size());
  if (written > 0 && static_cast<std::size_t>(written) >= data.size()) return true;
  connection.phase = Connection::Phase::kGone;
  return false;
}

bool WriteClose(Connection& connection) REQUIRES(connection.sendMutex) {
  const auto& [payload, length] = connection.close;
  if (mg_websocket_close == nullptr) {
    return Write(connection, MG_WEBSOCKET_OPCODE_CONNECTION_CLOSE, {payload, length});
  }
  if (mg_websocket_close(connection.entry.conn, payload, length) > 0) return true;
  connection.phase = Connection::Phase::kGone;
  return false;
}

WaitingFrame* NewFrame(int opcode, std::string_view data) {
  void* const memory = std::malloc(sizeof(WaitingFrame) + data.size());
  if (memory == nullptr) return nullptr;
  auto* const frame = new (memory) WaitingFrame{nullptr, opcode, data.size()};
  if (!data.empty()) std::memcpy(frame->data(), data.data(), data.size());
  return frame;
}

// What waits for the end of the handshake beside one frame of any size is bounded as for a client that stalls
// later. The web server's own queue cannot serve here, too: before the handshake is complete it has none, and
// a connection whose queue overflows is ended, where a frame alone is dropped here.
bool AppendWaiting(Connection& connection, int opcode, std::string_view data) REQUIRES(connection.sendMutex) {
  const std::size_t bytes = connection.waitingBytes + data.size();
  const std::size_t largest = std::max(connection.largestWaiting, data.size());
  const bool fits = connection.waitingFrames <= connection.settings.mostQueuedFrames &&
                    bytes - largest <= connection.settings.mostQueuedBytes;
  WaitingFrame* const frame = fits ? NewFrame(opcode, data) : nullptr;
  if (frame == nullptr) {
    kLog.error()("websocket handshake not complete, frame of %zu bytes dropped", data.size());
    Count(Counter::kDroppedFrames);
    return false;
  }
  WaitingFrame** last = &connection.waiting;
  while (*last != nullptr) last = &(*last)->next;
  *last = frame;
  connection.waitingBytes = bytes;
  connection.largestWaiting = largest;
  ++connection.waitingFrames;
  return true;
}

void WriteWaiting(Connection& connection) REQUIRES(connection.sendMutex) {
  for (WaitingFrame* frame = connection.waiting; frame != nullptr; frame = frame->next) {
    if (connection.phase == Connection::Phase::kOpen)
      Write(connection, frame->opcode, {frame->data(), frame->length});
  }
  DropWaiting(connection);
}

void SetLimits(const Connection& connection) {
  const WebSocketSettings& settings = connection.settings;
  if (mg_websocket_set_limits == nullptr) return;
  mg_websocket_set_limits(connection.entry.conn, settings.mostQueuedBytes, settings.mostQueuedFrames,
                          settings.mostMessageBytes);
}

}  // namespace

Connection::~Connection() { DropWaiting(*this); }

CloseFrame MakeCloseFrame(int code, std::string_view reason) {
  CloseFrame frame{};
  frame.payload[0] = static_cast<char>(code / 256);
  frame.payload[1] = static_cast<char>(code % 256);
  reason = reason.substr(0, sizeof frame.payload - 2);
  if (!reason.empty()) std::memcpy(frame.payload + 2, reason.data(), reason.size());
  frame.length = 2 + reason.size();
  return frame;
}

bool SendFrame(Connection& connection, int opcode, std::string_view data) {
  const ScopedLock lock(connection.sendMutex);
  if (connection.closing || connection.phase == Connection::Phase::kGone) return false;
  return connection.phase == Connection::Phase::kHandshake ? AppendWaiting(connection, opcode, data)
                                                           : Write(connection, opcode, data);
}

bool SendClose(Connection& connection, const CloseFrame& frame) {
  const ScopedLock lock(connection.sendMutex);
  if (connection.closing || connection.phase == Connection::Phase::kGone) return false;
  connection.close = frame;
  connection.closing = true;
  return connection.phase == Connection::Phase::kHandshake || WriteClose(connection);
}

std::size_t QueuedBytes(Connection& connection) {
  const ScopedLock lock(connection.sendMutex);
  if (connection.phase == Connection::Phase::kHandshake) return connection.waitingBytes;
  if (connection.phase == Connection::Phase::kGone || mg_websocket_queued == nullptr) return 0;
  return mg_websocket_queued(connection.entry.conn);
}

void StartSending(Connection& connection) {
  const ScopedLock lock(connection.sendMutex);
  connection.phase = Connection::Phase::kOpen;
  SetLimits(connection);
  WriteWaiting(connection);
  if (connection.closing && connection.phase == Connection::Phase::kOpen) WriteClose(connection);
}

void StopSending(Connection& connection) {
  const ScopedLock lock(connection.sendMutex);
  connection.phase = Connection::Phase::kGone;
  DropWaiting(connection);
}

bool CloseIsBounded() { return mg_websocket_close != nullptr; }

}  // namespace sdkapi
