// Connecting and closing WebSockets, and the order between sending and both.
#include "websocket/connections.h"

#include <civetweb.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "base/scoped_lock.h"
#include "base/text.h"
#include "http/login_ptr.h"
#include "http/request.h"
#include "http/stream_room.h"
#include "sdkapi/http.h"
#include "sdkapi/websocket.h"
#include "server/authentication.h"
#include "server/lifecycle.h"
#include "server/log.h"
#include "session/login_registry.h"

namespace sdkapi {
namespace {

constexpr LogSource kLog{"sdkapi"};

constexpr int kAccept = 0;
constexpr int kRefuse = 1;
// What waits for the end of the handshake beside one frame of any size; a client that stalls later has the
// same.
constexpr std::size_t kMostWaitingBytes = 1048576;
constexpr int kMostWaitingFrames = 512;
constexpr std::size_t kLongestKey =
    63;  // the web server fails a handshake with a longer one, after our accept

enum WebSocketEvent : int { kConnected = 0, kClosed = 2 };

HandleManage g_WebSocketLink;

// Orders the frames to all, so that every client reads them in the same order; outside the list's lock.
pthread_mutex_t g_SendAllMutex = PTHREAD_MUTEX_INITIALIZER;

// A frame that waits for the end of the handshake; its bytes follow.
struct WaitingFrame {
  WaitingFrame* next;
  std::size_t length;
  char* data() { return static_cast<char*>(static_cast<void*>(this + 1)); }
};

enum class Phase { kHandshake, kOpen, kGone };

// The entry and what sending needs beside it. Users are the connection and every send in flight.
struct Connection {
  WebSocketLinkEntry entry;
  pthread_mutex_t sendMutex;  // orders sends, the end of the handshake and the close
  Phase phase;
  WaitingFrame* waiting;
  std::size_t waitingBytes;
  std::size_t largestWaiting;  // bytes of the largest of these frames
  int waitingFrames;
  int users;
  Connection* nextToSend;  // in a frame's way to all; guarded by g_SendAllMutex
};

Connection* ConnectionOf(WebSocketLinkEntry* entry) {
  void* const memory = entry;
  return static_cast<Connection*>(memory);
}

std::atomic_ref<int> Users(WebSocketLinkEntry* entry) {
  return std::atomic_ref<int>(ConnectionOf(entry)->users);
}

struct Unpin {
  void operator()(WebSocketLinkEntry* entry) const { UnpinEntry(entry); }
};
using EntryPtr = std::unique_ptr<WebSocketLinkEntry, Unpin>;

EntryPtr NewEntry(mg_connection* conn, const char* token) {
  auto* const connection = static_cast<Connection*>(std::calloc(1, sizeof(Connection)));
  if (connection == nullptr) return nullptr;
  pthread_mutex_init(&connection->sendMutex, nullptr);
  connection->users = 1;
  connection->entry.conn = conn;
  CopyText(connection->entry.token, token);
  return EntryPtr(&connection->entry);
}

WebSocketLinkEntry* FindEntry(const mg_connection* conn) {
  const ScopedLock lock(g_WebSocketLink.mutex);
  for (const HandleManage* node = g_WebSocketLink.next; node != nullptr; node = node->next) {
    auto* const entry = static_cast<WebSocketLinkEntry*>(node->value);
    if (entry->conn == conn) return entry;
  }
  return nullptr;
}

void DropWaiting(Connection& connection) {
  while (WaitingFrame* const frame = connection.waiting) {
    connection.waiting = frame->next;
    std::free(frame);
  }
  connection.waitingBytes = 0;
  connection.largestWaiting = 0;
  connection.waitingFrames = 0;
}

// A frame that did not go out whole was this connection's last: its client must never read one inside
// another.
void Write(Connection& connection, const char* data, std::size_t length) {
  const int written = mg_websocket_write(connection.entry.conn, MG_WEBSOCKET_OPCODE_TEXT, data, length);
  if (written > 0 && static_cast<std::size_t>(written) >= length) return;
  connection.phase = Phase::kGone;
}

WaitingFrame* NewFrame(const char* data, std::size_t length) {
  void* const memory = std::malloc(sizeof(WaitingFrame) + length);
  if (memory == nullptr) return nullptr;
  auto* const frame = new (memory) WaitingFrame{nullptr, length};
  if (length > 0) std::memcpy(frame->data(), data, length);
  return frame;
}

void AppendWaiting(Connection& connection, const char* data, std::size_t length) {
  const std::size_t bytes = connection.waitingBytes + length;
  const std::size_t largest = std::max(connection.largestWaiting, length);
  const bool fits = connection.waitingFrames <= kMostWaitingFrames && bytes - largest <= kMostWaitingBytes;
  WaitingFrame* const frame = fits ? NewFrame(data, length) : nullptr;
  if (frame == nullptr) {
    kLog.error()("websocket handshake not complete, frame of %zu bytes dropped", length);
    return;
  }
  WaitingFrame** last = &connection.waiting;
  while (*last != nullptr) last = &(*last)->next;
  *last = frame;
  connection.waitingBytes = bytes;
  connection.largestWaiting = largest;
  ++connection.waitingFrames;
}

void WriteWaiting(Connection& connection) {
  for (WaitingFrame* frame = connection.waiting; frame != nullptr; frame = frame->next) {
    if (connection.phase == Phase::kOpen) Write(connection, frame->data(), frame->length);
  }
  DropWaiting(connection);
}

// The list's callback: pins one entry and appends it to the chain whose end the context points at.
int PinInOrder(void* entry, uint32_t /*arg*/, void* context) {
  Connection* const connection = ConnectionOf(static_cast<WebSocketLinkEntry*>(entry));
  Connection**& end = *static_cast<Connection***>(context);
  PinEntry(&connection->entry);
  connection->nextToSend = nullptr;
  *end = connection;
  end = &connection->nextToSend;
  return 0;
}

// All connections, oldest first and pinned, so that nothing is written under the list's lock.
Connection* PinAll() {
  Connection* first = nullptr;
  Connection** end = &first;
  HandleManagePostLoop(&g_WebSocketLink, PinInOrder, 0, static_cast<void*>(&end));
  return first;
}

// Returns when no send is in flight; none begins afterwards.
void StopSending(Connection& connection) {
  const ScopedLock lock(connection.sendMutex);
  connection.phase = Phase::kGone;
  DropWaiting(connection);
}

// The server's lock around connect and close, which are thereby in order with each other.
class ContextLock {
 public:
  explicit ContextLock(const mg_connection* conn) : context_(mg_get_context(conn)) {
    mg_lock_context(context_);
  }
  ~ContextLock() { mg_unlock_context(context_); }
  ContextLock(const ContextLock&) = delete;
  ContextLock& operator=(const ContextLock&) = delete;

