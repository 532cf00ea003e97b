// The download slots of what the device makes itself: its log and its report.
#pragma once

#include "sdkapi/sdkapi.h"

namespace sim {

// Puts them into the host table.
void FillDownloads(SdkAPISerHandle& table);

}  // namespace sim
