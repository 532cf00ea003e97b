// The open WebSocket connections: connecting, closing, and finding them to send.
#include "websocket/connections.h"

#include <civetweb.h>
#include <pthread.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <utility>

#include "base/clock.h"
#include "base/lock_order.h"
#include "base/mutex.h"
#include "base/text.h"
#include "base/thread_safety.h"
#include "http/login_ref.h"
#include "http/request.h"
#include "http/response.h"
#include "http/stream_room.h"
#include "sdkapi/host.h"
#include "sdkapi/http.h"
#include "sdkapi/websocket.h"
#include "server/authentication.h"
#include "server/host_table.h"
#include "server/lifecycle.h"
#include "server/log.h"
#include "session/handle_nodes.h"
#include "session/login_end.h"
#include "session/login_limits.h"
#include "session/login_registry.h"
#include "session/record_list.h"
#include "websocket/close_codes.h"
#include "websocket/current.h"
#include "websocket/settings.h"

namespace sdkapi {
namespace {

constexpr LogSource kLog{"sdkapi"};

constexpr int kAccept = 0;
constexpr int kRefuse = 1;
constexpr int kRefuseBusy = 2;  // with an answer, because the host's limit is reached

constexpr const char* kConnectHandler = "WebSocketConnectHandler";  // its name in the log
constexpr std::size_t kLongestKey =
    63;  // the web server fails a handshake with a longer one, after our accept

enum WebSocketEvent : int { kConnected = 0, kClosed = 2 };

// Made at compile time: a host may ask for its WebSockets while the server starts.
HandleManage g_WebSocketLink{nullptr, PTHREAD_MUTEX_INITIALIZER, nullptr, nullptr};

// Never reused, not even by a later run of the server.
std::atomic<uint64_t> lastId{0};

ConnectionRef NewConnection(mg_connection* conn, const char* token) {
  ConnectionRef connection = ConnectionRef::New();
  if (connection == nullptr) return nullptr;
  const mg_request_info* const request = mg_get_request_info(conn);
  connection->entry.conn = conn;
  CopyText(connection->entry.token, token);
  connection->id = ++lastId;
  connection->birth = MonotonicMilliseconds();
  connection->port = request->remote_port;
  CopyText(connection->address, request->remote_addr);
  connection->settings = CurrentSettings();
  return connection;
}

ConnectionRef FindConnection(const mg_connection* conn) {
  return FindInList<Connection>(
      g_WebSocketLink, [conn](const Connection& connection) { return connection.entry.conn == conn; });
}

// The list's callback: appends one connection to the chain whose end the context points at.
int AppendToChain(void* connection, uint32_t /*arg*/, void* context) REQUIRES(g_SendAllMutex) {
  ConnectionRef*& end = *static_cast<ConnectionRef**>(context);
  *end = ConnectionRef::Share(static_cast<Connection*>(connection));
  end = &(*end)->nextInChain;
  return 0;
}

// All connections, oldest first, so that nothing is written under the list's lock.
ConnectionRef AllConnections() REQUIRES(g_SendAllMutex) {
  ConnectionRef first;
  ConnectionRef* end = &first;
  HandleManagePostLoop(&g_WebSocketLink, AppendToChain, 0, static_cast<void*>(&end));
  return first;
}

// The server's lock around connect and close, which are thereby in order with each other.
class SCOPED_CAPABILITY ContextLock {
 public:
  explicit ContextLock(const mg_connection* conn) ACQUIRE(contextLock) : context_(mg_get_context(conn)) {
    mg_lock_context(context_);
  }
  ~ContextLock() RELEASE() { mg_unlock_context(context_); }
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

// Counted as one of its login's WebSockets until it closes.
void BindLogin(Connection& connection, const LoginRef& found) {
  connection.login = found.get() == GetSerHandle() ? RegisteredLogin(connection.entry.token) : found;
  if (connection.login != nullptr) CountWebSocket(*connection.login, 1);
}

void UnbindLogin(Connection& connection) {
  if (connection.login != nullptr) CountWebSocket(*connection.login, -1);
}

// By the host or by a limit: the token may be another login's by now.
bool ItsLoginHasEnded(const Connection& connection) {
  return connection.login != nullptr && HasEnded(*connection.login);
}

void TellClosed(const Connection& connection) {
  const char* const token = connection.entry.token;
  const LoginRef login = LookUpLogin(token);
  if (login == nullptr || login->WebSocketCb == nullptr || ItsLoginHasEnded(connection)) return;
  login->WebSocketCb(kClosed, token, "", 0);
}

void EndLogin(const Connection& connection) {
  if (!LoginIsRequired() || ItsLoginHasEnded(connection)) return;
  TimeOutLogin(connection.entry.token, connection.login);
  if (!ItsLoginHasEnded(connection)) RemoveSession(connection.entry.token);
}

int Refused(const ConnectionRef& connection) {
  UnbindLogin(*connection);
  return kRefuse;
}

int AcceptLogin(const mg_connection* conn, const char* token, const LoginRef& login) {
  // The connection is const here and its owner's later calls need it writable: the interface's own asymmetry.
  const ConnectionRef connection = NewConnection(const_cast<mg_connection*>(conn), token);
  if (connection == nullptr) return kRefuse;
  BindLogin(*connection, login);
  if (!AddToList(g_WebSocketLink, connection)) return Refused(connection);
  // Who ends a login closes what is listed; a connection that joins too late sees that it has ended.
  if (ItsLoginHasEnded(*connection)) {
    TakeFromList(g_WebSocketLink, connection);
    return Refused(connection);
  }
  mg_set_user_connection_data(conn, connection.get());
  EchoProtocol(conn, token);
  const CurrentWebSocket current(connection->id);
  login->WebSocketCb(kConnected, connection->entry.token, "", 0);
  return kAccept;
}

int Connect(const mg_connection* conn) {
  const ContextLock lock(conn);
  const char* const token = GetHttpHeadValue(conn, "Sec-WebSocket-Protocol");
  kLog.info()("token = %s and g_NoLogin = [%d]", token != nullptr ? token : "(null)",
              LoginIsRequired() ? 0 : 1);
  if (token == nullptr || HandshakeWillFail(conn)) return kRefuse;
  const LoginRef login = LookUpLogin(token);
  if (login == nullptr) {
    kLog.error()("Token is invalid!!!");
    return kRefuse;
  }
  if (login->WebSocketCb == nullptr) {
    NotRegistered(kLog.error(), kConnectHandler);
    return kRefuse;
  }
  StreamPlace place(conn, Stream::kWebSocket);
  if (!place.granted()) return place.limited() ? kRefuseBusy : kRefuse;
  const int answer = AcceptLogin(conn, token, login);
  if (answer == kAccept) place.Keep();
  return answer;
}

// Takes the connection out of the list; returns it so that its last send can be waited for without a lock.
ConnectionRef TakeConnection(const mg_connection* conn) {
  const ContextLock lock(conn);
  ConnectionRef connection = FindConnection(conn);
  if (connection == nullptr) {
    kLog.error()("WebSocketCloseHandler fail....!!!!!!");
    return nullptr;
  }
  const CurrentWebSocket current(connection->id);
  TellClosed(*connection);
  EndLogin(*connection);
  TakeFromList(g_WebSocketLink, connection);
  UnbindLogin(*connection);
  mg_set_user_connection_data(conn, nullptr);
  return connection;
}

}  // namespace

constinit Mutex g_SendAllMutex;

HandleManage* WebSocketLink() { return &g_WebSocketLink; }

ConnectionRef FindConnection(const char* token) {
  return FindInList<Connection>(g_WebSocketLink, [token](const Connection& connection) {
    return std::strcmp(connection.entry.token, token) == 0;
  });
}

ConnectionRef FindConnectionById(uint64_t id) {
  return FindInList<Connection>(g_WebSocketLink,
                                [id](const Connection& connection) { return connection.id == id; });
}

Connection* AcceptedConnection(const mg_connection* conn) {
  return static_cast<Connection*>(mg_get_user_connection_data(conn));
}

void VisitConnections(void (*visit)(Connection& connection, void* context), void* context) {
  const ScopedLock order(g_SendAllMutex);
  ConnectionRef next = AllConnections();
  while (next != nullptr) {
    visit(*next, context);
    next = std::move(next->nextInChain);
  }
}

void CloseWebSocketsOf(SdkAPISerHandle& login, const char* reason) {
  const CloseFrame frame = MakeCloseFrame(kClosePolicy, reason);
  ForEachConnection([&](Connection& connection) {
    if (connection.login.get() == &login) SendClose(connection, frame);
  });
}

// Connections of an earlier run are gone by now: the web server closes each before its stop returns.
int WebSocketInit() {
  ForgetNodes(g_WebSocketLink);
  return 0;
}

}  // namespace sdkapi

int WebSocketConnectHandler(const mg_connection* conn, void* /*cbdata*/) {
  using namespace sdkapi;
  EndDueLogins();
  const int answer = Connect(conn);
  if (answer != kRefuseBusy) return answer;
  // Without the server's lock: the client may let the answer wait.
  Reply(const_cast<mg_connection*>(conn), 503, "");
  return kRefuse;
}

void WebSocketReadyHandler(mg_connection* conn, void* /*cbdata*/) {
  using namespace sdkapi;
  const ConnectionRef connection = FindConnection(conn);
  if (connection != nullptr) StartSending(*connection);
}

void WebSocketCloseHandler(const mg_connection* conn, void* /*cbdata*/) {
  using namespace sdkapi;
  const ConnectionRef connection = TakeConnection(conn);
  if (connection == nullptr) return;
  StopSending(*connection);
  GiveBackStreamPlace(Stream::kWebSocket);
}
