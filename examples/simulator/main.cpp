// The simulated device: configures the library, starts it, waits for a signal, stops it.
#include <arpa/inet.h>
#include <malloc.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <exception>
#include <filesystem>

#include "certificates.h"
#include "custom_routes.h"
#include "database.h"
#include "device.h"
#include "events.h"
#include "firmware.h"
#include "host_table.h"
#include "logging.h"
#include "media.h"
#include "options.h"
#include "sdkapi/kit_firmware.h"
#include "sdkapi/kit_log.h"
#include "sdkapi/sdkapi.h"
#include "settings_archive.h"
#include "tls_identity.h"
#include "units.h"
#include "users.h"

namespace sim {
namespace {

constexpr int kPortTaken = 2;
constexpr const char* kWebSocketUrl = "/ws";
constexpr int kLargeBlock = 1024 * 1024;

void EnterDataFolder(const std::string& folder) {
  for (const char* const part : {"tls", "files/priv", "log", "tmp"}) {
    std::filesystem::create_directories(std::filesystem::path(folder) / part);
  }
  std::filesystem::current_path(folder);
}

bool PortIsTaken(int port) {
  if (port == 0) return false;
  const int probe = socket(AF_INET, SOCK_STREAM, 0);
  const int on = 1;
  setsockopt(probe, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  const void* const generic = &address;
  const bool taken =
      bind(probe, static_cast<const sockaddr*>(generic), sizeof address) != 0 && errno == EADDRINUSE;
  close(probe);
  if (taken) std::fprintf(stderr, "port %d is already in use\n", port);
  return taken;
}

// Everything that the device itself needs before requests arrive.
void StartParts(const Options& options) {
  mallopt(M_MMAP_THRESHOLD, kLargeBlock);  // a password's 8 MiB go back at once, no thread keeps them
  umask(077);                              // keys and password hashes are the device's own
  EnterDataFolder(options.dataDir);
  StartLog(options.logLevel);
  SdkApiSer_Printf(WriteLogLine);
  SdkKitLog_Set(WriteKitLine);
  OpenDatabase("device.db");
  StartUsers(!options.noAuth);
  StartUnits();
  StartSettings();
  StartFirmware(options.firmwareKey);
  StartDevice();
  StartMedia();
}

void Configure(const Options& options) {
  SdkAPISer_Port_Set(options.httpPort, options.httpsPort);
  SdkAPiSer_DocumentRoot_Set(options.www.c_str());
  SdkAPISer_WebsocketUrl_Set(kWebSocketUrl);
  SdkAPISer_AuthenticationSwitch_Set(options.noAuth ? 0 : 1);
  if (options.httpsPort > 0) {
    SdkAPiSer_CertPassword_Set(PrepareTlsIdentity().c_str());
    SdkAPiSer_Cert_Set(kServerCertificate);
  }
  SdkAPISer_Init();
}

void Greet(const Options& options) {
  if (options.httpPort > 0) std::printf("http://localhost:%d/\n", options.httpPort);
  if (options.httpsPort > 0)
    std::printf("https://localhost:%d/ (self-signed certificate)\n", options.httpsPort);
  std::puts(options.noAuth ? "no login is required"
                           : "first user: admin, password admin (until it is changed)");
  std::puts("listening on all interfaces");
  std::puts("ready");
  std::fflush(stdout);
}

void WaitForSignal(const sigset_t& signals) {
  int received = 0;
  sigwait(&signals, &received);
}

// Viewers are let go first, so that no host function keeps the server from stopping.
void Stop() {
  StopMedia();
  StopEvents();
  SdkAPISer_Stop(nullptr);
  SdkKitFirmware_Stop();
  StopSettings();
}

int Run(const Options& options, const sigset_t& signals) {
  if (options.httpPort == 0 && options.httpsPort == 0) {
    std::fputs("both ports are switched off\n", stderr);
    return 1;
  }
  if (PortIsTaken(options.httpPort) || PortIsTaken(options.httpsPort)) return kPortTaken;
  StartParts(options);
  Configure(options);
  const SdkAPISerHandle table = HostTable();
  if (SdkAPISer_Start(&table) != 0) {
    std::fprintf(stderr, "the server cannot start; see %s/error.log\n", options.dataDir.c_str());
    StopMedia();
    return 1;
  }
  RegisterDeviceRoutes();
  RegisterFileRoutes();
  StartEvents();
  Greet(options);
  WaitForSignal(signals);
  Stop();
  return 0;
}

// All threads inherit the mask: only WaitForSignal sees the signals.
sigset_t BlockSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  return signals;
}

}  // namespace
}  // namespace sim

int main(int argc, char** argv) {
  int exitCode = 0;
  const auto options = sim::ParseOptions(argc, argv, exitCode);
  if (!options) return exitCode;
  const sigset_t signals = sim::BlockSignals();
  try {
    return sim::Run(*options, signals);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}
