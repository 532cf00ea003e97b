// The open WebSocket connections, found while they come and go.
#pragma once

#include <cstddef>

#include "base/lock_order.h"
#include "base/thread_safety.h"
#include "sdkapi/session.h"
#include "websocket/connection.h"

namespace sdkapi {

// The list of all connections, oldest first.
HandleManage* WebSocketLink();

// The oldest connection of a token; null when there is none. It may outlive its close handler, and then sends
// nothing.
ConnectionRef FindConnection(const char* token) EXCLUDES(listLock);

// Sends one text frame to every connection, oldest first. No lock of the list is held meanwhile.
void SendTextToAll(const char* data, std::size_t length) EXCLUDES(g_SendAllMutex, listLock);

}  // namespace sdkapi
