// The clock, the up-time, the pause and the random bytes that the library sees in unit tests.
#pragma once

#include <cstdint>
#include <functional>

namespace sdktest {

// "Sun, 06 Nov 1994 08:49:37 GMT"
constexpr int64_t kFixedTime = 784111777;

struct SystemCalls {
  int64_t time = kFixedTime;
  int64_t upTime = 1000;
  int64_t monotonicStep = 0;  // seconds from one look at the monotonic clock to the next; 0: the real clock
  bool failSysinfo = false;
  bool failRandom = false;
  std::function<void(unsigned microseconds)> onSleep{};
};

SystemCalls& System();

}  // namespace sdktest
