// The exported functions and the slot of the events: arguments are judged here.
#include <cstring>

#include "base/guarded.h"
#include "base/json.h"
#include "base/log.h"
#include "base/record.h"
#include "events/events.h"
#include "sdkapi/extension.h"
#include "sdkapi/kit_events.h"

namespace {

using namespace sdkkit;

constexpr Log kLog{"events"};
constexpr std::size_t kLongestKey = 127;
constexpr std::size_t kLongestText = std::size_t{1} << 20;

// Browsers end a connection that brings a text which is no UTF-8.
bool IsText(const char* text) {
  return text != nullptr && strnlen(text, kLongestText + 1) <= kLongestText && IsUtf8(text);
}

bool IsKey(const char* key) {
  return key == nullptr || (key[0] != '\0' && strnlen(key, kLongestKey + 1) <= kLongestKey);
}

int NoStart(const char* why) {
  kLog.Error("no start: %s", why);
  return -1;
}

uint32_t Or(uint32_t value, uint32_t instead) { return value != 0 ? value : instead; }

SdkKitEventsOptions WithDefaults(SdkKitEventsOptions options) {
  options.commandsPerSecond = Or(options.commandsPerSecond, 20);
  options.loginCommandsPerSecond = Or(options.loginCommandsPerSecond, 40);
  options.mostCommandBytes = Or(options.mostCommandBytes, 65536);
  options.mostWaitingTexts = Or(options.mostWaitingTexts, 1024);
  options.mostWaitingBytes = Or(options.mostWaitingBytes, 262144);
  return options;
}

int OnWebSocket(int event, const char* token) {
  enum { kConnected = 0, kClosed = 2 };
  const uint64_t id = SdkAPIExt_WebSocket_Current();
  if (event == kConnected) Events::The().Connected(id, token);
  if (event == kClosed) Events::The().Closed(id);
  return 0;
}

}  // namespace

int SdkKitEvents_Start(const SdkKitEventsOptions* options) {
  return Guarded(kLog, [&] {
    const auto known = ReadRecord(options);
    if (!known) return NoStart("the options have an unknown size");
    if (known->reserved != 0) return NoStart("a reserved field is not 0");
    return Events::The().Start(WithDefaults(*known)) == 0 ? 0 : NoStart("it has been started before");
  });
}

void SdkKitEvents_Fill(SdkAPISerHandle* table) {
  if (table == nullptr) return;
  table->WebSocketCb = [](int event, const char* token, const char* /*data*/, int /*length*/) {
    return Guarded(
        kLog, [&] { return OnWebSocket(event, token); }, 0);
  };
}

int SdkKitEvents_Publish(const char* key, const char* text) {
  return Guarded(kLog, [&] { return IsKey(key) && IsText(text) ? Events::The().Publish(key, text) : -1; });
}

int SdkKitEvents_Answer(uint64_t id, const char* text) {
  return Guarded(kLog, [&] { return IsText(text) ? Events::The().Answer(id, text) : -1; });
}

int SdkKitEvents_Clients(void) {
  return Guarded(kLog, [] { return Events::The().Count(); });
}

void SdkKitEvents_Stop(void) {
  Guarded(kLog, [] {
    if (!Events::The().Stop()) kLog.Error("no stop: it was called by connected or second");
    return 0;
  });
}
