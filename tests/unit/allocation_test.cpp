// Every allocation fails in turn: the specified answer or a clean refusal, and nothing is left behind.
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "extension_lists.h"
#include "failing_allocator.h"
#include "http/handlers.h"
#include "scenarios.h"
#include "sdkapi/extension.h"
#include "server/lifecycle.h"
#include "server/options.h"
#include "session/token_index.h"

namespace {

using sdktest::Failing;
using sdktest::FailingAllocator;
using sdktest::JsonReply;
using sdktest::Scenario;
using sdktest::ScenarioTest;
using sdktest::Strings;
using sdktest::TestHost;

constexpr int kFarTooMany = 1000;

struct Outcome {
  int result = 0;
  std::string output;
  bool failed = false;
  std::size_t leaked = 0;
  Strings log;
};

class AllocationTest : public ScenarioTest, public testing::WithParamInterface<Scenario> {
 protected:
  static Outcome RunWith(const Scenario& scenario, int failAt, Failing failing) {
    mg_connection conn;
    StartScenario(scenario, conn);
    FailingAllocator allocator(failAt, failing);
    Outcome outcome;
    outcome.result = scenario.run(conn);
    allocator.Relent();
    outcome.failed = allocator.hasFailed();
    outcome.output = conn.output;
    outcome.log = Log();
    EndScenario();
    outcome.leaked = allocator.stillAllocated();
    return outcome;
  }

  static bool IsDownloadHead(const std::string& output) {
    return output ==
           "HTTP/1.1 200 OK\r\nContent-Disposition: attachment;filename=\"f.bin\"\r\n"
           "Content-Type: application/octet-stream\r\nTransfer-Encoding: chunked\r\n\r\n";
  }

  // Result and reply belong together; half a reply is none.
  static void ExpectClean(const Outcome& outcome, const Outcome& whole) {
    EXPECT_EQ(outcome.leaked, 0U);
    if (outcome.output.empty() && !whole.output.empty()) {
      EXPECT_EQ(outcome.result, 0);
      return;
    }
    const bool isRefusal = outcome.output == JsonReply(500) || outcome.output == JsonReply(401);
    EXPECT_TRUE(outcome.output == whole.output || isRefusal || IsDownloadHead(outcome.output))
        << outcome.output;
  }
};

TEST_P(AllocationTest, FailsInTurn) {
  const Outcome whole = RunWith(GetParam(), 0, Failing::kOnce);
  EXPECT_EQ(whole.leaked, 0U);
  for (const Failing failing : {Failing::kOnce, Failing::kFromThenOn}) {
    int failAt = 1;
    for (; failAt < kFarTooMany; ++failAt) {
      SCOPED_TRACE(failAt);
      const Outcome outcome = RunWith(GetParam(), failAt, failing);
      ExpectClean(outcome, whole);
      if (!outcome.failed) {
        EXPECT_EQ(outcome.output, whole.output);
        break;
      }
    }
    EXPECT_LT(failAt, kFarTooMany);
  }
}

INSTANTIATE_TEST_SUITE_P(Handlers, AllocationTest, testing::ValuesIn(sdktest::Scenarios()),
                         sdktest::ByName{});

const Scenario& Named(const char* name) {
  for (const Scenario& scenario : sdktest::Scenarios()) {
    if (std::strcmp(scenario.name, name) == 0) return scenario;
  }
  return sdktest::Scenarios().front();
}

class NamedAllocationTest : public AllocationTest {};

TEST_F(NamedAllocationTest, ALoginWithoutMemoryForItsTableIsAServerError) {
  const Outcome outcome = RunWith(Named("Login"), 1, Failing::kFromThenOn);
  EXPECT_EQ(outcome.result, 1);
  EXPECT_EQ(outcome.output, JsonReply(500));
}

TEST_F(NamedAllocationTest, ALoginThatCannotBeListedGivesNoReply) {
  bool seen = false;
  for (int failAt = 1; failAt < kFarTooMany; ++failAt) {
    const Outcome outcome = RunWith(Named("Login"), failAt, Failing::kOnce);
    if (!outcome.failed) break;
    if (outcome.result != 0) continue;
    seen = true;
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.log.back(), "4 sdkapi json api FunLogin add handle fail");
  }
  EXPECT_TRUE(seen);
}

TEST_F(NamedAllocationTest, APreviewWithoutMemoryIsNotAuthorised) {
  const Outcome outcome = RunWith(Named("Preview"), 1, Failing::kOnce);
  EXPECT_EQ(outcome.result, 1);
  EXPECT_EQ(outcome.output, JsonReply(401));
  EXPECT_EQ(outcome.log, (Strings{"4 sdkapi GetLoginHandle err!!!!", "1 sdkapi send =>" + JsonReply(401)}));
}

