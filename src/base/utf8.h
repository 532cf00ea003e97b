// Is a text UTF-8?
#pragma once

#include <string_view>

namespace sdkapi {

// As WebSockets want it: shortest forms only, no surrogates, nothing beyond U+10FFFF, no character cut short.
bool IsUtf8(std::string_view text);

}  // namespace sdkapi
