// The most bytes that an upload may have, as the host has set them for each family.
#pragma once

#include <cstdint>

namespace sdkapi {

// 0: any number.
int64_t MostUploadBytes(int family);

}  // namespace sdkapi
