// How the device is, how it was in the last hour, and who did what.
#pragma once

namespace sim {

// Registers the routes below /sim; call it after each start of the server.
void RegisterHealthRoutes();

}  // namespace sim
