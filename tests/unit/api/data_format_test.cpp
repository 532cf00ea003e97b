// The password's strength rule and the words of the device's settings.
#include <cstring>
#include <string>

#include "library_fixture.h"
#include "sdkapi/values.h"

namespace {

struct StrengthCase {
  const char* text;
  int result;
};
class StrengthTest : public testing::TestWithParam<StrengthCase> {};

TEST_P(StrengthTest, NeedsAllFourClasses) {
  EXPECT_EQ(DataFormatverification(GetParam().text), GetParam().result) << GetParam().text;
}

INSTANTIATE_TEST_SUITE_P(Texts, StrengthTest,
                         testing::Values(StrengthCase{"Abcdef1!", 0}, StrengthCase{"abcdef1!", -1},
                                         StrengthCase{"ABCDEF1!", -1}, StrengthCase{"Abcdefg!", -1},
                                         StrengthCase{"Abcdef12", -1}, StrengthCase{"Abc1~x", -1},
                                         StrengthCase{"Abc1`x", -1}, StrengthCase{"A a 1 ?", 0},
                                         StrengthCase{"aA1!", 0}, StrengthCase{"!1Aa", 0},
                                         StrengthCase{"", -1}, StrengthCase{"\taA1\n!", 0},
                                         StrengthCase{"\xc3\xa4\xc3\x84"
                                                      "1!",
                                                      -1},
                                         StrengthCase{"aA1\xa7", -1}));

TEST(Strength, EverySpecialCharacterOfTheSetCounts) {
  for (const char special : std::string(R"set(!@#$%^&*()-_=+[]{}\|;:'",.<>/?)set")) {
    EXPECT_EQ(DataFormatverification((std::string("aA1") + special).c_str()), 0) << special;
  }
}

TEST(Strength, NoOtherCharacterCountsAsSpecial) {
  const std::string set = R"set(!@#$%^&*()-_=+[]{}\|;:'",.<>/?)set";
  for (int code = 1; code < 256; ++code) {
    const char character = static_cast<char>(code);
    if (set.find(character) != std::string::npos) continue;
    EXPECT_EQ(DataFormatverification((std::string("aA1") + character).c_str()), -1) << code;
  }
}

TEST(Strength, EveryLetterAndDigitCounts) {
  for (const char c : std::string("abcdefghijklmnopqrstuvwxyz")) {
    EXPECT_EQ(DataFormatverification((std::string("A1!") + c).c_str()), 0) << c;
  }
  for (const char c : std::string("ABCDEFGHIJKLMNOPQRSTUVWXYZ")) {
    EXPECT_EQ(DataFormatverification((std::string("a1!") + c).c_str()), 0) << c;
  }
  for (const char c : std::string("0123456789")) {
    EXPECT_EQ(DataFormatverification((std::string("aA!") + c).c_str()), 0) << c;
  }
}

TEST(Strength, NoOtherCharacterCountsAsLetterOrDigit) {
  for (int code = 1; code < 256; ++code) {
    const char c = static_cast<char>(code);
    const bool lower = c >= 'a' && c <= 'z';
    const bool upper = c >= 'A' && c <= 'Z';
    const bool digit = c >= '0' && c <= '9';
    EXPECT_EQ(DataFormatverification((std::string("A1!") + c).c_str()), lower ? 0 : -1) << code;
    EXPECT_EQ(DataFormatverification((std::string("a1!") + c).c_str()), upper ? 0 : -1) << code;
    EXPECT_EQ(DataFormatverification((std::string("aA!") + c).c_str()), digit ? 0 : -1) << code;
  }
}

struct BoolCase {
  const char* text;
  int result;
  const char* printed;
};
class BoolTest : public testing::TestWithParam<BoolCase> {};

TEST_P(BoolTest, ReadsTheSixWordsAndReportsOthers) {
  testing::internal::CaptureStdout();
  const int result = DataFormatStringToBool(GetParam().text);
  std::fflush(stdout);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), GetParam().printed);
  EXPECT_EQ(result, GetParam().result);
}

INSTANTIATE_TEST_SUITE_P(
    Words, BoolTest,
    testing::Values(BoolCase{"y", 1, ""}, BoolCase{"on", 1, ""}, BoolCase{"Enable", 1, ""},
                    BoolCase{"n", 0, ""}, BoolCase{"off", 0, ""}, BoolCase{"Disable", 0, ""},
                    BoolCase{"Yes", 0, "Invalid Input \n"}, BoolCase{"ON", 0, "Invalid Input \n"},
                    BoolCase{"enable", 0, "Invalid Input \n"}, BoolCase{"", 0, "Invalid Input \n"},
                    BoolCase{"on ", 0, "Invalid Input \n"}));