TEST_F(NamedAllocationTest, ACustomRequestWithoutMemoryForItsBodyIsAServerErrorAndNotServed) {
  const Outcome outcome = RunWith(Named("CustomGetPost"), 1, Failing::kOnce);
  EXPECT_EQ(outcome.output, JsonReply(500));
  EXPECT_EQ(TestHost::Get().Lines(), Strings{});
}

TEST_F(NamedAllocationTest, ADownloadThatCannotBeOpenedLeavesTheHeadAlone) {
  const Outcome outcome = RunWith(Named("DownloadLog"), 1, Failing::kOnce);
  EXPECT_TRUE(IsDownloadHead(outcome.output));
  EXPECT_EQ(outcome.log.back(), "4 sdkapidownload open file error");
}

// A certificate must not be taken over for the wrong port.
TEST_F(NamedAllocationTest, ACertificateWithoutMemoryForItsPortIsAServerErrorAndTheHostIsNotCalled) {
  const Outcome outcome = RunWith(Named("UploadCertificate"), 1, Failing::kOnce);
  ASSERT_TRUE(outcome.failed);
  EXPECT_EQ(outcome.output, JsonReply(500));
  EXPECT_EQ(TestHost::Get().Uploads().size(), 0U);
}

TEST_F(NamedAllocationTest, AWebSocketWithoutMemoryForItsEntryIsRefused) {
  for (const int failAt : {1, 2}) {
    mg_connection conn;
    StartScenario(Named("WebSocket"), conn);
    {
      FailingAllocator allocator(failAt, Failing::kOnce);
      EXPECT_EQ(WebSocketConnectHandler(&conn, nullptr), 1);
      EXPECT_EQ(allocator.stillAllocated(), 0U);
    }
    EXPECT_EQ(TestHost::Get().Lines(), Strings{}) << "no event for a refused connection";
    EndScenario();
  }
}

TEST_F(NamedAllocationTest, AMessageWithoutMemoryEndsItsConnection) {
  mg_connection conn;
  StartScenario(Named("GovernedWebSocket"), conn);
  ASSERT_EQ(WebSocketConnectHandler(&conn, nullptr), 0);
  WebSocketReadyHandler(&conn, nullptr);
  std::string part(1000, 'm');
  EXPECT_EQ(WebsocketDataHandler(&conn, 0x01, part.data(), part.size(), nullptr), 1);
  {
    FailingAllocator allocator(1, Failing::kOnce);
    EXPECT_EQ(WebsocketDataHandler(&conn, 0x00, part.data(), part.size(), nullptr), 0);
    EXPECT_TRUE(allocator.hasFailed());
  }
  WebSocketCloseHandler(&conn, nullptr);
  EndScenario();
}

TEST_F(NamedAllocationTest, AFrameThatCannotWaitIsRefused) {
  mg_connection conn;
  StartScenario(Named("GovernedWebSocket"), conn);
  TestHost::Get().webSocket = nullptr;
  ASSERT_EQ(WebSocketConnectHandler(&conn, nullptr), 0);
  const uint64_t id = sdktest::Sockets().front().id;
  {
    FailingAllocator allocator(1, Failing::kOnce);
    EXPECT_EQ(SdkAPIExt_WebSocket_Send(id, kExtText, "lost", 4), -1);
    EXPECT_EQ(SdkAPIExt_WebSocket_Send(id, kExtText, "kept", 4), 0);
  }
  WebSocketReadyHandler(&conn, nullptr);
  EXPECT_EQ(conn.Frames(), (std::vector<sdktest::WebSocketFrame>{{1, "kept"}}));
  WebSocketCloseHandler(&conn, nullptr);
  EndScenario();
}

TEST_F(NamedAllocationTest, AnOptionWithoutMemoryKeepsItsValue) {
  ASSERT_EQ(SdkAPIExt_Option_Set("num_threads", "7"), 0);
  sdktest::LogCapture::Clear();
  {
    FailingAllocator allocator(1, Failing::kOnce);
    EXPECT_EQ(SdkAPIExt_Option_Set("num_threads", "9"), -1);
    EXPECT_EQ(SdkAPIExt_Option_Set("static_file_max_age", nullptr), 0);
  }
  EXPECT_EQ(Log(), Strings{"4 sdkapiext SdkAPIExt_Option_Set: memory is short!!!!"});
  SdkAPISer_Init();
  EXPECT_STREQ(sdkapi::OptionValue("num_threads"), "7");
  EXPECT_EQ(SdkAPIExt_Option_Set("num_threads", nullptr), 0);
  SdkAPISer_Init();
}

