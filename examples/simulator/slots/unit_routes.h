// The device's own routes below /sim.
#pragma once

namespace sim {

// Registers /sim/units and /sim/status; call it after each start of the server.
void RegisterUnitRoutes();

}  // namespace sim
