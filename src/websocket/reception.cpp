// What a host has set for WebSockets, and the messages of one of them on their way to the host.
#include "websocket/reception.h"

#include <civetweb.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "base/mutex.h"
#include "base/sized_record.h"
#include "base/thread_safety.h"
#include "base/utf8.h"
#include "server/counters.h"
#include "server/refusal.h"
#include "websocket/close_codes.h"
#include "websocket/connection.h"
#include "websocket/current.h"
#include "websocket/receiving.h"

namespace sdkapi {
namespace {

constexpr int kOpcodeMask = 0x0F;
constexpr int kFinalBit = 0x80;
constexpr std::size_t kFirstRoom = 256;
// Of what the library keeps and the web server allocates: more than any device has.
constexpr uint64_t kMostBytes = 0x7FFF0000;

constinit Mutex settingsMutex;
SdkAPIExtWebSocketSlots webSocketSlots GUARDED_BY(settingsMutex){};
SdkAPIExtWebSocketLimits webSocketLimits GUARDED_BY(settingsMutex){};

bool IsData(int opcode) { return opcode <= MG_WEBSOCKET_OPCODE_BINARY; }

// Whether whole messages of this kind go to a slot of the host.
bool HasSlot(const SdkAPIExtWebSocketSlots& slots, int kind) {
  return slots.message != nullptr || (kind == MG_WEBSOCKET_OPCODE_BINARY && slots.binary != nullptr);
}

Received CloseWith(Connection& connection, int code, std::string_view reason) {
  connection.reception.Drop();
  SendClose(connection, MakeCloseFrame(code, reason));
  return Received::kKeep;
}

int CallSlot(const Connection& connection, int kind) {
  const SdkAPIExtWebSocketSlots& slots = connection.settings.slots;
  const Reception& message = connection.reception;
  const CurrentWebSocket current(connection.id);
  if (kind == MG_WEBSOCKET_OPCODE_BINARY && slots.binary != nullptr)
    return slots.binary(connection.id, connection.entry.token, message.data, message.length);
  return slots.message(connection.id, connection.entry.token,
                       kind == MG_WEBSOCKET_OPCODE_TEXT ? kExtText : kExtBinary, message.data,
                       message.length);
}

Received Deliver(Connection& connection, int kind) {
  const Reception& message = connection.reception;
  if (kind == MG_WEBSOCKET_OPCODE_TEXT && !IsUtf8({message.data, message.length}))
    return CloseWith(connection, kCloseNotUtf8, "text is not UTF-8");
  const int result = CallSlot(connection, kind);
  connection.reception.Drop();
  return result == 0 ? Received::kKeep : Received::kEnd;
}

bool IsGoverned(const WebSocketSettings& settings) {
  return settings.mostMessageBytes != 0 || settings.slots.message != nullptr ||
         settings.slots.binary != nullptr;
}

}  // namespace

bool Reception::Append(std::string_view part) {
  const std::size_t needed = length + part.size() + 1;
  if (needed > room) {
    const std::size_t more = std::max({needed, room * 2, kFirstRoom});
    auto* const moved = static_cast<char*>(std::realloc(data, more));
    if (moved == nullptr) return false;
    data = moved;
    room = more;
  }
  if (!part.empty()) std::memcpy(data + length, part.data(), part.size());
  length += part.size();
  data[length] = '\0';
  return true;
}

void Reception::Drop() {
  std::free(std::exchange(data, nullptr));
  kind = 0;
  bytes = 0;
  length = 0;
  room = 0;
}

WebSocketSettings CurrentSettings() {
  const ScopedLock lock(settingsMutex);
  WebSocketSettings settings{webSocketSlots, webSocketLimits.mostQueuedFrames,
                             webSocketLimits.mostQueuedBytes, webSocketLimits.mostMessageBytes};
  if (settings.mostQueuedFrames == 0) settings.mostQueuedFrames = kUsualQueuedFrames;
  if (settings.mostQueuedBytes == 0) settings.mostQueuedBytes = kUsualQueuedBytes;
  if (settings.mostMessageBytes == 0 && IsGoverned(settings)) settings.mostMessageBytes = kUsualMessageBytes;
  return settings;
}

Received Receive(Connection& connection, int flags, std::string_view data) {
  Reception& message = connection.reception;
  const int opcode = flags & kOpcodeMask;
  if (!IsGoverned(connection.settings) || !IsData(opcode)) return Received::kNotTaken;
  const bool begins = opcode != MG_WEBSOCKET_OPCODE_CONTINUATION;
  if (begins == (message.kind != 0))
    return CloseWith(connection, kCloseProtocol, begins ? "message is not finished" : "no message begun");
  if (begins) message.kind = opcode;
  const int kind = message.kind;
  message.bytes += data.size();
  if (message.bytes > connection.settings.mostMessageBytes) {
    Count(Counter::kRefusedMessages);
    return CloseWith(connection, kCloseTooBig, "message is too big");
  }
  const bool isFinal = (flags & kFinalBit) != 0;
  if (!HasSlot(connection.settings.slots, kind)) {
    if (isFinal) message.Drop();
    return Received::kNotTaken;
  }
  if (!message.Append(data)) return Received::kEnd;
  return isFinal ? Deliver(connection, kind) : Received::kKeep;
}

}  // namespace sdkapi

int SdkAPIExt_WebSocket_Slots_Set(const SdkAPIExtWebSocketSlots* slots) {
  using namespace sdkapi;
  SdkAPIExtWebSocketSlots taken{};
  if (slots != nullptr && !ReadRecord(slots, taken))
    return Refuse(kExtensionLog.error(), __func__, "size unknown");
  if (taken.reserved != 0) return Refuse(kExtensionLog.error(), __func__, "reserved is not 0");
  const ScopedLock lock(settingsMutex);
  webSocketSlots = taken;
  return 0;
}

int SdkAPIExt_WebSocket_Limits_Set(const SdkAPIExtWebSocketLimits* limits) {
  using namespace sdkapi;
  SdkAPIExtWebSocketLimits taken{};
  if (limits != nullptr && !ReadRecord(limits, taken))
    return Refuse(kExtensionLog.error(), __func__, "size unknown");
  if (taken.mostQueuedBytes > kMostBytes || taken.mostMessageBytes > kMostBytes)
    return Refuse(kExtensionLog.error(), __func__, "more than 2 GiB");
  const ScopedLock lock(settingsMutex);
  webSocketLimits = taken;
  return 0;
}
