// The device itself: model, version, clock.
#include "model/device.h"

#include <chrono>
#include <cmath>
#include <mutex>

#include "sdkapi/sdkapi.h"

namespace sim {
namespace {

using Clock = std::chrono::steady_clock;

const Clock::time_point kStarted = Clock::now();
std::mutex mutex;
std::string version;

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

}  // namespace sim
