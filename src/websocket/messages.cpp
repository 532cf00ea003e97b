// Received frames to the host, the host's texts to its clients.
#include <civetweb.h>

#include <cstdlib>
#include <cstring>
#include <string_view>

#include "base/owned.h"
#include "http/login_ref.h"
#include "sdkapi/host.h"
#include "sdkapi/http.h"
#include "sdkapi/websocket.h"
#include "server/log.h"
#include "websocket/connection.h"
#include "websocket/connections.h"
#include "websocket/current.h"
#include "websocket/receiving.h"

namespace {

using namespace sdkapi;

constexpr LogSource kLog{"sdkapi"};

constexpr int kKeep = 1;
constexpr int kCloseConnection = 0;
constexpr int kTextReceived = 1;
constexpr int kOpcodeMask = 15;

int DeliverText(const SdkAPISerHandle& login, const char* token, const char* data, std::size_t length) {
  if (login.WebSocketCb == nullptr) return kKeep;
  const MallocPtr<char> text(static_cast<char*>(std::malloc(length + 1)));
  if (text == nullptr) return kCloseConnection;
  if (length > 0) std::memcpy(text.get(), data, length);
  text.get()[length] = '\0';
  const int result = login.WebSocketCb(kTextReceived, token, text.get(), static_cast<int>(length));
  return result == 0 ? kKeep : kCloseConnection;
}

// What the host is told: the connection's own text, which is cut to its field, with every event.
const char* TokenOf(const Connection* connection, const char* header) {
  return connection != nullptr ? connection->entry.token : header;
}

// Frames that are not text are noted and go no further.
void LogOther(int opcode, const mg_connection* conn) {
  switch (opcode) {
    case MG_WEBSOCKET_OPCODE_CONTINUATION:
      break;
    case MG_WEBSOCKET_OPCODE_BINARY:
      kLog.info()("binary");
      break;
    case MG_WEBSOCKET_OPCODE_CONNECTION_CLOSE:
      kLog.info()("close");
      break;
    case MG_WEBSOCKET_OPCODE_PING:
      kLog.info()("ping");
      break;
    case MG_WEBSOCKET_OPCODE_PONG:
      kLog.info()("websocket recv pong from [%p]", static_cast<const void*>(conn));
      break;
    default:
      kLog.info()("unknown(%1xh)", static_cast<unsigned int>(opcode));
  }
}

std::string_view Text(const char* data, int length) {
  return {data != nullptr ? data : "", static_cast<std::size_t>(length)};
}

}  // namespace

int WebsocketDataHandler(mg_connection* conn, int flags, char* data, size_t dataLen, void* /*cbdata*/) {
  const char* const token = GetHttpHeadValue(conn, "Sec-WebSocket-Protocol");
  Connection* const connection = AcceptedConnection(conn);
  if (connection != nullptr && connection->closing) return CloseIsBounded() ? kKeep : kCloseConnection;
  const LoginRef login = FindLogin(token);
  if (login == nullptr) return -1;
  const Received received =
      connection != nullptr ? Receive(*connection, flags, {data, dataLen}) : Received::kNotTaken;
  if (received != Received::kNotTaken) return received == Received::kKeep ? kKeep : kCloseConnection;
  const CurrentWebSocket current(connection != nullptr ? connection->id : 0);
  const int opcode = flags & kOpcodeMask;
  if (opcode == MG_WEBSOCKET_OPCODE_TEXT)
    return DeliverText(*login, TokenOf(connection, token), data, dataLen);
  LogOther(opcode, conn);
  return kKeep;
}

int WebSocketSendData(const char* token, const char* data, int len) {
  if (token == nullptr || len < 0 || (data == nullptr && len > 0)) return 0;
  const ConnectionRef connection = FindConnection(token);
  if (connection != nullptr) SendFrame(*connection, MG_WEBSOCKET_OPCODE_TEXT, Text(data, len));
  return 0;
}

int WebSocketSendDataALL(const char* data, int len) {
  if (data == nullptr || len < 1) return 0;
  kLog.info()("data = %s dataLen = %d", data, len);
  ForEachConnection([text = Text(data, len)](Connection& connection) {
    SendFrame(connection, MG_WEBSOCKET_OPCODE_TEXT, text);
  });
  return 0;
}
