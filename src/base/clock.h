// A clock that nobody sets.
#pragma once

#include <cstdint>
#include <ctime>

namespace sdkapi {

inline int64_t MonotonicMilliseconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

}  // namespace sdkapi
