// Texts that are UTF-8, and texts that are not, at every place of a longer text.
#include "base/utf8.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using sdkapi::IsUtf8;

TEST(Utf8Test, WholeCharactersAreTaken) {
  const std::string texts[] = {"",
                               "plain",
                               std::string("nul\0inside", 10),
                               "\x7f",
                               "\xc2\x80",
                               "\xdf\xbf",
                               "\xe0\xa0\x80",
                               "\xe1\x80\x80",
                               "\xec\xbf\xbf",
                               "\xed\x9f\xbf",
                               "\xee\x80\x80",
                               "\xef\xbf\xbf",
                               "\xf0\x90\x80\x80",
                               "\xf1\x80\x80\x80",
                               "\xf3\xbf\xbf\xbf",
                               "\xf4\x8f\xbf\xbf"};
  for (const std::string& text : texts) {
    for (std::size_t before = 0; before < 17; ++before) {
      EXPECT_TRUE(IsUtf8(std::string(before, 'x') + text)) << before << text;
      EXPECT_TRUE(IsUtf8(std::string(before, 'x') + text + std::string(9, 'y'))) << before << text;
    }
  }
}

TEST(Utf8Test, EverythingElseIsNot) {
  const char* const texts[] = {"\x80",  // a following byte alone
                               "\xbf",
                               "\xc0\xaf",  // longer than it need be
                               "\xc1\xbf",
                               "\xe0\x9f\xbf",
                               "\xf0\x8f\xbf\xbf",
                               "\xed\xa0\x80",  // surrogates
                               "\xed\xbf\xbf",
                               "\xf4\x90\x80\x80",  // beyond U+10FFFF
                               "\xf5\x80\x80\x80",
                               "\xff",
                               "\xfe",
                               "\xc3",  // cut short
                               "\xe2\x82",
                               "\xf0\x9f\x98",
                               "\xc3(",  // another byte where one has to follow
                               "\xe2(\xa1",
                               "\xe2\x82(",
                               "\xf0\x9f\x98("};
  for (const char* const text : texts) {
    for (std::size_t before = 0; before < 17; ++before) {
      EXPECT_FALSE(IsUtf8(std::string(before, 'x') + text)) << before << text;
      EXPECT_FALSE(IsUtf8(std::string(before, 'x') + text + std::string(9, 'y'))) << before << text;
    }
  }
}

TEST(Utf8Test, EveryPairOfBytes) {
  int taken = 0;
  for (int first = 0; first < 256; ++first) {
    for (int second = 0; second < 256; ++second) {
      const char text[] = {static_cast<char>(first), static_cast<char>(second)};
      taken += IsUtf8({text, 2}) ? 1 : 0;
    }
  }
  EXPECT_EQ(taken, 128 * 128 + 30 * 64);
}

}  // namespace
