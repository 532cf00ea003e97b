// Catches the library's log lines: the hook and the store behind it.
#include "log_capture.h"

#include <algorithm>
#include <cstdlib>
#include <mutex>

#include "sdkapi/server.h"
#include "waiting.h"

namespace sdktest {
namespace {

std::mutex mutex;
std::vector<LogRecord> records;

LogRecord TakeApart(int level, const std::string& whole) {
  const auto open = whole.rfind(" [");
  const auto comma = whole.rfind(',');
  const bool hasSuffix = open != std::string::npos && comma != std::string::npos && comma > open &&
                         whole.back() == ']' && comma + 2 < whole.size() &&
                         whole.find_first_not_of("0123456789", comma + 1) == whole.size() - 1;
  if (!hasSuffix) return {level, "", 0, whole};
  return {level, whole.substr(open + 2, comma - open - 2), std::atoi(whole.c_str() + comma + 1),
          whole.substr(0, open)};
}

void Hook(int level, const char* text) {
  const std::lock_guard lock(mutex);
  records.push_back(TakeApart(level, text));
}

}  // namespace

void LogCapture::Install() { SdkApiSer_Printf(Hook); }

void LogCapture::Clear() {
  const std::lock_guard lock(mutex);
  records.clear();
}

std::vector<LogRecord> LogCapture::Records() {
  const std::lock_guard lock(mutex);
  return records;
}

std::vector<std::string> LogCapture::Lines() {
  std::vector<std::string> lines;
  for (const LogRecord& record : Records()) {
    lines.push_back(std::to_string(record.level) + " " + record.source + " " + record.text);
  }
  return lines;
}

std::vector<std::string> LogCapture::LinesWithoutReplies() {
  std::vector<std::string> lines;
  for (std::string& line : Lines()) {
    if (line.find("send =>") == std::string::npos) lines.push_back(std::move(line));
  }
  return lines;
}

int LogCapture::Count(int level, const std::string& text, const std::string& source) {
  const std::lock_guard lock(mutex);
  return static_cast<int>(std::count_if(records.begin(), records.end(), [&](const LogRecord& record) {
    return record.level == level && record.source == source && record.text == text;
  }));
}

bool LogCapture::Wait(int level, const std::string& text, const std::string& source) {
  return Eventually([&] { return Count(level, text, source) > 0; });
}

}  // namespace sdktest