// The device is out of memory, and this is when somebody needs to read why.
TEST_F(NamedAllocationTest, WhatTheServerSaysNeedsNoMemory) {
  static int messages;
  messages = 0;
  SdkAPIExt_ServerLog_Set([](const SdkAPIExtServerMessage*) { ++messages; });
  sdktest::Server().failStart = true;
  sdktest::Server().onStart = [] { sdkapi::log_message(nullptr, "cannot bind to 80"); };
  SdkAPISer_Init();
  const SdkAPISerHandle table = TestHost::Table();
  char reason[100];
  {
    FailingAllocator allocator(1, Failing::kFromThenOn);
    EXPECT_EQ(SdkAPISer_Start(&table), -1);
    EXPECT_EQ(SdkAPIExt_StartFailure_Get(reason, sizeof reason), 0);
  }
  EXPECT_STREQ(reason, "a port is taken, or this process may not listen on it: cannot bind to 80");
  EXPECT_EQ(messages, 1);
}

TEST_F(NamedAllocationTest, AListIsUnchangedWhenANodeCannotBeMade) {
  HandleManage head{};
  HandleManageInitHead(&head);
  int value = 0;
  {
    FailingAllocator allocator(1, Failing::kFromThenOn);
    EXPECT_EQ(HandleManageAddHandle(&head, &value), -1);
    EXPECT_EQ(HandleManageAddHandle1(&head, &value), -1);
  }
  EXPECT_EQ(HandleManageGetUsrCount(&head), 0);
  EXPECT_EQ(pthread_mutex_trylock(&head.mutex), 0);
  pthread_mutex_unlock(&head.mutex);
}

TEST_F(NamedAllocationTest, AnIndexThatCannotGrowStillFindsEveryToken) {
  sdkapi::TokenIndex index;
  std::vector<std::string> tokens;
  for (int i = 0; i < 200; ++i) tokens.push_back("token " + std::to_string(i));
  std::vector<sdkapi::TokenEntry> entries(tokens.size());
  FailingAllocator allocator(1, Failing::kFromThenOn);
  for (std::size_t i = 0; i < tokens.size(); ++i) index.Add(entries[i], tokens[i].c_str());
  EXPECT_TRUE(allocator.hasFailed());
  for (std::size_t i = 0; i < tokens.size(); ++i) EXPECT_EQ(index.Find(tokens[i].c_str()), &entries[i]);
  allocator.Relent();
  for (std::size_t i = 0; i < tokens.size(); ++i) index.Remove(entries[i]);
  EXPECT_EQ(allocator.stillAllocated(), 0U);
}

TEST_F(NamedAllocationTest, AnIndexGrowsWhenItsEntriesHaveDoubled) {
  sdkapi::TokenIndex index;
  std::vector<std::string> tokens;
  for (int i = 0; i < 257; ++i) tokens.push_back("token " + std::to_string(i));
  std::vector<sdkapi::TokenEntry> entries(tokens.size());
  FailingAllocator allocator(0, Failing::kOnce);
  std::vector<std::size_t> grownAt;
  for (std::size_t i = 0; i < tokens.size(); ++i) {
    const int before = allocator.calls();
    index.Add(entries[i], tokens[i].c_str());
    if (allocator.calls() != before) grownAt.push_back(i + 1);
  }
  EXPECT_EQ(grownAt, (std::vector<std::size_t>{33, 65, 129, 257}));
  for (std::size_t i = 0; i < tokens.size(); ++i) index.Remove(entries[i]);
  EXPECT_EQ(allocator.stillAllocated(), 0U) << "an index that is empty again is as small as at first";
}

TEST_F(NamedAllocationTest, TheVersionStaysWithoutMemory) {
  const std::string before = SdkAPiSer_Version_Get();
  for (int failAt = 1; failAt < 10; ++failAt) {
    FailingAllocator allocator(failAt, Failing::kFromThenOn);
    EXPECT_EQ(SdkAPiSer_Version_Get(), before);
    EXPECT_EQ(allocator.stillAllocated(), 0U);
  }
}

TEST_F(NamedAllocationTest, StartAndStopLeakNothing) {
  FailingAllocator allocator(0, Failing::kOnce);
  const SdkAPISerHandle table = TestHost::Table();
  SdkAPISer_Init();
  for (int round = 0; round < 3; ++round) {
    EXPECT_EQ(SdkAPISer_Start(&table), 0);
    SdkAPISer_Stop(nullptr);
  }
  EXPECT_EQ(allocator.stillAllocated(), 0U);
}

}  // namespace
