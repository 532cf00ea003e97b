// The simulated reboot: what the clients see of it.
#include "model/reboot.h"

#include <chrono>
#include <mutex>
#include <utility>

#include "bus/events.h"

namespace sim {
namespace {

using nlohmann::json;
using Clock = std::chrono::steady_clock;

constexpr auto kRebootTime = std::chrono::seconds(3);

struct Reboot {
  Clock::time_point until;
  std::string version;
};

std::mutex mutex;
std::optional<Reboot> reboot;

}  // namespace

json UpgradeEvent(const char* phase, uint64_t percent, const std::string& version,
                  const std::string& reason) {
  json event{{"type", "upgrade"}, {"phase", phase}, {"percent", percent}, {"version", version}};
  if (!reason.empty()) event["reason"] = reason;
  return event;
}

bool BeginReboot(const std::string& version) {
  {
    const std::lock_guard lock(mutex);
    if (reboot) return false;
    reboot = Reboot{Clock::now() + kRebootTime, version};
  }
  Publish(UpgradeEvent("rebooting", 100, version));
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

std::optional<std::string> EndReboot(const std::function<void()>& start) {
  // Locked until the new version is there: a client that finds the reboot over finds that, too.
  const std::lock_guard lock(mutex);
  if (!reboot || Clock::now() < reboot->until) return std::nullopt;
  std::string version = std::exchange(reboot, std::nullopt)->version;
  start();
  return version;
}

}  // namespace sim
