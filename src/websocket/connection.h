// One WebSocket connection, and the order between its sends, its handshake and its close.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/counted.h"
#include "base/lock_order.h"
#include "base/mutex.h"
#include "base/thread_safety.h"
#include "http/login_ref.h"
#include "sdkapi/extension.h"
#include "websocket/reception.h"
#include "websocket/settings.h"

struct mg_connection;

namespace sdkapi {

// What stands in the list for one connection.
struct WebSocketLinkEntry {
  mg_connection* conn;
  char token[1024];
};
static_assert(sizeof(WebSocketLinkEntry) == 1032 && offsetof(WebSocketLinkEntry, token) == 8);

// Orders walks over all connections, so that every client reads what is sent to several in the same order.
extern Mutex g_SendAllMutex ACQUIRED_AFTER(contextLock) ACQUIRED_BEFORE(listLock);

struct WaitingFrame;

// What a close frame carries: code and reason. Empty: none.
struct CloseFrame {
  char payload[125];
  std::size_t length;
};
CloseFrame MakeCloseFrame(int code, std::string_view reason);

// The entry and what sending needs beside it. Its users are the list, and every handler and send that found
// it.
struct Connection {
  enum class Phase { kHandshake, kOpen, kGone };

  Connection() = default;
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  WebSocketLinkEntry entry{};
  uint64_t id = 0;
  LoginRef login;     // registered with its token when it connected; null when none was
  int64_t birth = 0;  // on the monotonic clock, in milliseconds
  int port = 0;       // its client's
  char address[kExtAddressSize]{};
  WebSocketSettings settings{};
  Reception reception;                // its worker's alone
  std::atomic<bool> closing = false;  // a close frame is out, or will be once the handshake is complete

  // Orders sends, the handshake's end and the close. Never taken under a list's lock.
  Mutex sendMutex ACQUIRED_AFTER(contextLock, g_SendAllMutex) ACQUIRED_BEFORE(listLock);
  Phase phase GUARDED_BY(sendMutex) = Phase::kHandshake;
  CloseFrame close GUARDED_BY(sendMutex){};
  WaitingFrame* waiting GUARDED_BY(sendMutex) = nullptr;
  std::size_t waitingBytes GUARDED_BY(sendMutex) = 0;
  std::size_t largestWaiting GUARDED_BY(sendMutex) = 0;  // bytes of the largest of these frames
  std::size_t waitingFrames GUARDED_BY(sendMutex) = 0;
  Ref<Connection> nextInChain GUARDED_BY(g_SendAllMutex);  // in a walk over all
};
using ConnectionRef = Ref<Connection>;

// Sends one frame. Before the handshake is complete the frame waits; after the close handler, behind a close
// frame, or behind a frame that did not go out whole, nothing is sent. False when it was neither sent nor
// kept.
bool SendFrame(Connection& connection, int opcode, std::string_view data)
    EXCLUDES(connection.sendMutex, listLock);

// Sends a close frame; the connection ends when its client answers, or in a bounded time. False when one was
// sent before, or the connection is gone.
bool SendClose(Connection& connection, const CloseFrame& frame) EXCLUDES(connection.sendMutex, listLock);

// Bytes that wait for the client.
std::size_t QueuedBytes(Connection& connection) EXCLUDES(connection.sendMutex, listLock);

// The handshake is complete: writes what waits.
void StartSending(Connection& connection) EXCLUDES(connection.sendMutex, listLock);

// Returns when no send is in flight; none begins afterwards.
void StopSending(Connection& connection) EXCLUDES(connection.sendMutex, listLock);

// Whether the web server ends a connection whose client does not answer a close frame.
bool CloseIsBounded();

}  // namespace sdkapi
