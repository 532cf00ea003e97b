// The device's own route that says which firmware runs.
#pragma once

namespace sim {

void RegisterFirmwareRoutes();

}  // namespace sim
