// One WebSocket connection, and the order between its sends, its handshake and its close.
#pragma once

#include <pthread.h>

#include <cstddef>

#include "base/counted.h"

struct mg_connection;

namespace sdkapi {

// What stands in the list for one connection.
struct WebSocketLinkEntry {
  mg_connection* conn;
  char token[1024];
};
static_assert(sizeof(WebSocketLinkEntry) == 1032 && offsetof(WebSocketLinkEntry, token) == 8);

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
  pthread_mutex_t sendMutex = PTHREAD_MUTEX_INITIALIZER;  // orders sends, the handshake's end and the close
  Phase phase = Phase::kHandshake;
  WaitingFrame* waiting = nullptr;
  std::size_t waitingBytes = 0;
  std::size_t largestWaiting = 0;  // bytes of the largest of these frames
  int waitingFrames = 0;
  Ref<Connection> nextToSend;  // in a text's way to all; its sender's alone
};
using ConnectionRef = Ref<Connection>;

// Sends one text frame. Before the handshake is complete the frame waits; after the close handler, or behind
// a frame that did not go out whole, nothing is sent.
void SendText(Connection& connection, const char* data, std::size_t length);

// The handshake is complete: writes what waits.
void StartSending(Connection& connection);

// Returns when no send is in flight; none begins afterwards.
void StopSending(Connection& connection);

}  // namespace sdkapi
