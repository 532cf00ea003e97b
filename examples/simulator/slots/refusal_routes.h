// The device's own route that says why an upload was refused.
#pragma once

namespace sim {

// Registers /sim/refusals; call it after each start of the server.
void RegisterRefusalRoutes();

}  // namespace sim
