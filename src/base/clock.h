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

inline constexpr int64_t kMillisecondsPerSecond = 1000;

inline int64_t MonotonicSeconds() { return MonotonicMilliseconds() / kMillisecondsPerSecond; }

// Whole seconds between two readings in milliseconds; 0 when the first is the later one.
inline uint64_t SecondsBetween(int64_t then, int64_t now) {
  return now > then ? static_cast<uint64_t>((now - then) / kMillisecondsPerSecond) : 0;
}

}  // namespace sdkapi
