// The slots that tell what the device is: its facts, its uptime and its units.
#pragma once

#include "sdkapi/sdkapi.h"

namespace sim {

// Puts them into the host table.
void FillDeviceInfo(SdkAPISerHandle& table);

}  // namespace sim
