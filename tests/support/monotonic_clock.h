// The monotonic clock that the library sees in unit tests. Where a test sets it, it stands
// still until the test moves it.
#pragma once

#include <atomic>
#include <cstdint>

namespace sdktest {

// In milliseconds; 0: the real clock.
std::atomic<int64_t>& MonotonicClock();

}  // namespace sdktest
