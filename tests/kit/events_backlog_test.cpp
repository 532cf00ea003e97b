// What a client has still to get: order, replacing by key, and rates.
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "events/backlog.h"
#include "events/pace.h"

namespace sdkkit {
namespace {

using namespace std::chrono_literals;

EventText Text(const std::string& text) { return std::make_shared<const std::string>(text); }

// What a host does: "k=v" is the text v of key k, "v" a text without one, "?v" an answer.
void Add(Backlog& backlog, const std::string& step) {
  const std::size_t at = step.find('=');
  if (step[0] == '?') {
    backlog.AddAnswer(Text(step.substr(1)));
  } else if (at == std::string::npos) {
    backlog.AddPlain(Text(step));
  } else if (!backlog.Replace(step.substr(0, at), Text(step.substr(at + 1)))) {
    backlog.AddKeyed(step.substr(0, at), Text(step.substr(at + 1)));
  }
}

std::vector<std::string> TakeAll(Backlog& backlog) {
  std::vector<std::string> texts;
  for (const EventText& text : backlog.Take(SIZE_MAX, SIZE_MAX)) texts.push_back(*text);
  return texts;
}

struct Case {
  const char* name;
  std::vector<std::string> steps;
  std::vector<std::string> left;
};

class BacklogTest : public testing::TestWithParam<Case> {};

INSTANTIATE_TEST_SUITE_P(
    Cases, BacklogTest,
    testing::Values(
        Case{"InOrder", {"a", "b", "k=c"}, {"a", "b", "c"}},
        Case{"TheNewerTakesThePlace", {"k=1", "l=1", "k=2"}, {"2", "1"}},
        Case{"PlainTextsStayTwice", {"a", "a"}, {"a", "a"}},
        Case{"NothingChangesSidesWithAPlainText", {"k=1", "plain", "k=2", "k=3"}, {"1", "plain", "3"}},
        Case{"AnAnswerHoldsNothingApart", {"k=1", "?yes", "k=2"}, {"2", "yes"}}),
    [](const auto& row) { return row.param.name; });

TEST_P(BacklogTest, LeavesWhatAClientNeeds) {
  Backlog backlog;
  for (const std::string& step : GetParam().steps) Add(backlog, step);
  EXPECT_EQ(TakeAll(backlog), GetParam().left);
  EXPECT_EQ(backlog.bytes(), 0U);
  EXPECT_TRUE(backlog.empty());
}

TEST(BacklogRoomTest, CountsTextsAndBytes) {
  Backlog backlog;
  for (const char* const step : {"k=12345", "abc", "k=1", "k=12"}) Add(backlog, step);
  EXPECT_EQ(backlog.texts(), 3U);
  EXPECT_EQ(backlog.bytes(), 10U);
  EXPECT_EQ(backlog.Take(5, SIZE_MAX).size(), 1U);
  EXPECT_EQ(backlog.Take(SIZE_MAX, 1).size(), 1U);
  EXPECT_EQ(backlog.bytes(), 2U);
}

TEST(BacklogRoomTest, WhatWasTakenIsNotReplaced) {
  Backlog backlog;
  Add(backlog, "k=1");
  EXPECT_EQ(TakeAll(backlog), (std::vector<std::string>{"1"}));
  Add(backlog, "k=2");
  EXPECT_EQ(TakeAll(backlog), (std::vector<std::string>{"2"}));
}

TEST(BacklogRoomTest, TheStateGoesInFront) {
  Backlog backlog;
  Add(backlog, "k=1");
  backlog.PutInFront({Text("state"), Text("more state")});
  Add(backlog, "k=2");
  EXPECT_EQ(TakeAll(backlog), (std::vector<std::string>{"state", "more state", "2"}));
}

TEST(CommandPaceTest, TwiceTheRateAtOnceThenTheRate) {
  CommandPace pace;
  const auto now = PaceClock::now();
  for (int i = 0; i < 20; ++i) EXPECT_LE(pace.Next(now, 10), now);
  EXPECT_EQ(pace.Next(now, 10), now + 100ms);
  EXPECT_EQ(pace.Next(now, 10), now + 200ms);
  for (int i = 0; i < 20; ++i) EXPECT_LE(pace.Next(now + 1h, 10), now + 1h);
}

class KeyPaceTest : public testing::Test {
 protected:
  KeyPaceTest() { pace_.SetInterval(100ms); }
  std::string Due(PaceClock::duration after) {
    std::string texts;
    for (const auto& [key, text] : pace_.TakeDue(now_ + after)) texts += key + "=" + *text + " ";
    return texts;
  }

  KeyPace pace_;
  const PaceClock::time_point now_ = PaceClock::now();
};

TEST_F(KeyPaceTest, TheNewestWaitsForItsTime) {
  EXPECT_TRUE(pace_.Passes("k", Text("1"), now_));
  EXPECT_TRUE(pace_.Passes("l", Text("1"), now_));
  EXPECT_FALSE(pace_.Passes("k", Text("2"), now_ + 10ms));
  EXPECT_FALSE(pace_.Passes("k", Text("3"), now_ + 20ms));
  EXPECT_EQ(pace_.NextDue(), now_ + 100ms);
  EXPECT_EQ(Due(99ms), "");
  EXPECT_EQ(Due(100ms), "k=3 ");
  EXPECT_EQ(pace_.NextDue(), std::nullopt);
  EXPECT_FALSE(pace_.Passes("k", Text("4"), now_ + 150ms));
  EXPECT_TRUE(pace_.Passes("k", Text("5"), now_ + 200ms));
  EXPECT_EQ(Due(1h), "");
}

TEST_F(KeyPaceTest, ItsRoomIsBounded) {
  for (int i = 0; i < 20000; ++i) pace_.Passes("k" + std::to_string(i), Text("x"), now_);
  for (int i = 0; i < 20000; ++i) pace_.Passes("k" + std::to_string(i), Text("x"), now_);
  EXPECT_LE(pace_.TakeAll().size(), 4096U);
}

}  // namespace
}  // namespace sdkkit
