// The device itself: model, version, clock, and its simulated reboot.
#include "model/device.h"

#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <mutex>
#include <optional>

#include "bus/events.h"
#include "model/firmware.h"
#include "model/units.h"
#include "sdkapi/kit_firmware.h"
#include "slots/slot_guard.h"

namespace sim {
namespace {

using nlohmann::json;
using Clock = std::chrono::steady_clock;

constexpr auto kRebootTime = std::chrono::seconds(3);

struct Reboot {
  Clock::time_point until;
  std::string version;
};

const Clock::time_point kStarted = Clock::now();
std::mutex mutex;
std::string version;
std::optional<Reboot> reboot;

// The tick's own: false as long as the storage does not let the firmware start.
bool firmwareRuns = true;

// Once the time is over.
void EndReboot() {
  std::string expected;
  {
    // Locked until the new version is there: a client that finds the reboot over finds that, too.
    const std::lock_guard lock(mutex);
    if (!reboot || Clock::now() < reboot->until) return;
    expected = reboot->version;
    reboot.reset();
    firmwareRuns = RestartFirmware();
    version = SdkAPiSer_Version_Get();
    if (version != expected) return Publish(UpgradeEvent("failed", 0, expected, "it did not confirm itself"));
  }
  if (firmwareRuns && FirmwareWorks() && SdkKitFirmware_Confirm() == 0)
    Publish(UpgradeEvent("done", 100, expected));
}

}  // namespace

void StartDevice() {
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

bool BeginRebootSimulation(const std::string& next) {
  {
    const std::lock_guard lock(mutex);
    if (reboot) return false;
    reboot = Reboot{Clock::now() + kRebootTime, next};
  }
  Publish(UpgradeEvent("rebooting", 100, next));
  return true;
}

bool Rebooting() {
  const std::lock_guard lock(mutex);
  return reboot.has_value();
}

json CurrentUpgrade() {
  const std::lock_guard lock(mutex);
  return reboot ? UpgradeEvent("rebooting", 100, reboot->version) : json();
}

void TickDevice() {
  if (Rebooting()) return EndReboot();
  if (!firmwareRuns) firmwareRuns = RestartFirmware();
  if (SdkKitFirmware_Trial() == 0) return;
  if (FirmwareWorks()) {
    SdkKitFirmware_Confirm();
  } else {
    BeginRebootSimulation(SoftwareVersion());
  }
}

int FillDeviceInfo(const char* /*token*/, DeviceInfo* info) {
  return Guarded([&] {
    if (Rebooting()) return kRefused;
    std::snprintf(info->model, sizeof info->model, "%s", kDeviceModel);
    std::snprintf(info->security, sizeof info->security, "%s", "tls1.2");
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

}  // namespace sim
