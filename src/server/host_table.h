// The library's copy of the host's table.
#pragma once

#include "sdkapi/host.h"

namespace sdkapi {

// Takes a copy of the host's table. Returns 0.
int SdkAPISerHandleInit(const void* table);

// The copy; written at start only, read by all worker threads without a lock.
SdkAPISerHandle* GetSerHandle();

}  // namespace sdkapi
