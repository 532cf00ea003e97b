// The web server's option vector.
#pragma once

namespace sdkapi {

// Key, value, key, value, ..., NULL; its first entry is NULL until SdkAPISer_Init ran.
const char** GetOptionsParam();

// What stands in the vector for an option; empty when it has none.
const char* OptionValue(const char* key);

}  // namespace sdkapi