using ToString = int (*)(int, char*);
using ToEnum = int (*)(const char*);

struct WordCase {
  ToString toString;
  int value;
  const char* word;  // what stands in the buffer afterwards
};
class ToStringTest : public testing::TestWithParam<WordCase> {};

TEST_P(ToStringTest, WritesTheWordOrLeavesTheBuffer) {
  char room[8] = "before";
  EXPECT_EQ(GetParam().toString(GetParam().value, room), 0);
  EXPECT_STREQ(room, GetParam().word);
}

INSTANTIATE_TEST_SUITE_P(
    Words, ToStringTest,
    testing::Values(WordCase{EnableEnumToString, 1, "Enable"}, WordCase{EnableEnumToString, 0, "Disable"},
                    WordCase{EnableEnumToString, 7, "Disable"}, WordCase{EnableEnumToString, -1, "Disable"},
                    WordCase{SinkPowerModeEnumToString, 1, "both"},
                    WordCase{SinkPowerModeEnumToString, 2, "rs232"},
                    WordCase{SinkPowerModeEnumToString, 3, "cec"},
                    WordCase{SinkPowerModeEnumToString, 0, "before"},
                    WordCase{SinkPowerModeEnumToString, 4, "before"}, WordCase{OnOffEnumToString, 0, "off"},
                    WordCase{OnOffEnumToString, 1, "on"}, WordCase{OnOffEnumToString, 2, "before"},
                    WordCase{YesNoEnumToString, 1, "y"}, WordCase{YesNoEnumToString, 0, "n"},
                    WordCase{YesNoEnumToString, -1, "before"}, WordCase{DhcpEnumToString, 1, "dhcp"},
                    WordCase{DhcpEnumToString, 0, "static"}, WordCase{DhcpEnumToString, 2, "before"}));

TEST(ToString, ANullBufferIsRefused) {
  for (const ToString toString : {EnableEnumToString, SinkPowerModeEnumToString, OnOffEnumToString,
                                  YesNoEnumToString, DhcpEnumToString}) {
    for (const int value : {-1, 0, 1, 9}) EXPECT_EQ(toString(value, nullptr), -1);
  }
}

struct ReadCase {
  ToEnum toEnum;
  const char* text;
  int value;
};
class ToEnumTest : public testing::TestWithParam<ReadCase> {};

TEST_P(ToEnumTest, ReadsTheExactWord) { EXPECT_EQ(GetParam().toEnum(GetParam().text), GetParam().value); }

INSTANTIATE_TEST_SUITE_P(
    Words, ToEnumTest,
    testing::Values(ReadCase{EnableStringToEnum, "Enable", 1}, ReadCase{EnableStringToEnum, "Disable", 0},
                    ReadCase{EnableStringToEnum, "enable", -1},
                    ReadCase{SinkPowerModeStringToEnum, "both", 1},
                    ReadCase{SinkPowerModeStringToEnum, "rs232", 2},
                    ReadCase{SinkPowerModeStringToEnum, "cec", 3},
                    ReadCase{SinkPowerModeStringToEnum, "RS232", -1}, ReadCase{OnOffStringToEnum, "off", 0},
                    ReadCase{OnOffStringToEnum, "on", 1}, ReadCase{OnOffStringToEnum, "On", -1},
                    ReadCase{YesNoStringToEnum, "y", 1}, ReadCase{YesNoStringToEnum, "n", 0},
                    ReadCase{YesNoStringToEnum, "yes", -1}, ReadCase{DhcpStringToEnum, "dhcp", 1},
                    ReadCase{DhcpStringToEnum, "static", 0}, ReadCase{DhcpStringToEnum, "DHCP", -1}));

TEST(ToEnum, NullAndEmptyAreRefused) {
  for (const ToEnum toEnum : {EnableStringToEnum, SinkPowerModeStringToEnum, OnOffStringToEnum,
                              YesNoStringToEnum, DhcpStringToEnum}) {
    EXPECT_EQ(toEnum(nullptr), -1);
    EXPECT_EQ(toEnum(""), -1);
  }
}

}  // namespace
