// The kit's lines, one subject a source file.
#pragma once

#include <string_view>

#include "base/audit.h"
#include "sdkapi/kit_log.h"

namespace sdkkit {

// Takes the kit's lines beside the host's hook; statement is an address that tells where a line is written.
using LineSink = void (*)(int level, std::string_view subject, const void* statement, std::string_view text);
void SetLineSink(LineSink sink);

// Writes lines under one subject's name: Log{"accounts"}.Error("no room for %s", name).
class Log {
 public:
  explicit constexpr Log(const char* subject) : subject_(subject) {}

  [[gnu::format(printf, 2, 3)]] void Info(const char* format, ...) const;
  // Who did what, in words, and as a record beside them.
  [[gnu::format(printf, 3, 4)]] void Audit(const Act& act, const char* format, ...) const;
  [[gnu::format(printf, 2, 3)]] void Warning(const char* format, ...) const;
  [[gnu::format(printf, 2, 3)]] void Error(const char* format, ...) const;

 private:
  const char* subject_;
};

}  // namespace sdkkit
