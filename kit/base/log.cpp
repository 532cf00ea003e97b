// The kit's lines: bounded, one line each, to the hook that the host set.
#include "base/log.h"

#include <array>
#include <atomic>
#include <cstdarg>
#include <cstdio>

#include "base/text.h"

namespace sdkkit {
namespace {

std::atomic<SdkKitLogHook> g_hook{nullptr};
std::atomic<LineSink> g_sink{nullptr};

using Text = std::array<char, 1024>;

void Deliver(int level, const char* subject, const void* statement, Text& text) {
  HideControls(text);
  if (const LineSink sink = g_sink.load()) sink(level, subject, statement, text.data());
  if (const SdkKitLogHook hook = g_hook.load()) hook(level, subject, text.data());
}

void Write(SdkKitLogLevel level, const char* subject, const char* format, va_list arguments) {
  if (g_hook.load() == nullptr && g_sink.load() == nullptr) return;
  Text text{};
  std::vsnprintf(text.data(), text.size(), format, arguments);
  Deliver(level, subject, format, text);
}

}  // namespace

void Log::Info(const char* format, ...) const {
  va_list arguments;
  va_start(arguments, format);
  Write(kKitInfo, subject_, format, arguments);
  va_end(arguments);
}

void Log::Audit(const Act& act, const char* format, ...) const {
  va_list arguments;
  va_start(arguments, format);
  Write(kKitAudit, subject_, format, arguments);
  va_end(arguments);
  TellAct(subject_, act);
}

void Log::Warning(const char* format, ...) const {
  va_list arguments;
  va_start(arguments, format);
  Write(kKitWarning, subject_, format, arguments);
  va_end(arguments);
}

void Log::Error(const char* format, ...) const {
  va_list arguments;
  va_start(arguments, format);
  Write(kKitError, subject_, format, arguments);
  va_end(arguments);
}

void SetLineSink(LineSink sink) { g_sink.store(sink); }

}  // namespace sdkkit

void SdkKitLog_Set(SdkKitLogHook hook) { sdkkit::g_hook.store(hook); }

void SdkKitLog_Write(int level, const char* subject, const char* text) {
  if (level < kKitInfo || level > kKitError || subject == nullptr || text == nullptr) return;
  sdkkit::Text line{};
  std::snprintf(line.data(), line.size(), "%s", text);
  sdkkit::Deliver(level, subject, __builtin_return_address(0), line);
}
