// The real web server's source with sockets replaced by memory for one connection of the fuzzer.
#define _GNU_SOURCE  // as the source says, before the first header

#include "in_process_server.h"

#include <poll.h>
#include <string.h>
#include <sys/socket.h>

// The fuzzer's connection has no socket; every other one keeps its own.
enum { kNoSocket = -1 };

static struct {
  const uint8_t* bytes;
  size_t size;
  char reply[1 << 16];
  size_t replySize;
} wire;

static ssize_t FuzzReceive(int fd, void* buffer, size_t room, int flags) {
  if (fd != kNoSocket) return recv(fd, buffer, room, flags);
  size_t piece = wire.size < room ? wire.size : room;
  memcpy(buffer, wire.bytes, piece);
  wire.bytes += piece;
  wire.size -= piece;
  return (ssize_t)piece;
}

static ssize_t FuzzSend(int fd, const void* bytes, size_t length, int flags) {
  if (fd != kNoSocket) return send(fd, bytes, length, flags);
  size_t room = sizeof wire.reply - 1 - wire.replySize;
  size_t kept = length < room ? length : room;
  memcpy(wire.reply + wire.replySize, bytes, kept);
  wire.replySize += kept;
  return (ssize_t)length;
}

static int FuzzPoll(struct pollfd* entries, nfds_t count, int timeout) {
  if (entries[0].fd != kNoSocket) return poll(entries, count, timeout);
  for (nfds_t i = 1; i < count; ++i) entries[i].revents = 0;
  entries[0].revents = (short)(entries[0].events & (POLLIN | POLLOUT));
  return 1;
}

#define recv(fd, buffer, room, flags) FuzzReceive(fd, buffer, room, flags)
#define send(fd, bytes, length, flags) FuzzSend(fd, bytes, length, flags)
#define poll(entries, count, timeout) FuzzPoll(entries, count, timeout)
#include "civetweb.c"

static char requestBuffer[16384];
static struct mg_connection connection;

static struct mg_connection* Prepare(struct mg_context* ctx, const void* bytes, size_t size) {
  // The lock lives as long as the process, everything else as long as one connection.
  static pthread_mutex_t lock;
  static int lockMade = 0;
  if (!lockMade) pthread_mutex_init(&lock, &pthread_mutex_attr);
  lockMade = 1;
  reset_per_request_attributes(&connection);  // frees what the last request left
  memset(&connection, 0, sizeof connection);
  memcpy(&connection.mutex, &lock, sizeof lock);
  connection.buf = requestBuffer;
  connection.buf_size = (int)sizeof requestBuffer;
  connection.phys_ctx = ctx;
  connection.dom_ctx = &ctx->dd;
  connection.client.sock = kNoSocket;
  connection.request_info.user_data = ctx->user_data;
  init_connection(&connection);
  wire.bytes = bytes;
  wire.size = size;
  wire.replySize = 0;
  return &connection;
}

void FuzzServe(struct mg_context* ctx, const void* bytes, size_t size) {
  process_new_connection(Prepare(ctx, bytes, size));
}

struct mg_connection* FuzzRequest(struct mg_context* ctx, const void* bytes, size_t size) {
  char reason[100];
  int status = 0;
  struct mg_connection* conn = Prepare(ctx, bytes, size);
  if (!get_request(conn, reason, sizeof reason, &status)) return NULL;
  conn->request_info.local_uri = conn->request_info.local_uri_raw = conn->request_info.request_uri;
  return conn;
}

const char* FuzzReply(size_t* size) {
  wire.reply[wire.replySize] = '\0';
  if (size != NULL) *size = wire.replySize;
  return wire.reply;
}
