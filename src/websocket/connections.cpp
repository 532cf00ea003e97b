// The open WebSocket connections: connecting, closing, and finding them to send.
#include "websocket/connections.h"

#include <civetweb.h>

#include <cstdint>
#include <cstring>
#include <utility>

#include "base/lock_order.h"
#include "base/mutex.h"
#include "base/text.h"
#include "base/thread_safety.h"
#include "http/login_ref.h"
#include "http/request.h"
#include "http/stream_room.h"
#include "sdkapi/host.h"
#include "sdkapi/http.h"
#include "sdkapi/websocket.h"
#include "server/authentication.h"
#include "server/lifecycle.h"
#include "server/log.h"
#include "session/login_registry.h"
#include "session/record_list.h"

namespace sdkapi {
namespace {

constexpr LogSource kLog{"sdkapi"};

constexpr int kAccept = 0;
constexpr int kRefuse = 1;
constexpr std::size_t kLongestKey =
    63;  // the web server fails a handshake with a longer one, after our accept

enum WebSocketEvent : int { kConnected = 0, kClosed = 2 };

HandleManage g_WebSocketLink;

ConnectionRef NewConnection(mg_connection* conn, const char* token) {
  ConnectionRef connection = ConnectionRef::New();
  if (connection == nullptr) return nullptr;
  connection->entry.conn = conn;
  CopyText(connection->entry.token, token);
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
  end = &(*end)->nextToSend;
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

void EndLogin(const char* token) {
  LoginTimeOutTaskCb(token);
  RemoveSession(token);
}

void TellClosed(const WebSocketLinkEntry& entry) {
  const LoginRef login = FindLogin(entry.token);
  if (login != nullptr && login->WebSocketCb != nullptr) login->WebSocketCb(kClosed, entry.token, "", 0);
}

int AcceptLogin(const mg_connection* conn, const char* token, const SdkAPISerHandle& login) {
  // The connection is const here and its owner's later calls need it writable: the interface's own asymmetry.
  const ConnectionRef connection = NewConnection(const_cast<mg_connection*>(conn), token);
  if (connection == nullptr || !AddToList(g_WebSocketLink, connection)) return kRefuse;
  EchoProtocol(conn, token);
  login.WebSocketCb(kConnected, connection->entry.token, "", 0);
  return kAccept;
}

// Takes the connection out of the list; returns it so that its last send can be waited for without a lock.
ConnectionRef TakeConnection(const mg_connection* conn) {
  const ContextLock lock(conn);
  ConnectionRef connection = FindConnection(conn);
  if (connection == nullptr) {
    kLog.error()("WebSocketCloseHandler fail....!!!!!!");
    return nullptr;
  }
  TellClosed(connection->entry);
  if (LoginIsRequired()) EndLogin(connection->entry.token);
  TakeFromList(g_WebSocketLink, connection);
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

void SendTextToAll(const char* data, std::size_t length) {
  const ScopedLock order(g_SendAllMutex);
  ConnectionRef next = AllConnections();
  while (next != nullptr) {
    SendText(*next, data, length);
    next = std::move(next->nextToSend);
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
              LoginIsRequired() ? 0 : 1);
  if (token == nullptr || HandshakeWillFail(conn)) return kRefuse;
  const LoginRef login = FindLogin(token);
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
  const ConnectionRef connection = FindConnection(conn);
  if (connection != nullptr) StartSending(*connection);
}

void WebSocketCloseHandler(const mg_connection* conn, void* /*cbdata*/) {
  using namespace sdkapi;
  const ConnectionRef connection = TakeConnection(conn);
  if (connection == nullptr) return;
  StopSending(*connection);
  GiveBackStreamPlace();
}
