// Upgrade and simulated reboot, as the clients see them.
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

// Of its own: the end of a reboot tells of an upload that it breaks off.
std::mutex upgradeMutex;
json upgrade;  // the last event of the one under way, else null

}  // namespace

void TellUpgrade(const std::string& phase, uint64_t percent, const std::string& version,
                 const std::string& reason) {
  json event{{"type", "upgrade"}, {"phase", phase}, {"percent", percent}, {"version", version}};
  if (!reason.empty()) event["reason"] = reason;
  const std::lock_guard lock(upgradeMutex);
  upgrade = phase == "done" || phase == "failed" ? json() : event;
  Publish(event);
}

void WithUpgrade(const std::function<void(const json& upgrade)>& tell) {
  const std::lock_guard lock(upgradeMutex);
  tell(upgrade);
}

bool BeginReboot(const std::string& version) {
  {
    const std::lock_guard lock(mutex);
    if (reboot) return false;
    reboot = Reboot{Clock::now() + kRebootTime, version};
  }
  TellUpgrade("rebooting", 100, version);
  return true;
}

bool Rebooting() {
  const std::lock_guard lock(mutex);
  return reboot.has_value();
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
