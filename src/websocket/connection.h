// One WebSocket connection, and the order between its sends, its handshake and its close.
#pragma once

#include <cstddef>

#include "base/counted.h"
#include "base/lock_order.h"
#include "base/mutex.h"
#include "base/thread_safety.h"

struct mg_connection;

namespace sdkapi {

// What stands in the list for one connection.
struct WebSocketLinkEntry {
  mg_connection* conn;
  char token[1024];
};
static_assert(sizeof(WebSocketLinkEntry) == 1032 && offsetof(WebSocketLinkEntry, token) == 8);

// Orders the texts to all, so that every client reads them in the same order.
extern Mutex g_SendAllMutex ACQUIRED_AFTER(contextLock) ACQUIRED_BEFORE(listLock);

struct WaitingFrame;

// The entry and what sending needs beside it. Its users are the list, and every handler and send that found
// it.
struct Connection {
  enum class Phase { kHandshake, kOpen, kGone };

  Connection() = default;
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  WebSocketLinkEntry entry{};
  // Orders sends, the handshake's end and the close. Never taken under a list's lock.
  Mutex sendMutex ACQUIRED_AFTER(contextLock, g_SendAllMutex) ACQUIRED_BEFORE(listLock);
  Phase phase GUARDED_BY(sendMutex) = Phase::kHandshake;
  WaitingFrame* waiting GUARDED_BY(sendMutex) = nullptr;
  std::size_t waitingBytes GUARDED_BY(sendMutex) = 0;
  std::size_t largestWaiting GUARDED_BY(sendMutex) = 0;  // bytes of the largest of these frames
  int waitingFrames GUARDED_BY(sendMutex) = 0;
  Ref<Connection> nextToSend GUARDED_BY(g_SendAllMutex);  // in a text's way to all
};
using ConnectionRef = Ref<Connection>;

// Sends one text frame. Before the handshake is complete the frame waits; after the close handler, or behind
// a frame that did not go out whole, nothing is sent.
void SendText(Connection& connection, const char* data, std::size_t length)
    EXCLUDES(connection.sendMutex, listLock);

// The handshake is complete: writes what waits.
void StartSending(Connection& connection) EXCLUDES(connection.sendMutex, listLock);

// Returns when no send is in flight; none begins afterwards.
void StopSending(Connection& connection) EXCLUDES(connection.sendMutex, listLock);

}  // namespace sdkapi
