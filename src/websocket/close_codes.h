// The codes of close frames that the library sends by itself.
#pragma once

namespace sdkapi {

constexpr int kCloseProtocol = 1002;
constexpr int kCloseNotUtf8 = 1007;
constexpr int kClosePolicy = 1008;
constexpr int kCloseTooBig = 1009;

}  // namespace sdkapi