 private:
  mg_context* context_;
};

bool HandshakeWillFail(const mg_connection* conn) {
  const char* const key = GetHttpHeadValue(conn, "Sec-WebSocket-Key");
  return key != nullptr && strnlen(key, kLongestKey + 1) > kLongestKey;
}

// A browser that offers a protocol fails the connection unless the handshake's answer names it. The web
// server answers with what stands in this field; a list is left unanswered, no single item of it is the
// token. An empty value names no protocol.
void EchoProtocol(const mg_connection* conn, const char* protocol) {
  if (protocol[0] == '\0' || std::strchr(protocol, ',') != nullptr) return;
  const_cast<mg_request_info*>(mg_get_request_info(conn))->acceptedWebSocketSubprotocol = protocol;
}

void EndLogin(const char* token) {
  LoginTimeOutTaskCb(token);
  RemoveSession(token);
}

void TellClosed(const WebSocketLinkEntry& entry) {
  const LoginPtr login = FindLogin(entry.token);
  if (login != nullptr && login->WebSocketCb != nullptr) login->WebSocketCb(kClosed, entry.token, "", 0);
}

int AcceptLogin(const mg_connection* conn, const char* token, const SdkAPISerHandle& login) {
  // The connection is const here and its owner's later calls need it writable: the interface's own asymmetry.
  EntryPtr entry = NewEntry(const_cast<mg_connection*>(conn), token);
  if (entry == nullptr || HandleManageAddHandle(&g_WebSocketLink, entry.get()) != 0) return kRefuse;
  EchoProtocol(conn, token);
  WebSocketLinkEntry* const listed = entry.release();
  login.WebSocketCb(kConnected, listed->token, "", 0);
  return kAccept;
}

// Takes the entry out of the list; returns it so that its last send can be waited for without a lock.
EntryPtr CloseEntry(const mg_connection* conn) {
  const ContextLock lock(conn);
  WebSocketLinkEntry* const entry = FindEntry(conn);
  if (entry == nullptr) {
    kLog.error()("WebSocketCloseHandler fail....!!!!!!");
    return nullptr;
  }
  TellClosed(*entry);
  if (!AuthenticationIsOff()) EndLogin(entry->token);
  HandleManageDelHandle(&g_WebSocketLink, entry);
  return EntryPtr(entry);
}

}  // namespace

HandleManage* WebSocketLink() { return &g_WebSocketLink; }

void PinEntry(WebSocketLinkEntry* entry) { Users(entry).fetch_add(1, std::memory_order_relaxed); }

void UnpinEntry(WebSocketLinkEntry* entry) {
  if (Users(entry).fetch_sub(1, std::memory_order_acq_rel) != 1) return;
  Connection* const connection = ConnectionOf(entry);
  DropWaiting(*connection);
  pthread_mutex_destroy(&connection->sendMutex);
  std::free(connection);
}

void SendText(WebSocketLinkEntry* entry, const char* data, std::size_t length) {
  Connection& connection = *ConnectionOf(entry);
  const ScopedLock lock(connection.sendMutex);
  if (connection.phase == Phase::kHandshake) AppendWaiting(connection, data, length);
  if (connection.phase == Phase::kOpen) Write(connection, data, length);
}

void SendTextToAll(const char* data, std::size_t length) {
  const ScopedLock order(g_SendAllMutex);
  Connection* next = PinAll();
  while (next != nullptr) {
    Connection* const connection = next;
    next = connection->nextToSend;
    SendText(&connection->entry, data, length);
    UnpinEntry(&connection->entry);
  }
}

// Connections of an earlier run are gone by now: the web server closes each before its stop returns.
int WebSocketInit() {
  HandleManageInitHead(&g_WebSocketLink);
  return 0;
}

}  // namespace sdkapi

