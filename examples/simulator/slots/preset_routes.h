// The routes of the presets.
#pragma once

namespace sim {

// Registers /sim/presets; call it after each start of the server.
void RegisterPresetRoutes();

}  // namespace sim
