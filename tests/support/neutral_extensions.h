// Every setting of the extension interface at its neutral value: what a process has that never called it.
#pragma once

#include "sdkapi/extension.h"

namespace sdktest {

inline void SetNeutralExtensions() { SdkAPIExt_SilentFailure_Set(0); }

}  // namespace sdktest
