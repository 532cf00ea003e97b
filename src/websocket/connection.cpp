// Sending to one WebSocket connection while its handshake, its close and other sends go on.
#include "websocket/connection.h"

#include <civetweb.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include "base/mutex.h"
#include "base/thread_safety.h"
#include "server/log.h"

namespace sdkapi {

// A frame that waits for the end of the handshake; its bytes follow.
struct WaitingFrame {
  WaitingFrame* next;
  std::size_t length;
  char* data() { return static_cast<char*>(static_cast<void*>(this + 1)); }
};

namespace {

constexpr LogSource kLog{"sdkapi"};

// What waits for the end of the handshake beside one frame of any size. The web server keeps the same for a
// client that stalls later. It cannot serve here, too: before the handshake is complete it has no queue, and
// a connection whose queue overflows is ended, where a frame alone is dropped here.
constexpr std::size_t kMostWaitingBytes = 1048576;
constexpr int kMostWaitingFrames = 512;

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
void Write(Connection& connection, const char* data, std::size_t length) REQUIRES(connection.sendMutex) {
  const int written = mg_websocket_write(connection.entry.conn, MG_WEBSOCKET_OPCODE_TEXT, data, length);
  if (written > 0 && static_cast<std::size_t>(written) >= length) return;
  connection.phase = Connection::Phase::kGone;
}

WaitingFrame* NewFrame(const char* data, std::size_t length) {
  void* const memory = std::malloc(sizeof(WaitingFrame) + length);
  if (memory == nullptr) return nullptr;
  auto* const frame = new (memory) WaitingFrame{nullptr, length};
  if (length > 0) std::memcpy(frame->data(), data, length);
  return frame;
}

void AppendWaiting(Connection& connection, const char* data, std::size_t length)
    REQUIRES(connection.sendMutex) {
  const std::size_t bytes = connection.waitingBytes + length;
  const std::size_t largest = std::max(connection.largestWaiting, length);
  const bool fits = connection.waitingFrames <= kMostWaitingFrames && bytes - largest <= kMostWaitingBytes;
  WaitingFrame* const frame = fits ? NewFrame(data, length) : nullptr;
  if (frame == nullptr) {
    kLog.error()("websocket handshake not complete, frame of %zu bytes dropped", length);
    return;
  }
  WaitingFrame** last = &connection.waiting;
  while (*last != nullptr) last = &(*last)->next;
  *last = frame;
  connection.waitingBytes = bytes;
  connection.largestWaiting = largest;
  ++connection.waitingFrames;
}

void WriteWaiting(Connection& connection) REQUIRES(connection.sendMutex) {
  for (WaitingFrame* frame = connection.waiting; frame != nullptr; frame = frame->next) {
    if (connection.phase == Connection::Phase::kOpen) Write(connection, frame->data(), frame->length);
  }
  DropWaiting(connection);
}

}  // namespace

Connection::~Connection() { DropWaiting(*this); }

void SendText(Connection& connection, const char* data, std::size_t length) {
  const ScopedLock lock(connection.sendMutex);
  if (connection.phase == Connection::Phase::kHandshake) AppendWaiting(connection, data, length);
  if (connection.phase == Connection::Phase::kOpen) Write(connection, data, length);
}

void StartSending(Connection& connection) {
  const ScopedLock lock(connection.sendMutex);
  connection.phase = Connection::Phase::kOpen;
  WriteWaiting(connection);
}

void StopSending(Connection& connection) {
  const ScopedLock lock(connection.sendMutex);
  connection.phase = Connection::Phase::kGone;
  DropWaiting(connection);
}

}  // namespace sdkapi
