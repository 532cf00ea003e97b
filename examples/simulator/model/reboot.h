// The simulated reboot: what the clients see of it.
#pragma once

#include <cstdint>
#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace sim {

// The event of one phase of an upgrade; a reboot without one ends with the version that it began with. One
// that failed has a reason.
nlohmann::json UpgradeEvent(const char* phase, uint64_t percent, const std::string& version,
                            const std::string& reason = "");

// The device is gone for three seconds, then back with the version; false while it is gone already.
bool BeginReboot(const std::string& version);
bool Rebooting();

// The running upgrade's last event, or null.
nlohmann::json CurrentUpgrade();

// Once the time is over: the version that was to come, after start made the device's next one run.
std::optional<std::string> EndReboot(const std::function<void()>& start);

}  // namespace sim
