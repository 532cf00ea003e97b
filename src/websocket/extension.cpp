// A host's way to single WebSockets: sending, closing, listing.
#include "sdkapi/extension.h"

#include <civetweb.h>

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "base/clock.h"
#include "base/sized_record.h"
#include "base/text.h"
#include "base/utf8.h"
#include "server/authentication.h"
#include "server/refusal.h"
#include "session/login_registry.h"
#include "websocket/connection.h"
#include "websocket/connections.h"

namespace {

using namespace sdkapi;

constexpr std::size_t kMostReasonBytes = 123;

// What is wrong with a frame; null when nothing is.
const char* FrameFault(int frame, const void* data, std::size_t length) {
  if (frame != kExtText && frame != kExtBinary) return "frame unknown";
  if (data == nullptr && length > 0) return "no data";
  if (length > INT_MAX) return "more than 2 GiB";
  const bool isText = frame == kExtText && length > 0;
  return isText && !IsUtf8({static_cast<const char*>(data), length}) ? "text is not UTF-8" : nullptr;
}

std::string_view Bytes(const void* data, std::size_t length) {
  return length > 0 ? std::string_view(static_cast<const char*>(data), length) : std::string_view("");
}

int OpcodeOf(int frame) { return frame == kExtText ? MG_WEBSOCKET_OPCODE_TEXT : MG_WEBSOCKET_OPCODE_BINARY; }

// Sends to all connections that fit; their number.
template <class Fits>
std::size_t SendToEach(Fits fits, int frame, std::string_view data) {
  std::size_t sent = 0;
  ForEachConnection([&](Connection& connection) {
    if (fits(connection) && SendFrame(connection, OpcodeOf(frame), data)) ++sent;
  });
  return sent;
}

// Codes that stand for "no code came" or "the connection was lost" are never sent.
bool MayBeSent(int code) {
  return (code >= 1000 && code <= 1003) || (code >= 1007 && code <= 1014) || (code >= 3000 && code <= 4999);
}

const char* CloseFault(int code, const char* reason) {
  if (!MayBeSent(code)) return "code may not be sent";
  const std::size_t length = strnlen(reason, kMostReasonBytes + 1);
  if (length > kMostReasonBytes) return "reason longer than 123 bytes";
  return IsUtf8({reason, length}) ? nullptr : "reason is not UTF-8";
}

SdkAPIExtWebSocket Describe(Connection& connection, int64_t now) {
  SdkAPIExtWebSocket socket{};
  socket.port = connection.port;
  socket.id = connection.id;
  socket.ageSeconds = SecondsBetween(connection.birth, now);
  socket.queuedBytes = QueuedBytes(connection);
  CopyText(socket.address, connection.address);
  CopyText(socket.token, connection.entry.token);
  return socket;
}

}  // namespace

int SdkAPIExt_WebSocket_Send(uint64_t id, int frame, const void* data, size_t length) {
  if (const char* const fault = FrameFault(frame, data, length))
    return Refuse(kExtensionLog.error(), __func__, fault);
  const ConnectionRef connection = FindConnectionById(id);
  if (connection == nullptr || !SendFrame(*connection, OpcodeOf(frame), Bytes(data, length)))
    return Refuse(kExtensionLog.error(), __func__, "no such WebSocket");
  return 0;
}

int SdkAPIExt_WebSocket_Send_Token(const char* token, int frame, const void* data, size_t length) {
  if (token == nullptr) return Refuse(kExtensionLog.error(), __func__, "no token");
  if (const char* const fault = FrameFault(frame, data, length))
    return Refuse(kExtensionLog.error(), __func__, fault);
  const auto hasToken = [token](const Connection& connection) {
    return std::strcmp(connection.entry.token, token) == 0;
  };
  const bool sent = SendToEach(hasToken, frame, Bytes(data, length)) > 0;
  return sent ? 0 : Refuse(kExtensionLog.error(), __func__, "no WebSocket has this token");
}

int SdkAPIExt_WebSocket_Send_Valid(int frame, const void* data, size_t length) {
  if (const char* const fault = FrameFault(frame, data, length))
    return Refuse(kExtensionLog.error(), __func__, fault);
  const auto isValid = [](const Connection& connection) {
    return !LoginIsRequired() || RegisteredLogin(connection.entry.token) != nullptr;
  };
  SendToEach(isValid, frame, Bytes(data, length));
  return 0;
}

int SdkAPIExt_WebSocket_Close(uint64_t id, int code, const char* reason) {
  const char* const text = reason != nullptr ? reason : "";
  if (const char* const fault = CloseFault(code, text)) return Refuse(kExtensionLog.error(), __func__, fault);
  const ConnectionRef connection = FindConnectionById(id);
  if (connection == nullptr || !SendClose(*connection, MakeCloseFrame(code, text)))
    return Refuse(kExtensionLog.error(), __func__, "no such WebSocket");
  return 0;
}

int SdkAPIExt_WebSocket_List(SdkAPIExtWebSocket* sockets, size_t* count) {
  RecordArray list(sockets, count);
  if (const char* const fault = list.Fault()) return Refuse(kExtensionLog.error(), __func__, fault);
  const int64_t now = MonotonicMilliseconds();
  ForEachConnection([&](Connection& connection) { list.Add([&] { return Describe(connection, now); }); });
  list.Finish();
  return 0;
}
