// Log lines: formatted, marked with source and line, handed to the host's hook.
#pragma once

namespace sdkapi {

// One line about to be logged; calling it formats and delivers. Nothing is formatted without a hook.
class LogLine {
 public:
  constexpr LogLine(const char* source, int level, int line) : source_(source), level_(level), line_(line) {}
  void operator()(const char* format, ...) const __attribute__((format(printf, 2, 3)));

 private:
  const char* source_;
  int level_;
  int line_;
};

// A source file's name in the log; info() and error() give lines that carry the caller's line number.
struct LogSource {
  const char* name;

  constexpr LogLine info(int line = __builtin_LINE()) const { return {name, 1, line}; }
  constexpr LogLine error(int line = __builtin_LINE()) const { return {name, 4, line}; }
};

}  // namespace sdkapi
