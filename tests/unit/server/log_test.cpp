// Log lines: suffix, levels, the length limit, the hook.
#include "server/log.h"

#include "library_fixture.h"

namespace {

using sdktest::LogCapture;
using sdktest::Strings;

constexpr sdkapi::LogSource kLog{"sdkapimain"};

class LogTest : public sdktest::LibraryTest {};

std::vector<std::string> rawLines;
void RawHook(int level, const char* text) { rawLines.push_back(std::to_string(level) + text); }

TEST_F(LogTest, ALineEndsInSourceAndLineOfTheCall) {
  rawLines.clear();
  ASSERT_EQ(SdkApiSer_Printf(RawHook), 0);
  const int line = __LINE__ + 1;
  kLog.error()("%s has %d", "unit", 3);
  ASSERT_EQ(rawLines.size(), 1U);
  EXPECT_EQ(rawLines[0], "4unit has 3 [sdkapimain," + std::to_string(line) + "]");
}

TEST_F(LogTest, LevelsAreOneAndFour) {
  kLog.info()("a");
  kLog.error()("b");
  EXPECT_EQ(Log(), (Strings{"1 sdkapimain a", "4 sdkapimain b"}));
}

TEST_F(LogTest, ANullHookIsRefusedAndTheEarlierOneStays) {
  EXPECT_EQ(SdkApiSer_Printf(nullptr), -1);
  kLog.info()("still here");
  EXPECT_EQ(Log(), Strings{"1 sdkapimain still here"});
}

// A wide character that the locale cannot write.
TEST_F(LogTest, ATextThatCannotBeComposedIsNotLogged) {
  constexpr wchar_t kNoCharacter[] = {0x10ffff, 0};
  kLog.info()("before %ls behind", kNoCharacter);
  EXPECT_TRUE(LogCapture::Records().empty());
}

struct LengthCase {
  std::size_t length;
  bool logged;
};
class LogLengthTest : public LogTest, public testing::WithParamInterface<LengthCase> {};

TEST_P(LogLengthTest, TextsUpTo2048CharactersAreLoggedWholeLongerOnesNotAtAll) {
  const std::string text(GetParam().length, 'x');
  kLog.info()("%s", text.c_str());
  if (GetParam().logged) {
    ASSERT_EQ(LogCapture::Records().size(), 1U);
    EXPECT_EQ(LogCapture::Records()[0].text, text);
    EXPECT_EQ(LogCapture::Records()[0].source, "sdkapimain");
  } else {
    EXPECT_TRUE(LogCapture::Records().empty());
  }
}

INSTANTIATE_TEST_SUITE_P(Lengths, LogLengthTest,
                         testing::Values(LengthCase{0, true}, LengthCase{1, true}, LengthCase{2047, true},
                                         LengthCase{2048, true}, LengthCase{2049, false},
                                         LengthCase{100000, false}));

}  // namespace
