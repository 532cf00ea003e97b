// The request that the calling thread is serving.
#pragma once

struct mg_connection;

namespace sdkapi {

// Null outside of a request. A WebSocket is one request from its handshake to its end.
const mg_connection* CurrentRequest();

// The request's path before it was decoded.
const char* SentPath(const mg_connection* conn);

}  // namespace sdkapi
