// JSON from outside: what is within the bounds becomes a tree, everything else a reason.
#include "base/json.h"

#include <gtest/gtest.h>

#include <string>

namespace sdkkit {
namespace {

std::string Nested(std::size_t depth, const char* open, const char* close) {
  std::string text;
  for (std::size_t i = 0; i < depth; ++i) text += open;
  text += "1";
  for (std::size_t i = 0; i < depth; ++i) text += close;
  return text;
}

TEST(JsonTest, WhatIsWithinTheBoundsBecomesATree) {
  for (const char* text : {"null", "-1", "1e3", "\"\\u00e9\"", "[]", R"({"a":[1,{"b":true}]})"}) {
    std::string why;
    const auto value = ParseJson(text, {}, &why);
    ASSERT_TRUE(value) << text << ": " << why;
    EXPECT_EQ(*value, nlohmann::json::parse(text));
  }
}

TEST(JsonTest, WhatIsNoJsonIsRefusedWithItsPlace) {
  EXPECT_EQ(JsonFault(""), "no JSON at byte 1");
  EXPECT_EQ(JsonFault("[1,]"), "no JSON at byte 4");
  EXPECT_EQ(JsonFault("{} {}"), "no JSON at byte 4");
  EXPECT_EQ(JsonFault("\"\xff\""), "no JSON at byte 2");
  EXPECT_EQ(JsonFault("1e999"), "no JSON at byte 5");
  EXPECT_FALSE(ParseJson("[1,]"));
}

TEST(JsonTest, DepthIsBounded) {
  for (const auto& [open, close] : {std::pair{"[", "]"}, std::pair{"{\"a\":", "}"}}) {
    EXPECT_EQ(JsonFault(Nested(32, open, close)), "");
    EXPECT_EQ(JsonFault(Nested(33, open, close)), "more than 32 levels deep");
    EXPECT_EQ(JsonFault(Nested(200000, open, close), {.bytes = 10000000}), "more than 32 levels deep");
  }
}

TEST(JsonTest, NeighboursDoNotCountAsDepth) {
  std::string text = "[";
  for (int i = 0; i < 1000; ++i) text += "[[]],{},";
  EXPECT_EQ(JsonFault(text + "1]", {.depth = 3}), "");
}

TEST(JsonTest, LengthIsBounded) {
  EXPECT_EQ(JsonFault("[1,2]", {.bytes = 5}), "");
  std::string why;
  EXPECT_FALSE(ParseJson("[1,2]", {.bytes = 4}, &why));
  EXPECT_EQ(why, "more than 4 bytes");
}

TEST(JsonTest, TextThatIsNoUtf8IsWrittenAllTheSame) { EXPECT_EQ(ToText("a\xff"), "\"a\xEF\xBF\xBD\""); }

}  // namespace
}  // namespace sdkkit
