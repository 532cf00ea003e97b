// Upgrade and simulated reboot, as the clients see them.
#pragma once

#include <cstdint>
#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace sim {

// Tells all clients of one phase of an upgrade; a reboot without one ends with the version that it began
// with. One that failed has a reason.
void TellUpgrade(const std::string& phase, uint64_t percent, const std::string& version,
                 const std::string& reason = "");

// Calls tell with the last event of the upgrade under way, or null; no other comes in between.
void WithUpgrade(const std::function<void(const nlohmann::json& upgrade)>& tell);

// The device is gone for three seconds, then back with the version; false while it is gone already.
bool BeginReboot(const std::string& version);
bool Rebooting();

// Once the time is over: the version that was to come, after start made the device's next one run.
std::optional<std::string> EndReboot(const std::function<void()>& start);

}  // namespace sim
