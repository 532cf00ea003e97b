// The preview slot: what the units and the device itself show.
#pragma once

#include "sdkapi/sdkapi.h"

namespace sim {

void StartPreviews();

// Viewers that wait return at once, later ones are refused.
void StopPreviews();

// Puts the slot into the host table.
void FillPreviews(SdkAPISerHandle& table);

}  // namespace sim
