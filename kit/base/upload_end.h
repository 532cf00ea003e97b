// The ends of uploads, told to the part of the kit that takes their family.
#pragma once

#include "sdkapi/extension.h"

namespace sdkkit {

// Has `end` called at every end of an upload of this family; nullptr takes it back. The library has one hook
// for all families: this takes it for the kit.
void OnUploadEnd(SdkAPIExtFamily family, SdkAPIExtUploadEndHook end);

}  // namespace sdkkit
