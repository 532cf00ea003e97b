// The log lines that the library handed to the host.
#include "log_lines.h"

#include <algorithm>
#include <mutex>

#include "sdkapi/sdkapi.h"
#include "waiting.h"

namespace integration {
namespace {

std::mutex mutex;
std::vector<LogLine> lines;

void Collect(int level, const char* text) {
  const std::lock_guard lock(mutex);
  lines.push_back({level, text});
}

bool Matches(const LogLine& line, int level, const std::string& start) {
  if (line.level != level || !line.text.starts_with(start) || line.text.back() != ']') return false;
  const std::string number = line.text.substr(start.size(), line.text.size() - start.size() - 1);
  return !number.empty() && number.find_first_not_of("0123456789") == std::string::npos;
}

}  // namespace

void LogLines::Install() { SdkApiSer_Printf(Collect); }

void LogLines::Clear() {
  const std::lock_guard lock(mutex);
  lines.clear();
}

std::vector<LogLine> LogLines::All() {
  const std::lock_guard lock(mutex);
  return lines;
}

int LogLines::Count(int level, const std::string& message, const std::string& source) {
  const std::string start = message + " [" + source + ",";
  const std::lock_guard lock(mutex);
  return static_cast<int>(std::count_if(lines.begin(), lines.end(),
                                        [&](const LogLine& line) { return Matches(line, level, start); }));
}

bool LogLines::Wait(int level, const std::string& message, const std::string& source) {
  return Eventually([&] { return Count(level, message, source) > 0; });
}

}  // namespace integration
