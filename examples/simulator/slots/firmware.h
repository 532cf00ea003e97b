// The firmware: its slot, the start of a new one, and its trial.
#pragma once

#include <string>

#include "sdkapi/sdkapi.h"

namespace sim {

// Starts what build.config names; a new version is on trial then. Takes containers that are signed for the
// key in keyFile; empty: for the development key, whose other half everybody knows.
void StartFirmware(const std::string& keyFile);
void StopFirmware();

// Puts the upgrade into the host table.
void FillFirmware(SdkAPISerHandle& table);

// Called once a second: ends a reboot whose time is over, and confirms a new firmware that works.
void TickFirmware();

}  // namespace sim
