// The log lines that the library handed to the host.
#pragma once

#include <string>
#include <vector>

namespace integration {

struct LogLine {
  int level;
  std::string text;
};

// Installed as the host's log hook; collects lines from all threads.
class LogLines {
 public:
  static void Install();
  static void Clear();
  static std::vector<LogLine> All();

  // How many lines have this level, this message and " [source,NUMBER]" behind it.
  static int Count(int level, const std::string& message, const std::string& source);
  // Polls: a worker may log after its reply was read.
  static bool Wait(int level, const std::string& message, const std::string& source);
};

}  // namespace integration
