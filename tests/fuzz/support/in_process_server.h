/* One connection to the real web server without a socket: bytes in, bytes out, on the calling thread. */
#ifndef SDKAPI_FUZZ_IN_PROCESS_SERVER_H
#define SDKAPI_FUZZ_IN_PROCESS_SERVER_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

struct mg_context;
struct mg_connection;

/* Serves a whole connection: the client sends the bytes and closes its side. */
void FuzzServe(struct mg_context* ctx, const void* bytes, size_t size);

/* Reads one request's head; NULL when the web server refuses it. Valid until the next call. */
struct mg_connection* FuzzRequest(struct mg_context* ctx, const void* bytes, size_t size);

/* What was sent since, NUL-terminated; beyond 64 KiB only counted as sent. */
const char* FuzzReply(size_t* size);

#ifdef __cplusplus
}
#endif

#endif
