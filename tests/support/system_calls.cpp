// The clock, the up-time and the pause that the library sees: linked in place of the system's (--wrap).
#include "system_calls.h"

#include <sys/sysinfo.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

namespace sdktest {

SystemCalls& System() {
  static SystemCalls calls;
  return calls;
}

}  // namespace sdktest

extern "C" {

std::time_t __wrap_time(std::time_t* out);
int __wrap_sysinfo(struct sysinfo* info);
int __wrap_usleep(useconds_t microseconds);

std::time_t __wrap_time(std::time_t* out) {
  const auto now = static_cast<std::time_t>(sdktest::System().time);
  if (out != nullptr) *out = now;
  return now;
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
