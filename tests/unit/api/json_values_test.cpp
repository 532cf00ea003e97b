// The readers of JSON members.
#include <cjson/cJSON.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "library_fixture.h"
#include "sdkapi/values.h"

namespace {

class JsonValuesTest : public testing::Test {
 protected:
  std::unique_ptr<cJSON, decltype(&cJSON_Delete)> object_{
      cJSON_Parse(R"({"text":"hello","token":"t","empty":"","number":5,"zero":0,"real":2.75,"digits":"12",
                      "yes":true,"no":false,"nothing":null,"list":["a"],"object":{"text":"inner"}})"),
      cJSON_Delete};
};

struct StringCase {
  const char* name;
  const char* member;
  int result;
  const char* text;
};
class StringMemberTest : public JsonValuesTest, public testing::WithParamInterface<StringCase> {};

TEST_P(StringMemberTest, IsCopiedOrLeavesTheBufferUntouched) {
  char room[16] = "before";
  EXPECT_EQ(cJSON_GetObjectItemValueString(object_.get(), GetParam().member, room, sizeof room),
            GetParam().result);
  EXPECT_STREQ(room, GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Members, StringMemberTest,
    testing::Values(StringCase{"Text", "text", 0, "hello"}, StringCase{"OtherCase", "Token", 0, "t"},
                    StringCase{"Empty", "empty", 0, ""}, StringCase{"Number", "number", -1, "before"},
                    StringCase{"Bool", "yes", -1, "before"}, StringCase{"Null", "nothing", -1, "before"},
                    StringCase{"Array", "list", -1, "before"}, StringCase{"Object", "object", -1, "before"},
                    StringCase{"Missing", "absent", -1, "before"},
                    StringCase{"NullName", nullptr, -1, "before"}),
    sdktest::ByName{});

TEST_F(JsonValuesTest, ALongTextIsCutToTheBuffer) {
  const std::string text(300, 'x');
  const std::unique_ptr<cJSON, decltype(&cJSON_Delete)> object(
      cJSON_Parse(("{\"a\":\"" + text + "\"}").c_str()), cJSON_Delete);
  char room[130];
  std::fill(std::begin(room), std::end(room), '#');
  EXPECT_EQ(cJSON_GetObjectItemValueString(object.get(), "a", room, 128), 0);
  EXPECT_EQ(std::string(room), std::string(127, 'x'));
  EXPECT_EQ(room[128], '#');
  EXPECT_EQ(cJSON_GetObjectItemValueString(object.get(), "a", room, 1), 0);
  EXPECT_STREQ(room, "");
}

TEST_F(JsonValuesTest, ImpossibleBuffersAreRefused) {
  char room[8] = "before";
  EXPECT_EQ(cJSON_GetObjectItemValueString(object_.get(), "text", room, 0), -1);
  EXPECT_EQ(cJSON_GetObjectItemValueString(object_.get(), "text", room, -5), -1);
  EXPECT_EQ(cJSON_GetObjectItemValueString(object_.get(), "text", nullptr, 8), -1);
  EXPECT_STREQ(room, "before");
}

struct NumberCase {
  const char* name;
  const char* member;
  int integer;
  double real;
};
class NumberMemberTest : public JsonValuesTest, public testing::WithParamInterface<NumberCase> {};

TEST_P(NumberMemberTest, WhatIsNoNumberReadsAsZero) {
  EXPECT_EQ(cJSON_GetObjectItemValueInt(object_.get(), GetParam().member), GetParam().integer);
  EXPECT_EQ(cJSON_GetObjectItemValueDouble(object_.get(), GetParam().member), GetParam().real);
}

INSTANTIATE_TEST_SUITE_P(
    Members, NumberMemberTest,
    testing::Values(NumberCase{"Number", "number", 5, 5.0}, NumberCase{"OtherCase", "NUMBER", 5, 5.0},
                    NumberCase{"Zero", "zero", 0, 0.0}, NumberCase{"Real", "real", 2, 2.75},
                    NumberCase{"Digits", "digits", 0, 0.0}, NumberCase{"False", "no", 0, 0.0},
                    NumberCase{"True", "yes", 0, 0.0}, NumberCase{"List", "list", 0, 0.0},
                    NumberCase{"Object", "object", 0, 0.0}, NumberCase{"Null", "nothing", 0, 0.0},
                    NumberCase{"Missing", "absent", 0, 0.0}, NumberCase{"NullName", nullptr, 0, 0.0}),
    sdktest::ByName{});

TEST(JsonValues, WithoutAnObjectThereIsNoMember) {
  char room[8] = "before";
  EXPECT_EQ(cJSON_GetObjectItemValueString(nullptr, "a", room, sizeof room), -1);
  EXPECT_STREQ(room, "before");
  EXPECT_EQ(cJSON_GetObjectItemValueInt(nullptr, "a"), 0);
  EXPECT_EQ(cJSON_GetObjectItemValueDouble(nullptr, "a"), 0.0);
}

}  // namespace
