// The refusal of a call of the extension interface.
#pragma once

#include "server/log.h"

namespace sdkapi {

inline constexpr LogSource kExtensionLog{"sdkapiext"};

// One line that names the function and the reason; returns -1, the function's result.
inline int Refuse(const LogLine& log, const char* function, const char* reason) {
  log("%s: %s!!!!", function, reason);
  return -1;
}

}  // namespace sdkapi
