// Sending a file as an attachment in chunks.
#pragma once

#include "server/log.h"

struct mg_connection;

namespace sdkapi {

// Sends head, chunks and terminator. Returns 0, or -1 when the file cannot be read (the head has gone out
// then) or the connection failed; the connection then ends with the request.
int SendFile(mg_connection* conn, const char* path, const char* name, const LogSource& log);

}  // namespace sdkapi
