// Frames of a client that a host's slots and bounds are for.
#include "websocket/receiving.h"

#include <civetweb.h>

#include "base/utf8.h"
#include "sdkapi/extension.h"
#include "server/counters.h"
#include "websocket/close_codes.h"
#include "websocket/current.h"
#include "websocket/reception.h"
#include "websocket/settings.h"

namespace sdkapi {
namespace {

constexpr int kOpcodeMask = 0x0F;
constexpr int kFinalBit = 0x80;

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

}  // namespace

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
