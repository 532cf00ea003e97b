// The device's log: log/device.log with every line, log/errors.log with those that have to last, standard
// error.
#include "runner/device_log.h"

#include <spdlog/logger.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/sinks/stdout_sinks.h>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "base/file.h"
#include "base/log.h"
#include "runner/log_text.h"
#include "runner/quota.h"
#include "sdkapi/extension.h"
#include "sdkapi/server.h"

namespace sdkkit {
namespace {

constexpr const char* kFolder = "log";
constexpr std::size_t kFileSize = 1 << 20;
constexpr std::size_t kOlderFiles = 2;
constexpr int kLibraryError = 4;

char Letter(int level) {
  constexpr char kLetters[] = {'I', 'A', 'W', 'E'};
  return level >= kKitInfo && level <= kKitError ? kLetters[level - kKitInfo] : '?';
}

std::shared_ptr<spdlog::logger> MakeLogger(const std::string& name, spdlog::sink_ptr sink) {
  auto logger = std::make_shared<spdlog::logger>(name, std::move(sink));
  logger->set_pattern("%Y-%m-%d %H:%M:%S.%e %v");
  logger->flush_on(spdlog::level::info);
  return logger;
}

std::shared_ptr<spdlog::logger> OpenFile(const std::string& name) {
  return MakeLogger(name, std::make_shared<spdlog::sinks::rotating_file_sink_st>(
                              std::string(kFolder) + "/" + name, kFileSize, kOlderFiles));
}

class DeviceLog {
 public:
  DeviceLog(bool everythingToTheConsole, SdkKitLogHook logged)
      : everythingToTheConsole_(everythingToTheConsole), logged_(logged) {
    Reopen();
  }

  void Reopen() {
    auto all = OpenFile("device.log");
    auto errors = OpenFile("errors.log");
    const std::lock_guard lock(mutex_);
    all_ = std::move(all);
    errors_ = std::move(errors);
  }

  void Write(int level, std::string_view subject, std::size_t statement, std::string_view raw) {
    const std::string text = AsOneLine(WithoutSecrets(raw));
    std::string line{Letter(level), ' '};
    line.append(subject).append(": ").append(text);
    if (Keep(level, statement, line) && logged_ != nullptr)
      logged_(level, std::string(subject).c_str(), text.c_str());
  }

 private:
  // Whether errors.log got the line.
  bool Keep(int level, std::size_t statement, std::string& line) {
    const std::lock_guard lock(mutex_);
    all_->info(line);
    const Quota::Answer answer =
        level > kKitInfo ? quota_.Take(statement, std::chrono::steady_clock::now()) : Quota::Answer{false, 0};
    if (!answer.write) {
      if (everythingToTheConsole_) console_->info(line);
      return false;
    }
    if (answer.leftOut > 0) line += " (" + std::to_string(answer.leftOut) + " more since the last one)";
    errors_->info(line);
    console_->info(line);
    return true;
  }

  const bool everythingToTheConsole_;
  const SdkKitLogHook logged_;
  std::mutex mutex_;
  std::shared_ptr<spdlog::logger> all_, errors_;
  const std::shared_ptr<spdlog::logger> console_ =
      MakeLogger("console", std::make_shared<spdlog::sinks::stderr_sink_st>());
  Quota quota_;
};

// Never freed: a thread that ends late may still have something to say.
std::atomic<DeviceLog*> g_log{nullptr};

// A line that cannot be kept must not take the device with it.
template <class Body>
void KeepIfPossible(Body body) noexcept {
  try {
    body();
  } catch (...) {
  }
}

void Write(int level, std::string_view subject, std::size_t statement, std::string_view text) noexcept {
  if (DeviceLog* const log = g_log.load())
    KeepIfPossible([&] { log->Write(level, subject, statement, text); });
}

// The library says at the end of each line where it stands in its sources: "[sdkapi,83]".
void TakeLibraryLine(int level, const char* text) {
  const std::string_view line = text;
  const std::size_t place = line.rfind('[');
  const std::string_view statement = place == std::string_view::npos ? "" : line.substr(place);
  Write(level >= kLibraryError ? kKitError : kKitInfo, "library", std::hash<std::string_view>{}(statement),
        line);
}

// All messages of the web server share one quota: what clients can make it say is mixed into its texts.
void TakeServerMessage(const SdkAPIExtServerMessage* message) {
  constexpr std::string_view kSubject = "server";
  KeepIfPossible([&] {
    std::string line = message->text;
    if (*message->address != '\0') line.append(", client ").append(message->address);
    if (*message->method != '\0') line.append(", ").append(message->method).append(" ").append(message->path);
    Write(kKitWarning, kSubject, std::hash<std::string_view>{}(kSubject), line);
  });
}

}  // namespace

void StartDeviceLog(bool everythingToTheConsole, SdkKitLogHook logged) {
  MakeFolder(kFolder);
  g_log.store(std::make_unique<DeviceLog>(everythingToTheConsole, logged).release());
  SdkApiSer_Printf(TakeLibraryLine);
  SdkAPIExt_ServerLog_Set(TakeServerMessage);
  SdkAPIExt_Option_Set("error_log_file", "");  // its messages stand in these files
  SetLineSink(WriteLine);
}

void ReopenDeviceLog() {
  if (DeviceLog* const log = g_log.load()) log->Reopen();
}

void WriteLine(int level, std::string_view subject, const void* statement, std::string_view text) {
  Write(level, subject, std::hash<const void*>{}(statement), text);
}

}  // namespace sdkkit
