// What a device program is around its slots: start, life and end.
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>

#include "base/file.h"
#include "base/guarded.h"
#include "base/log.h"
#include "base/record.h"
#include "runner/device_log.h"
#include "runner/folder_lock.h"
#include "runner/service_manager.h"
#include "runner/settings.h"
#include "runner/signals.h"
#include "sdkapi/extension.h"
#include "sdkapi/kit_runner.h"
#include "sdkapi/sdkapi.h"

namespace sdkkit {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr Log kLog{"runner"};
constexpr unsigned kStopSeconds = 20;
constexpr milliseconds kForEver{-1};

// Standard error for who started the program, the log for who asks later.
int Complain(const std::string& text, int exitCode) {
  std::fprintf(stderr, "%s\n", text.c_str());
  return exitCode;
}

// Why nobody can listen there: 0 when somebody could.
int ErrorOfPort(int port) {
  const FileDescriptor probe(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const int on = 1;
  setsockopt(probe.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  const void* const generic = &address;
  return bind(probe.get(), static_cast<const sockaddr*>(generic), sizeof address) == 0 ? 0 : errno;
}

int ExplainStart(const Settings& settings) {
  std::array<char, 2048> reason{};
  SdkAPIExt_StartFailure_Get(reason.data(), reason.size());
  kLog.Error("the server cannot start: %s", reason.data());
  if (std::string_view(reason.data()).starts_with("a port is taken")) {
    for (const int port : {settings.httpPort, settings.httpsPort}) {
      const int error = port == 0 ? 0 : ErrorOfPort(port);
      if (error == EADDRINUSE)
        return Complain("port " + std::to_string(port) + " is already in use", kKitExitPortTaken);
      if (error == EACCES)
        return Complain("no permission to listen on port " + std::to_string(port), kKitExitFailed);
    }
  }
  return Complain(std::string("the server cannot start: ") + reason.data(), kKitExitFailed);
}

void Configure(const Settings& settings, const SdkKitProgram& program) {
  SdkAPISer_Port_Set(settings.httpPort, settings.httpsPort);
  // Without a document root the library serves the working directory, which is the data folder.
  SdkAPiSer_DocumentRoot_Set(settings.documentRoot.empty() ? "/nonexistent" : settings.documentRoot.c_str());
  if (program.webSocketUrl != nullptr) SdkAPISer_WebsocketUrl_Set(program.webSocketUrl);
  SdkAPISer_AuthenticationSwitch_Set(settings.noAuth ? 0 : 1);
}

void Greet(const Settings& settings) {
  if (settings.httpPort > 0) std::printf("http://localhost:%d/\n", settings.httpPort);
  if (settings.httpsPort > 0) std::printf("https://localhost:%d/\n", settings.httpsPort);
  if (settings.noAuth) std::puts("no login is required");
  std::puts("listening on all interfaces");
  std::puts("ready");
  std::fflush(stdout);
}

class Device {
 public:
  Device(const SdkKitProgram& program, const Settings& settings, Signals& signals)
      : program_(program),
        settings_(settings),
        signals_(signals),
        told_{.size = sizeof told_,
              .httpPort = settings.httpPort,
              .httpsPort = settings.httpsPort,
              .noAuth = settings.noAuth,
              .dataFolder = settings_.dataFolder.c_str(),
              .documentRoot = settings_.documentRoot.c_str()} {}

  int Run() {
    const int failure = Start();
    if (failure != 0) return failure;
    Greet(settings_);
    kLog.Info("%s %s is ready", program_.name, program_.version);
    manager_.Tell("READY=1\nSTATUS=listening");
    Live();
    return Stop(kKitExitDone);
  }

 private:
  int Start() {
    Configure(settings_, program_);
    SdkAPISerHandle table{};
    if (program_.prepare != nullptr && program_.prepare(&told_, &table) != 0) {
      End();
      return Complain("the device cannot be prepared; log/errors.log in its data folder says why",
                      kKitExitFailed);
    }
    if (settings_.noAuth) SdkAPISer_AuthenticationSwitch_Set(0);  // the command line has the last word
    SdkAPISer_Init();
    if (SdkAPISer_Start(&table) != 0) {
      const int exitCode = ExplainStart(settings_);
      End();
      return exitCode;
    }
    if (program_.started == nullptr || program_.started(&told_) == 0) return 0;
    return Stop(
        Complain("the device cannot start; log/errors.log in its data folder says why", kKitExitFailed));
  }

  // Until the first signal that ends it.
  void Live() {
    const milliseconds interval = manager_.interval();
    for (;;) {
      const int signal = signals_.Next(interval.count() > 0 ? interval : kForEver);
      if (signal == SIGHUP) Reopen();
      if (signal == SIGTERM || signal == SIGINT) return;
      if (interval.count() > 0 && (program_.healthy == nullptr || program_.healthy() == 0))
        manager_.Tell("WATCHDOG=1");
    }
  }

  void Reopen() {
    Guarded(kLog, [] {
      ReopenDeviceLog();
      kLog.Info("the log files were opened anew");
      return 0;
    });
  }

  // Stops on another thread, so that this one sees the second signal and the end of the time.
  int Stop(int exitCode) {
    manager_.Tell("STOPPING=1");
    kLog.Info("stopping");
    const unsigned seconds = program_.stopSeconds == 0 ? kStopSeconds : program_.stopSeconds;
    const auto end = steady_clock::now() + std::chrono::seconds(seconds);
    std::atomic<bool> stopped{false};
    std::thread stopping([&] {
      if (program_.stopping != nullptr) program_.stopping();
      SdkAPISer_Stop(nullptr);
      End();
      stopped = true;
      signals_.Wake();
    });
    while (!stopped) Wait(end);
    stopping.join();
    kLog.Info("stopped");
    return exitCode;
  }

  // One wait for the end of a stop; ends the process when there is no end, or nobody wants to wait for it.
  void Wait(steady_clock::time_point end) {
    const auto left = std::chrono::ceil<milliseconds>(end - steady_clock::now());
    if (left.count() <= 0) {
      kLog.Error("the device did not stop in time and was ended");
      _exit(kKitExitStuck);
    }
    const int signal = signals_.Next(left);
    if (signal == SIGTERM || signal == SIGINT) _exit(128 + signal);
  }

  void End() {
    if (program_.stopped != nullptr) program_.stopped();
  }

  const SdkKitProgram& program_;
  const Settings& settings_;
  Signals& signals_;
  const SdkKitSettings told_;
  const ServiceManager manager_;
};

int RunLocked(const SdkKitProgram& program, const Settings& settings) {
  const FolderLock lock(settings.dataFolder);
  if (!lock.held()) {
    const std::string owner = lock.owner() > 0 ? " (process " + std::to_string(lock.owner()) + ")" : "";
    return Complain(settings.dataFolder + " is in use by another device" + owner, kKitExitFolderInUse);
  }
  std::filesystem::current_path(settings.dataFolder);
  StartDeviceLog(settings.logLevel < kKitError, program.logged);
  Signals signals;
  return Device(program, settings, signals).Run();
}

const char* FaultOf(const std::optional<SdkKitProgram>& program) {
  if (!program) return "the program's record has an unknown size";
  return program->name == nullptr || program->version == nullptr ? "the program has no name or no version"
                                                                 : nullptr;
}

int Run(int argc, char** argv, const SdkKitProgram& program) {
  int exitCode = kKitExitUsage;
  const auto options = ReadRows(program.options, program.optionCount, program.optionSize);
  if (!options) return Complain("the program has no options, or their optionSize is unknown", kKitExitFailed);
  const auto settings = ReadSettings(argc, argv, program, *options, exitCode);
  if (!settings) return exitCode;
  if (settings->httpPort == 0 && settings->httpsPort == 0)
    return Complain("both ports are switched off", kKitExitUsage);
  umask(077);  // keys and password hashes are the device's own
  return RunLocked(program, *settings);
}

}  // namespace
}  // namespace sdkkit

int SdkKitRun(int argc, char** argv, const SdkKitProgram* given) {
  const auto program = sdkkit::ReadRecord(given);
  if (const char* const fault = sdkkit::FaultOf(program)) return sdkkit::Complain(fault, kKitExitFailed);
  try {
    return sdkkit::Run(argc, argv, *program);
  } catch (const std::exception& error) {
    return sdkkit::Complain(error.what(), kKitExitFailed);
  } catch (...) {
    return sdkkit::Complain("an unknown failure", kKitExitFailed);
  }
}

void SdkKitRun_Stop(void) { sdkkit::Signals::WishToStop(); }
