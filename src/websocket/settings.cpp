// What a host has set for WebSockets.
#include "websocket/settings.h"

#include "base/mutex.h"
#include "base/sized_record.h"
#include "base/thread_safety.h"
#include "sdkapi/extension.h"
#include "server/log.h"
#include "server/refusal.h"

namespace sdkapi {
namespace {

// The bounds of a connection whose host set none.
constexpr std::size_t kUsualQueuedFrames = 512;
constexpr std::size_t kUsualQueuedBytes = 1048576;
constexpr uint64_t kUsualMessageBytes = 1048576;

// Of what the library keeps and the web server allocates: more than any device has.
constexpr uint64_t kMostBytes = 0x7FFF0000;

constinit Mutex settingsMutex;
SdkAPIExtWebSocketSlots webSocketSlots GUARDED_BY(settingsMutex){};
SdkAPIExtWebSocketLimits webSocketLimits GUARDED_BY(settingsMutex){};

}  // namespace

bool IsGoverned(const WebSocketSettings& settings) {
  return settings.mostMessageBytes != 0 || settings.slots.message != nullptr ||
         settings.slots.binary != nullptr;
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
