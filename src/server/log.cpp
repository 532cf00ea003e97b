// The host's log hook and the one place where log lines are formatted.
#include "server/log.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>

#include "sdkapi/server.h"

namespace sdkapi {
namespace {

constexpr int kLongestText = 2048;  // longer texts are dropped whole
constexpr int kSuffixRoom = 64;

std::atomic<SdkApiLogFunction> logHook{nullptr};

}  // namespace

void LogLine::operator()(const char* format, ...) const {
  const SdkApiLogFunction hook = logHook.load(std::memory_order_acquire);
  if (hook == nullptr) return;

  char text[kLongestText + kSuffixRoom];
  std::va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(text, kLongestText + 1, format, arguments);
  va_end(arguments);
  if (length < 0 || length > kLongestText) return;

  std::snprintf(text + length, kSuffixRoom, " [%s,%d]", source_, line_);
  hook(level_, text);
}

}  // namespace sdkapi

int SdkApiSer_Printf(SdkApiLogFunction function) {
  if (function == nullptr) return -1;
  sdkapi::logHook.store(function, std::memory_order_release);
  return 0;
}
