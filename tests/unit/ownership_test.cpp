// Blocks in the records that the host is lent: taken by the host, replaced or left there, each is freed once.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "failing_allocator.h"
#include "http/handlers.h"
#include "scenarios.h"

namespace {

using sdktest::Failing;
using sdktest::FailingAllocator;
using sdktest::JsonReply;
using sdktest::Scenario;
using sdktest::ScenarioTest;
using sdktest::TestHost;
using sdktest::UploadStep;

// A text, as the test host reads it.
char* NewBlock() { return static_cast<char*>(std::calloc(64, 1)); }

// What a host does with the pointer in its record.
struct Habit {
  const char* name;
  void (*act)(char*& pointer);
};

char* taken = nullptr;

const Habit kHabits[] = {
    {"leaves it", [](char*&) {}},
    {"frees it", [](char*& pointer) { std::free(std::exchange(pointer, nullptr)); }},
    {"takes it along", [](char*& pointer) { taken = std::exchange(pointer, nullptr); }},
    {"replaces it", [](char*& pointer) { std::free(std::exchange(pointer, NewBlock())); }},
};

class OwnershipTest : public ScenarioTest, public testing::WithParamInterface<Scenario> {
 protected:
  // The number of blocks that are left when all is over.
  static std::size_t Leaked(mg_connection& conn) {
    FailingAllocator allocator(0, Failing::kOnce);
    EXPECT_EQ(GetParam().run(conn), 1);
    std::free(std::exchange(taken, nullptr));
    EndScenario();
    return allocator.stillAllocated();
  }
};

class UploadOwnershipTest : public OwnershipTest {};

TEST_P(UploadOwnershipTest, WhateverStandsInExtraAtTheEndIsReleasedOnce) {
  for (const Habit& habit : kHabits) {
    for (const char* const at : {"found file", "piece 3 more", "final"}) {
      for (const auto& [result, status] : {std::pair{0, 200}, {-1, 500}, {-2, 401}}) {
        SCOPED_TRACE(std::string(habit.name) + at + " " + std::to_string(result));
        mg_connection conn;
        StartScenario(GetParam(), conn);
        const auto answer = [&, result = result](const UploadStep& step, auto& ctx) {
          if (!step.Describe().starts_with(at)) return 0;
          habit.act(ctx.extra);
          return result;
        };
        TestHost::Get().upload = answer;
        TestHost::Get().customUpload = answer;
        EXPECT_EQ(Leaked(conn), 0U);
        const bool inFinalCall = std::strcmp(at, "final") == 0;
        const bool invalidFile = result == -1 && !inFinalCall && conn.uri->ends_with("802_1x_setting");
        EXPECT_EQ(conn.output, invalidFile ? JsonReply(406, R"({"result":"Invalid File"})")
                                           : JsonReply(inFinalCall && result != 0 ? 500 : status));
      }
    }
  }
}

class BodyOwnershipTest : public OwnershipTest {};

TEST_P(BodyOwnershipTest, WhateverStandsInTheBodyAtTheEndIsReleasedOnce) {
  for (const Habit& habit : kHabits) {
    for (const char* const text : {"body", ""}) {
      for (const int result : {0, -1, -2}) {
        SCOPED_TRACE(std::string(habit.name) + " " + text + " " + std::to_string(result));
        mg_connection conn;
        StartScenario(GetParam(), conn);
        conn.Body(text);
        TestHost::Get().customGetPost = [&, result](mg_connection*, CustomReqInfo& request) {
          EXPECT_EQ(request.body != nullptr, text[0] != '\0');
          habit.act(request.body);
          return result;
        };
        EXPECT_EQ(Leaked(conn), 0U);
        EXPECT_EQ(conn.output, "");
      }
    }
  }
}

std::vector<Scenario> Named(const std::vector<std::string>& names) {
  std::vector<Scenario> rows;
  for (const Scenario& scenario : sdktest::Scenarios()) {
    if (std::find(names.begin(), names.end(), scenario.name) != names.end()) rows.push_back(scenario);
  }
  return rows;
}

INSTANTIATE_TEST_SUITE_P(Uploads, UploadOwnershipTest,
                         testing::ValuesIn(Named({"UploadImage", "UploadText", "UploadArchive",
                                                  "UploadCertificate", "Upgrade", "CustomUpload"})),
                         sdktest::ByName{});
INSTANTIATE_TEST_SUITE_P(Requests, BodyOwnershipTest, testing::ValuesIn(Named({"CustomGetPost"})),
                         sdktest::ByName{});

}  // namespace
