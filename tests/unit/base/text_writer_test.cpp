// Composing text in a fixed array.
#include "base/text_writer.h"

#include <gtest/gtest.h>

#include <climits>

namespace {

using sdkapi::TextWriter;

TEST(TextWriter, JoinsTextAndNumbers) {
  char text[64];
  const std::size_t length = TextWriter(text)
                                 .Add("a ")
                                 .AddNumber(INT_MIN)
                                 .Add(" ")
                                 .AddUnsigned(1500, 16)
                                 .Add(" ")
                                 .AddUnsigned(UINT64_MAX)
                                 .Finish();
  EXPECT_STREQ(text, "a -2147483648 5dc 18446744073709551615");
  EXPECT_EQ(length, 38U);
}

TEST(TextWriter, AddsALeadingZeroBelowTen) {
  char text[8];
  TextWriter(text).AddTwoDigits(0).AddTwoDigits(7).AddTwoDigits(59).Finish();
  EXPECT_STREQ(text, "000759");
}

TEST(TextWriter, AddsNothingForATextThatPointsNowhere) {
  char text[8];
  EXPECT_EQ(TextWriter(text).Add("a").Add({}).Add("b").Finish(), 2U);
  EXPECT_STREQ(text, "ab");
}

TEST(TextWriter, CutsWhatDoesNotFitAndStaysInTheArray) {
  struct {
    char text[5];
    char behind;
  } area{{}, '#'};
  TextWriter writer(area.text);
  writer.Add("abc").Add("defg").Add("h").AddNumber(12);
  EXPECT_EQ(writer.Finish(), 4U);
  EXPECT_STREQ(area.text, "abcd");
  EXPECT_EQ(area.behind, '#');
}

}  // namespace
