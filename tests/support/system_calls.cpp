// The clock, the up-time and the pause that the library sees: linked in place of the system's (--wrap).
#include "system_calls.h"

#include <sys/random.h>
#include <sys/sysinfo.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

#include "monotonic_clock.h"

namespace sdktest {

SystemCalls& System() {
  static SystemCalls calls;
  return calls;
}

std::atomic<int64_t>& MonotonicClock() {
  static std::atomic<int64_t> milliseconds{0};
  return milliseconds;
}

}  // namespace sdktest

extern "C" {

int __wrap_clock_gettime(clockid_t clock, timespec* out);
int __real_clock_gettime(clockid_t clock, timespec* out);
std::time_t __wrap_time(std::time_t* out);
int __wrap_sysinfo(struct sysinfo* info);
int __wrap_usleep(useconds_t microseconds);
ssize_t __wrap_getrandom(void* bytes, std::size_t length, unsigned int flags);
ssize_t __real_getrandom(void* bytes, std::size_t length, unsigned int flags);

ssize_t __wrap_getrandom(void* bytes, std::size_t length, unsigned int flags) {
  if (!sdktest::System().failRandom) return __real_getrandom(bytes, length, flags);
  errno = EAGAIN;
  return -1;
}

std::time_t __wrap_time(std::time_t* out) {
  const auto now = static_cast<std::time_t>(sdktest::System().time);
  if (out != nullptr) *out = now;
  return now;
}

int __wrap_clock_gettime(clockid_t clock, timespec* out) {
  static int64_t now = 1000;
  const int64_t set = sdktest::MonotonicClock();
  if (set != 0 && clock == CLOCK_MONOTONIC) {
    *out = {.tv_sec = set / 1000, .tv_nsec = set % 1000 * 1000000};
    return 0;
  }
  const int64_t step = sdktest::System().monotonicStep;
  if (step == 0 || clock != CLOCK_MONOTONIC) return __real_clock_gettime(clock, out);
  *out = {.tv_sec = now += step, .tv_nsec = 0};
  return 0;
}

int __wrap_sysinfo(struct sysinfo* info) {
  if (sdktest::System().failSysinfo) {
    errno = EFAULT;
    return -1;
  }
  info->uptime = static_cast<long>(sdktest::System().upTime);
  return 0;
}

int __wrap_usleep(useconds_t microseconds) {
  if (sdktest::System().onSleep) sdktest::System().onSleep(microseconds);
  return 0;
}
}
