// The kit's lines: one line each, bounded, at the right level.
#include "base/log.h"

#include <gtest/gtest.h>

#include <new>
#include <string>
#include <vector>

#include "base/guarded.h"

namespace sdkkit {
namespace {

struct Line {
  int level;
  std::string subject;
  std::string text;
  bool operator==(const Line&) const = default;
};

std::vector<Line>& Lines() {
  static std::vector<Line> lines;
  return lines;
}

class LogTest : public testing::Test {
 protected:
  LogTest() {
    Lines().clear();
    SdkKitLog_Set([](int level, const char* subject, const char* text) {
      Lines().push_back({level, subject, text});
    });
  }
  ~LogTest() override { SdkKitLog_Set(nullptr); }

  const Log log_{"subject"};
};

TEST_F(LogTest, EachLevelReachesTheHook) {
  log_.Info("%d", 1);
  log_.Audit({.action = "test"}, "%d", 2);
  log_.Warning("%d", 3);
  log_.Error("%d", 4);
  EXPECT_EQ(Lines(),
            (std::vector<Line>{
                {1, "subject", "1"}, {2, "subject", "2"}, {3, "subject", "3"}, {4, "subject", "4"}}));
}

TEST_F(LogTest, AClientsTextStaysOneLine) {
  log_.Audit({.action = "test"}, "user %s", "a\r\nb\x1b[31m\x7f");
  EXPECT_EQ(Lines(), (std::vector<Line>{{2, "subject", "user a??b?[31m?"}}));
}

TEST_F(LogTest, ALongTextIsCut) {
  log_.Info("%s", std::string(5000, 'x').c_str());
  EXPECT_EQ(Lines(), (std::vector<Line>{{1, "subject", std::string(1023, 'x')}}));
}

TEST_F(LogTest, WithoutAHookNothingHappens) {
  SdkKitLog_Set(nullptr);
  log_.Error("nobody hears this");
  EXPECT_TRUE(Lines().empty());
}

TEST_F(LogTest, AnExceptionBecomesAResultAndALine) {
  EXPECT_EQ(Guarded(log_, []() -> int { throw std::bad_alloc(); }), -1);
  EXPECT_EQ(Lines(), (std::vector<Line>{{4, "subject", "std::bad_alloc"}}));
}

}  // namespace
}  // namespace sdkkit
