// Catches the library's log lines so that tests can compare them whole and in order.
#pragma once

#include <string>
#include <vector>

namespace sdktest {

// One line as the hook got it, with the suffix " [source,line]" taken apart.
struct LogRecord {
  int level;
  std::string source;  // empty when the line carried no suffix
  int line;
  std::string text;
};

class LogCapture {
 public:
  // Becomes the library's hook; a library hook cannot be taken away again.
  static void Install();
  static void Clear();

  static std::vector<LogRecord> Records();

  // "<level> <source> <text>" for every line, for instance "4 sdkapi token err!!!!".
  static std::vector<std::string> Lines();

  // The lines of Lines() without those that trace a reply ("send =>").
  static std::vector<std::string> LinesWithoutReplies();

  // How many lines have this level, this text and this source.
  static int Count(int level, const std::string& text, const std::string& source);
  // Polls: a worker may log after its reply was read.
  static bool Wait(int level, const std::string& text, const std::string& source);
};

}  // namespace sdktest
