// The device's own routes below /sim.
#pragma once

namespace sim {

// Registers /sim/units, /sim/status and /sim/users; call it after each start of the server.
void RegisterDeviceRoutes();

}  // namespace sim
