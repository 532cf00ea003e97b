// The device's own numbers on /metrics.
#pragma once

namespace sim {

void StartMetrics();
void RegisterMetrics();

}  // namespace sim
