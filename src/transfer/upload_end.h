// Tells the host of the end of every upload that it heard the beginning of.
#pragma once

#include "sdkapi/extension.h"

namespace sdkapi {

// Calls the host's hook, if there is one.
void TellUploadEnd(SdkAPIExtUpload upload);

}  // namespace sdkapi