int WebSocketConnectHandler(const mg_connection* conn, void* /*cbdata*/) {
  using namespace sdkapi;
  const ContextLock lock(conn);
  const char* const token = GetHttpHeadValue(conn, "Sec-WebSocket-Protocol");
  kLog.info()("token = %s and g_NoLogin = [%d]", token != nullptr ? token : "(null)",
              AuthenticationIsOff() ? 1 : 0);
  if (token == nullptr || HandshakeWillFail(conn)) return kRefuse;
  const LoginPtr login = FindLogin(token);
  if (login == nullptr) {
    kLog.error()("Token is invalid!!!");
    return kRefuse;
  }
  if (login->WebSocketCb == nullptr) {
    NotRegistered(kLog.error(), __func__);
    return kRefuse;
  }
  StreamPlace place(conn);
  if (!place.granted()) return kRefuse;
  const int answer = AcceptLogin(conn, token, *login);
  if (answer == kAccept) place.Keep();
  return answer;
}

void WebSocketReadyHandler(mg_connection* conn, void* /*cbdata*/) {
  using namespace sdkapi;
  WebSocketLinkEntry* const entry = FindEntry(conn);
  if (entry == nullptr) return;
  Connection& connection = *ConnectionOf(entry);
  const ScopedLock lock(connection.sendMutex);
  connection.phase = Phase::kOpen;
  WriteWaiting(connection);
}

void WebSocketCloseHandler(const mg_connection* conn, void* /*cbdata*/) {
  using namespace sdkapi;
  const EntryPtr entry = CloseEntry(conn);
  if (entry == nullptr) return;
  StopSending(*ConnectionOf(entry.get()));
  GiveBackStreamPlace();
}
