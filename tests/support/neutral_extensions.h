// Every setting of the extension interface at its neutral value: what a process has that never called it.
#pragma once

#include <civetweb.h>

#include "sdkapi/extension.h"

namespace sdktest {

// Between a stop and the next SdkAPISer_Init.
inline void SetNeutralExtensions() {
  SdkAPIExt_SilentFailure_Set(0);
  SdkAPIExt_ServerLog_Set(nullptr);
  for (const mg_option* option = mg_get_valid_options(); option->name != nullptr; ++option) {
    SdkAPIExt_Option_Set(option->name, nullptr);
  }
  SdkAPIExt_Login_Limits_Set(nullptr);
  SdkAPIExt_WebSocket_Slots_Set(nullptr);
  SdkAPIExt_WebSocket_Limits_Set(nullptr);
  SdkAPIExt_UploadEnd_Set(nullptr);
  SdkAPIExt_Limits_Set(nullptr);
  for (int family = kExtUploadImage; family <= kExtUploadCustom; ++family) {
    SdkAPIExt_Upload_Limit_Set(family, 0);
  }
}

}  // namespace sdktest
