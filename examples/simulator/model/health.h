// Is the device well? One check a subject, and the worst of them as the verdict.
#pragma once

#include <nlohmann/json.hpp>

namespace sim {

// Notes whether the last run ended by itself; StopHealth notes it for the next one.
void StartHealth();
void StopHealth();

// {"verdict","checks":[{"subject","state","value","limit","unit"}]}; states are "good", "warning",
// "critical".
nlohmann::json HealthBody();

}  // namespace sim
