// The Date header's value.
#pragma once

#include <array>
#include <cstddef>
#include <ctime>
#include <string_view>

#include "base/text_writer.h"

namespace sdkapi {

struct HttpDate {
  char text[64];
};

inline void Compose(HttpDate& date, std::time_t now) {
  static constexpr std::array<std::string_view, 7> kDays = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  static constexpr std::array<std::string_view, 12> kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                               "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  std::tm utc{};
  gmtime_r(&now, &utc);
  TextWriter text(date.text);
  text.Add(kDays[static_cast<std::size_t>(utc.tm_wday)]).Add(", ").AddTwoDigits(utc.tm_mday).Add(" ");
  text.Add(kMonths[static_cast<std::size_t>(utc.tm_mon)]).Add(" ").AddNumber(utc.tm_year + 1900).Add(" ");
  text.AddTwoDigits(utc.tm_hour)
      .Add(":")
      .AddTwoDigits(utc.tm_min)
      .Add(":")
      .AddTwoDigits(utc.tm_sec)
      .Add(" GMT");
  text.Finish();
}

// The present time, for instance "Sun, 06 Nov 1994 08:49:37 GMT"; composed once a second and thread.
inline const HttpDate& CurrentHttpDate() {
  thread_local HttpDate date{};
  thread_local std::time_t composed = -1;
  const std::time_t now = std::time(nullptr);
  if (now != composed) {
    Compose(date, now);
    composed = now;
  }
  return date;
}

}  // namespace sdkapi
