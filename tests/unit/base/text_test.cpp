// The bounded copy.
#include "base/text.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using sdkapi::CopyText;
using sdkapi::Terminate;

TEST(CopyText, CutsToTheArrayAndZeroFillsTheRest) {
  char room[8];
  std::memset(room, 'x', sizeof room);
  CopyText(room, "abc");
  EXPECT_EQ(std::string(room, sizeof room), std::string("abc\0\0\0\0\0", 8));
  CopyText(room, "abcdefg");
  EXPECT_STREQ(room, "abcdefg");
  CopyText(room, "abcdefghijk");
  EXPECT_STREQ(room, "abcdefg");
  CopyText(room, "");
  EXPECT_EQ(std::string(room, sizeof room), std::string(8, '\0'));
}

TEST(Terminate, OverwritesOnlyTheLastByte) {
  char room[4] = {'a', 'b', 'c', 'd'};
  Terminate(room);
  EXPECT_STREQ(room, "abc");
}

}  // namespace
