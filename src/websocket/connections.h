// The open WebSocket connections, and sending to them while they come and go.
#pragma once

#include <pthread.h>

#include <atomic>
#include <cstddef>

#include "sdkapi/session.h"

struct mg_connection;

namespace sdkapi {

// What stands in the list for one connection.
struct WebSocketLinkEntry {
  mg_connection* conn;
  char token[1024];
};
static_assert(sizeof(WebSocketLinkEntry) == 1032 && offsetof(WebSocketLinkEntry, token) == 8);

// The list of all connections, oldest first.
HandleManage* WebSocketLink();

// Holds an entry so that it outlives its connection's close handler.
void PinEntry(WebSocketLinkEntry* entry);
void UnpinEntry(WebSocketLinkEntry* entry);

// Sends one text frame. Before the handshake is complete the frame waits; after the close handler, or behind
// a frame that did not go out whole, nothing is sent.
void SendText(WebSocketLinkEntry* entry, const char* data, std::size_t length);

// Sends one text frame to every connection, oldest first. No lock of the list is held meanwhile.
void SendTextToAll(const char* data, std::size_t length);

}  // namespace sdkapi
