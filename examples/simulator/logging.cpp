// The device's log: a rotating file, the console, and error events. Secrets are masked before a line is kept.
#include "logging.h"

#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>

#include <memory>
#include <string>
#include <string_view>

#include "events.h"

namespace sim {
namespace {

constexpr int kError = 4;
constexpr std::size_t kFileSize = 1024 * 1024;
constexpr std::size_t kOlderFiles = 2;

// A secret stands between these texts of a line.
struct Secret {
  std::string_view before;
  std::string_view after;
};
constexpr Secret kSecrets[] = {
    {"req http token ", " ["}, {"https cert passwd is [", "] ["}, {"token = ", " and g_NoLogin"},
    {"userid [", "] login"},   {"GetLoginHandle err ", "!!!!"},   {"\"token\":\"", "\""},
};

std::shared_ptr<spdlog::logger> logger;

std::string Masked(std::string line) {
  for (const Secret& secret : kSecrets) {
    const std::size_t found = line.find(secret.before);
    if (found == std::string::npos) continue;
    const std::size_t begin = found + secret.before.size();
    const std::size_t end = line.find(secret.after, begin);
    if (end != std::string::npos && end > begin) line.replace(begin, end - begin, "***");
  }
  return line;
}

}  // namespace

void StartLog(int consoleLevel) {
  const auto console = std::make_shared<spdlog::sinks::stderr_sink_mt>();
  console->set_level(consoleLevel >= kError ? spdlog::level::err : spdlog::level::info);
  const auto file =
      std::make_shared<spdlog::sinks::rotating_file_sink_mt>("log/device.log", kFileSize, kOlderFiles);
  logger = std::make_shared<spdlog::logger>("device", spdlog::sinks_init_list{console, file});
  logger->set_pattern("%Y-%m-%d %H:%M:%S.%e %L %v");
  logger->flush_on(spdlog::level::info);
}

void WriteLogLine(int level, const char* text) {
  const std::string line = Masked(text);
  logger->log(level >= kError ? spdlog::level::err : spdlog::level::info, line);
  if (level >= kError) Publish({{"type", "log"}, {"level", level}, {"text", line}});
}

void WriteKitLine(int level, const char* subject, const char* text) {
  WriteLogLine(level, (std::string(subject) + ": " + text).c_str());
}

}  // namespace sim
