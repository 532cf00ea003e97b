// The kit's lines: bounded, one line each, to the hook that the host set.
#include "base/log.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdarg>
#include <cstdio>

namespace sdkkit {
namespace {

std::atomic<SdkKitLogHook> g_hook{nullptr};

bool IsControl(char letter) { return static_cast<unsigned char>(letter) < 0x20 || letter == 0x7f; }

void Write(SdkKitLogLevel level, const char* subject, const char* format, va_list arguments) {
  const SdkKitLogHook hook = g_hook.load();
  if (hook == nullptr) return;
  std::array<char, 1024> text{};
  std::vsnprintf(text.data(), text.size(), format, arguments);
  std::replace_if(text.begin(), std::find(text.begin(), text.end(), '\0'), IsControl, '?');
  hook(level, subject, text.data());
}

}  // namespace

void Log::Info(const char* format, ...) const {
  va_list arguments;
  va_start(arguments, format);
  Write(kKitInfo, subject_, format, arguments);
  va_end(arguments);
}

void Log::Audit(const char* format, ...) const {
  va_list arguments;
  va_start(arguments, format);
  Write(kKitAudit, subject_, format, arguments);
  va_end(arguments);
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

}  // namespace sdkkit

void SdkKitLog_Set(SdkKitLogHook hook) { sdkkit::g_hook.store(hook); }
