// The simulated device: a program on the kit's runner, with its parts in the order of their start.
#include <malloc.h>
#include <sdkapi/kit_log.h>
#include <sdkapi/kit_runner.h>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <iterator>
#include <stdexcept>
#include <string>

#include "bus/events.h"
#include "media/logo.h"
#include "model/health.h"
#include "model/heartbeat.h"
#include "model/history.h"
#include "model/units.h"
#include "sdkapi/extension.h"
#include "sdkapi/sdkapi.h"
#include "slots/accounts.h"
#include "slots/acts.h"
#include "slots/certificates.h"
#include "slots/console_files.h"
#include "slots/firmware.h"
#include "slots/host_table.h"
#include "slots/live.h"
#include "slots/metrics.h"
#include "slots/own_routes.h"
#include "slots/previews.h"
#include "slots/settings.h"
#include "slots/uploads.h"
#include "store/database.h"
#include "store/files.h"
#include "store/paths.h"

namespace sim {
namespace {

constexpr const char* kWebSocketUrl = "/ws";
constexpr int kLargeBlock = 1024 * 1024;

constexpr uint64_t kMostBodyBytes = 65536;
constexpr int64_t kLongestIdle = 43200;

char g_firmwareKey[4096];  // empty: the development key
int64_t g_idleSeconds = kLongestIdle;
char g_firstPassword[256];  // empty: "admin", to be changed at the first login
char g_hostNames[1024];

constexpr SdkKitOption kOptions[] = {
    {"firmware-key", "public key of the firmware that is taken", kKitOptionPath, sizeof g_firmwareKey, 0, 0,
     nullptr, g_firmwareKey},
    {"idle-timeout", "seconds until a login that is not used ends", kKitOptionNumber, 0, 1, kLongestIdle,
     &g_idleSeconds, nullptr},
    {"first-password", "the first user's password on an empty data folder, which need not be changed",
     kKitOptionText, sizeof g_firstPassword, 0, 0, nullptr, g_firstPassword},
    {"host-name", "names of the device, separated by commas, that --no-auth takes beside its addresses",
     kKitOptionText, sizeof g_hostNames, 0, 0, nullptr, g_hostNames},
};

// The console beside the program when it is installed, else where it was built from.
const char* ConsoleFolder() {
  return std::filesystem::exists(SIM_INSTALLED_WWW) ? SIM_INSTALLED_WWW : SIM_BUILT_WWW;
}

// Everything that the device itself needs before requests arrive.
void StartParts(const SdkKitSettings& settings) {
  mallopt(M_MMAP_THRESHOLD, kLargeBlock);  // a password's 12 MiB go back at once, no thread keeps them
  PrepareFolders();
  OpenDatabase(kDatabasePath);
  StartActs();
  StartAccounts({settings.noAuth != 0, static_cast<uint32_t>(g_idleSeconds), g_firstPassword, g_hostNames});
  StartHistory();
  StartHealth();
  StartUnits();
  StartSettings();
  StartFirmware(g_firmwareKey);
  DrawBuiltInLogo();
  StartUploads();
  StartPreviews();
  StartMetrics();
  StartLive();
  StartCertificates(settings.httpsPort > 0);
}

// A client makes the device keep no more of a body for one of its own routes than such a body needs.
void BoundBodies() {
  SdkAPIExtLimits limits{};
  limits.size = sizeof limits;
  limits.mostCustomBodyBytes = kMostBodyBytes;
  if (SdkAPIExt_Limits_Set(&limits) != 0)
    SdkKitLog_Write(kKitWarning, "device", "bodies are not bounded with this web server");
}

// What fails says so in the log.
template <typename Work>
int Step(Work work) {
  try {
    work();
    return 0;
  } catch (const std::exception& error) {
    SdkKitLog_Write(kKitError, "device", error.what());
    return -1;
  }
}

int Prepare(const SdkKitSettings* settings, SdkAPISerHandle* table) {
  return Step([&] {
    StartParts(*settings);
    BoundBodies();
    SetConsoleHeaders();
    *table = HostTable();
  });
}

int Started(const SdkKitSettings* settings) {
  if (settings->noAuth == 0 && g_firstPassword[0] == '\0')
    std::puts("first user: admin, password admin (to be changed at the first login)");
  return Step(RegisterOwnRoutes);
}

// Viewers are let go first, so that no host function keeps the server from stopping.
void Stopping() {
  StopPreviews();
  StopUploads();
  StopLive();
}

// Also where the server never started.
void Stopped() {
  Stopping();
  StopFirmware();
  StopSettings();
  StopAccounts();
  StopActs();
  StopHealth();
}

int Healthy() { return BeatsStill() ? 0 : -1; }

void TellClients(int level, const char* subject, const char* text) {
  if (level < kKitError) return;
  Step([&] { Publish({{"type", "log"}, {"level", level}, {"text", std::string(subject) + ": " + text}}); });
}

int Run(int argc, char** argv) {
  SdkKitProgram program{};
  program.size = sizeof program;
  program.name = "sdkapi-simulator";
  program.version = SIM_VERSION;
  program.description = "A simulated audio/video device with the device API.";
  program.dataFolder = "./sdkapi-data";
  program.documentRoot = ConsoleFolder();
  program.webSocketUrl = kWebSocketUrl;
  program.httpPort = 8080;
  program.httpsPort = 8443;
  program.options = kOptions;
  program.optionSize = sizeof *kOptions;
  program.optionCount = std::size(kOptions);
  program.prepare = Prepare;
  program.started = Started;
  program.stopping = Stopping;
  program.stopped = Stopped;
  program.logged = TellClients;
  program.healthy = Healthy;
  return SdkKitRun(argc, argv, &program);
}

}  // namespace
}  // namespace sim

int main(int argc, char** argv) { return sim::Run(argc, argv); }
