// The uploads that the device takes: their kinds, limits and content.
#pragma once

#include "sdkapi/sdkapi.h"

namespace sim {

// Call them before the server's start, and before its stop.
void StartUploads();
void StopUploads();

// Puts the upload slots, and the download slots that give back what they stored, into the table.
void FillUploads(SdkAPISerHandle& table);

}  // namespace sim
