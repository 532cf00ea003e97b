// The device itself: model, version, clock, and its simulated reboot.
#include "device.h"

#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <mutex>
#include <optional>

#include "events.h"
#include "media.h"
#include "slot_guard.h"
#include "units.h"
#include "users.h"

namespace sim {
namespace {

using nlohmann::json;
using Clock = std::chrono::steady_clock;

constexpr auto kRebootTime = std::chrono::seconds(3);
constexpr int kSessionSeconds = 43200;
constexpr const char* kFirstVersion = "1.0.0";

struct Reboot {
  Clock::time_point until;
  std::string version;
};

const Clock::time_point kStarted = Clock::now();
std::mutex mutex;
std::string version;
std::optional<Reboot> reboot;

void WriteVersion(const std::string& text) {
  const char* const fresh = "tmp/build.config";
  std::ofstream(fresh) << json{{"SoftwareVersion", text}} << '\n';
  if (std::rename(fresh, "build.config") != 0) throw std::runtime_error("build.config cannot be written");
}

json RebootEvent(const char* phase, const std::string& text) {
  return {{"type", "upgrade"}, {"phase", phase}, {"percent", 100}, {"version", text}};
}

// The version that a reboot has brought, or an empty text.
std::string TakeFinishedReboot() {
  const std::lock_guard lock(mutex);
  if (!reboot || Clock::now() < reboot->until) return "";
  version = reboot->version;
  reboot.reset();
  return version;
}

}  // namespace

void StartDevice() {
  if (!std::ifstream("build.config").good()) WriteVersion(kFirstVersion);
  const std::lock_guard lock(mutex);
  version = SdkAPiSer_Version_Get();
}

std::string SoftwareVersion() {
  const std::lock_guard lock(mutex);
  return version;
}

int64_t DeviceUptime() {
  return std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - kStarted).count();
}

// A slow wave between 38 and 44 degrees.
double DeviceTemperature() {
  const double degrees = 41.0 + 3.0 * std::sin(static_cast<double>(DeviceUptime()) / 30.0);
  return std::round(degrees * 10.0) / 10.0;
}

void BeginRebootSimulation(const std::string& next) {
  {
    const std::lock_guard lock(mutex);
    reboot = Reboot{Clock::now() + kRebootTime, next};
  }
  Publish(RebootEvent("rebooting", next));
}

bool Rebooting() {
  const std::lock_guard lock(mutex);
  return reboot.has_value();
}

json CurrentUpgrade() {
  const std::lock_guard lock(mutex);
  return reboot ? RebootEvent("rebooting", reboot->version) : json();
}

void TickDevice() {
  const std::string finished = TakeFinishedReboot();
  if (finished.empty()) return;
  WriteVersion(finished);
  Publish(RebootEvent("done", finished));
}

int FillDeviceInfo(const char* token, DeviceInfo* info) {
  return Guarded([&] {
    if (!UserForToken(token)) return kNotAuthorised;
    if (Rebooting()) return kRefused;
    std::snprintf(info->model, sizeof info->model, "%s", kDeviceModel);
    std::snprintf(info->security, sizeof info->security, "%s", "tls1.2");
    info->timeout = kSessionSeconds;
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    gmtime_r(&now, &utc);
    std::strftime(info->devicetime, sizeof info->devicetime, "%Y-%m-%d %H:%M:%S", &utc);
    return 0;
  });
}

int WriteUptime(char* uptime) {
  std::snprintf(uptime, kDeviceUptimeSize, "%lld", static_cast<long long>(DeviceUptime()));
  return 0;
}

int RestoreFactoryState(const char* token, CustomRestoreArg* /*arg*/) {
  return Guarded([&] {
    if (!IsAdministrator(token)) return kNotAuthorised;
    ResetFiles();
    ResetUnits();
    ResetUsers();
    Publish({{"type", "restored"}});
    return 0;
  });
}

}  // namespace sim
