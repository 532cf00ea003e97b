// The WebSocket whose event a thread is telling the host.
#include "websocket/current.h"

#include <utility>

#include "sdkapi/extension.h"

namespace sdkapi {
namespace {

thread_local uint64_t currentId = 0;

}  // namespace

CurrentWebSocket::CurrentWebSocket(uint64_t id) : outer_(std::exchange(currentId, id)) {}

CurrentWebSocket::~CurrentWebSocket() { currentId = outer_; }

}  // namespace sdkapi

uint64_t SdkAPIExt_WebSocket_Current(void) { return sdkapi::currentId; }
