// The Date header's value.
#pragma once

#include <array>
#include <cstdio>
#include <ctime>

namespace sdkapi {

struct HttpDate {
  char text[64];
};

// The present time, for instance "Sun, 06 Nov 1994 08:49:37 GMT".
inline HttpDate CurrentHttpDate() {
  static constexpr std::array<const char*, 7> kDays = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  static constexpr std::array<const char*, 12> kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                          "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  const std::time_t now = std::time(nullptr);
  std::tm utc{};
  gmtime_r(&now, &utc);
  HttpDate date{};
  std::snprintf(date.text, sizeof date.text, "%s, %02d %s %d %02d:%02d:%02d GMT",
                kDays[static_cast<std::size_t>(utc.tm_wday)], utc.tm_mday,
                kMonths[static_cast<std::size_t>(utc.tm_mon)], utc.tm_year + 1900, utc.tm_hour, utc.tm_min,
                utc.tm_sec);
  return date;
}

}  // namespace sdkapi
