// The device's firmware: two slots, a simulated start, and what the clients are told.
#pragma once

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "sdkapi/sdkapi.h"

namespace sim {

// Starts what build.config names; a new version is on trial then. Takes containers that are signed for the
// key in keyFile; empty: for the development key, whose other half everybody knows.
void StartFirmware(const std::string& keyFile);

// What a reboot does: starts what build.config names now. False when the storage does not let it.
bool RestartFirmware();

// Does the running firmware work? An image that begins with "does not start" plays one that does not.
bool FirmwareWorks();

// Puts the upgrade into the host table.
void FillFirmware(SdkAPISerHandle* table);

// The event of one phase of an upgrade; a reboot without one ends with the version that it began with. One
// that failed has a reason.
nlohmann::json UpgradeEvent(const char* phase, uint64_t percent, const std::string& version,
                            const std::string& reason = "");

}  // namespace sim
