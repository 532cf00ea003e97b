// The table that the device hands to the library.
#pragma once

#include "sdkapi/sdkapi.h"

namespace sim {

SdkAPISerHandle HostTable();

}  // namespace sim
