// The open WebSocket connections, found while they come and go.
#pragma once

#include <cstdint>

#include "base/lock_order.h"
#include "base/thread_safety.h"
#include "sdkapi/session.h"
#include "websocket/connection.h"

namespace sdkapi {

// The list of all connections, oldest first.
HandleManage* WebSocketLink();

// The oldest connection of a token, or the one of an identifier; null when there is none. It may outlive its
// close handler, and then sends nothing.
ConnectionRef FindConnection(const char* token) EXCLUDES(listLock);
ConnectionRef FindConnectionById(uint64_t id) EXCLUDES(listLock);

// The connection that the web server's one was accepted as; null when it was not. For its own worker.
Connection* AcceptedConnection(const mg_connection* conn);

// Visits every connection, oldest first. No lock of the list is held meanwhile; walks come one after the
// other, so that all clients read what is sent to several of them in one order.
void VisitConnections(void (*visit)(Connection& connection, void* context), void* context)
    EXCLUDES(g_SendAllMutex, listLock);

template <class Visitor>
void ForEachConnection(Visitor visitor) {
  VisitConnections(
      [](Connection& connection, void* context) { (*static_cast<Visitor*>(context))(connection); }, &visitor);
}

}  // namespace sdkapi
