// Composing and sending replies, and the end of a connection.
#pragma once

#include <cstddef>

#include "base/owned.h"

struct mg_connection;

namespace sdkapi {

// Whether a reply with this status can be composed.
bool KnowsStatus(int status);

// Sends a whole JSON reply in one piece, logs it, ends the connection. Returns 1, the handler's result.
int Reply(mg_connection* conn, int status, const char* json);

// Prints the object and replies with it; 500 and an empty body when memory was short.
int ReplyJson(mg_connection* conn, int status, const JsonText& json);

// Reads away what is left of the request's body, within bounds, so that a client that is still sending gets
// to read its answer.
void DrainBody(mg_connection* conn);

// Drains the body and lets the web server close the connection when the handler returns.
void EndConnection(mg_connection* conn);

// Writes head and body as one piece where they fit a buffer of moderate size, else one after the other.
void SendPieces(mg_connection* conn, const char* head, std::size_t headLength, const char* body,
                std::size_t bodyLength);

}  // namespace sdkapi
