// The slots of the privilege pictures: list, bind, delete.
#pragma once

#include "sdkapi/sdkapi.h"

namespace sim {

// Puts them into the host table.
void FillPrivileges(SdkAPISerHandle& table);

}  // namespace sim
