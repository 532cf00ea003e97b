// The device's own routes, all of them.
#pragma once

namespace sim {

// Call it after each start of the server.
void RegisterOwnRoutes();

}  // namespace sim
