// What the library counts for the host: each occasion raises its own number by one, and no other.
#include <cstring>
#include <memory>

#include "base/text.h"
#include "download_file.h"
#include "http/handlers.h"
#include "http/stream_room.h"
#include "library_fixture.h"
#include "monotonic_clock.h"
#include "own_civetweb.h"
#include "sdkapi/custom.h"
#include "sdkapi/extension.h"
#include "sdkapi/transfer.h"

namespace {

using sdktest::Strings;
using sdktest::TestHost;
using Statistics = SdkAPIExtStatistics;
using Number = uint64_t Statistics::*;

Statistics Now() {
  Statistics now{};
  now.size = sizeof now;
  EXPECT_EQ(SdkAPIExt_Statistics_Get(&now), 0);
  return now;
}

// What is counted since the process began; the numbers of a web server are none of the library's.
struct Counted {
  const char* name;
  Number number;
};
constexpr Counted kCounted[] = {
    {"uploads", &Statistics::uploads},
    {"failedUploads", &Statistics::failedUploads},
    {"downloads", &Statistics::downloads},
    {"failedDownloads", &Statistics::failedDownloads},
    {"grantedLogins", &Statistics::grantedLogins},
    {"deniedLogins", &Statistics::deniedLogins},
    {"droppedFrames", &Statistics::droppedFrames},
    {"refusedPreviews", &Statistics::refusedPreviews},
    {"refusedWebSockets", &Statistics::refusedWebSockets},
    {"refusedStreams", &Statistics::refusedStreams},
    {"refusedForWorkers", &Statistics::refusedForWorkers},
    {"refusedBodies", &Statistics::refusedBodies},
    {"refusedUploads", &Statistics::refusedUploads},
    {"refusedLogins", &Statistics::refusedLogins},
    {"refusedMessages", &Statistics::refusedMessages},
};

// The names of the numbers that rose since then, once for each step.
Strings Risen(const Statistics& before) {
  const Statistics after = Now();
  Strings risen;
  for (const auto& [name, number] : kCounted) risen.insert(risen.end(), after.*number - before.*number, name);
  return risen;
}

class StatisticsTest : public sdktest::LibraryTest {
 protected:
  ~StatisticsTest() override { sdktest::MonotonicClock() = 0; }

  static void Upload(int hostResult) {
    TestHost::Get().upload = [hostResult](const sdktest::UploadStep&, UploadFileCtx&) { return hostResult; };
    mg_connection conn("POST", "/upload/logo");
    conn.Token("tok").Multipart({{sdktest::FormField{"file", "a.png", {{"abc"}}}}});
    FuncUploadImageFile(&conn, nullptr);
  }
  static void LogInWith(uint32_t code, const char* token) {
    TestHost::Get().login = [code, token](LoginInfo& info) {
      info.code = code;
      sdkapi::CopyText(info.token, token);
      return 0;
    };
    mg_connection conn("POST", "/api/v1/auth/login");
    FuncLogin(&conn, nullptr);
  }

  const Statistics before_ = Now();
};

TEST_F(StatisticsTest, UploadsByTheirAnswer) {
  Upload(0);
  EXPECT_EQ(Risen(before_), Strings{"uploads"});
  Upload(-1);
  EXPECT_EQ(Risen(before_), (Strings{"uploads", "failedUploads"}));
}

TEST_F(StatisticsTest, AnUploadThatIsTooLarge) {
  ASSERT_EQ(SdkAPIExt_Upload_Limit_Set(kExtUploadImage, 1), 0);
  mg_connection conn("POST", "/upload/logo");
  conn.Token("tok").Multipart({{sdktest::FormField{"file", "a.png", {{"abc"}}}}});
  conn.contentLength = 2;
  FuncUploadImageFile(&conn, nullptr);
  EXPECT_EQ(conn.output, sdktest::JsonReply(413));
  EXPECT_EQ(Risen(before_), (Strings{"failedUploads", "refusedUploads"}));
}

TEST_F(StatisticsTest, AnUploadWithoutALoginIsNoUpload) {
  RequireLogin();
  Upload(0);
  EXPECT_EQ(Risen(before_), Strings{});
}

TEST_F(StatisticsTest, DownloadsByTheirEnd) {
  const sdktest::DownloadFile file;
  file.Fill(10);
  mg_connection conn;
  EXPECT_EQ(SendHttpDownLoadFile(&conn, file.path().c_str(), "a"), 0);
  EXPECT_EQ(Risen(before_), Strings{"downloads"});
  EXPECT_EQ(SendHttpDownLoadFile_S(&conn, "/nonexistent", "a"), -1);
  EXPECT_EQ(Risen(before_), (Strings{"downloads", "failedDownloads"}));
}

TEST_F(StatisticsTest, LoginsByTheHostsAnswer) {
  LogInWith(0, "one");
  EXPECT_EQ(Risen(before_), Strings{"grantedLogins"});
  EXPECT_EQ(Now().logins, 1U);
  LogInWith(1, "");
  LogInWith(2, "");
  EXPECT_EQ(Risen(before_), (Strings{"grantedLogins", "deniedLogins", "deniedLogins"}));
  LogInWith(3, "");  // the web server answers it
  EXPECT_EQ(Risen(before_).size(), 3U);
}

TEST_F(StatisticsTest, ALoginBeyondTheMost) {
  SdkAPIExtLoginLimits limits{};
  limits.size = sizeof limits;
  limits.most = 1;
  limits.whenFull = kExtFullRefuses;
  ASSERT_EQ(SdkAPIExt_Login_Limits_Set(&limits), 0);
  LogInWith(0, "one");
  LogInWith(0, "two");
  EXPECT_EQ(Risen(before_), (Strings{"grantedLogins", "refusedLogins"}));
  EXPECT_EQ(Now().logins, 1U);
}

TEST_F(StatisticsTest, AFrameThatIsLostInAHandshakeAndAMessageThatIsTooLong) {
  const SdkAPIExtWebSocketLimits limits{sizeof limits, 1, 0, 4};
  ASSERT_EQ(SdkAPIExt_WebSocket_Limits_Set(&limits), 0);
  mg_connection conn("GET", "/websocket");
  conn.Header("Sec-WebSocket-Protocol", "tok");
  ASSERT_EQ(WebSocketConnectHandler(&conn, nullptr), 0);
  EXPECT_EQ(Now().webSockets, before_.webSockets + 1);
  for (int i = 0; i < 3; ++i) WebSocketSendData("tok", "text", 4);
  EXPECT_EQ(Risen(before_), Strings{"droppedFrames"});
  WebSocketReadyHandler(&conn, nullptr);
  char text[] = "12345";
  WebsocketDataHandler(&conn, 0x81, text, 5, nullptr);
  EXPECT_EQ(Risen(before_), (Strings{"droppedFrames", "refusedMessages"}));
  WebSocketCloseHandler(&conn, nullptr);
  EXPECT_EQ(Now().webSockets, before_.webSockets);
}

TEST_F(StatisticsTest, AStreamForWhichThereIsNoWorker) {
  sdktest::Server().workers = "1";
  const mg_connection conn;
  const auto preview = std::make_unique<sdkapi::StreamPlace>(&conn, sdkapi::Stream::kPreview);
  EXPECT_EQ(Now().previews, before_.previews + 1);
  { const sdkapi::StreamPlace another(&conn, sdkapi::Stream::kWebSocket); }
  EXPECT_EQ(Risen(before_), Strings{"refusedForWorkers"});
  EXPECT_EQ(Now().webSockets, before_.webSockets);
}

TEST_F(StatisticsTest, TheUptimeIsThatOfTheServerWhichRuns) {
  EXPECT_EQ(Now().uptimeSeconds, 0U);
  sdktest::MonotonicClock() = 1000;
  SdkAPISer_Init();
  const SdkAPISerHandle table = TestHost::Table();
  ASSERT_EQ(SdkAPISer_Start(&table), 0);
  sdktest::MonotonicClock() += 7000;
  EXPECT_EQ(Now().uptimeSeconds, 7U);
  EXPECT_EQ(SdkAPISer_Stop(nullptr), 0);
  EXPECT_EQ(Now().uptimeSeconds, 0U);
}

TEST_F(StatisticsTest, WhatTheServerCountsIsHandedOn) {
  sdktest::Figures().traffic = {1, 2, 3, {4, 5, 6, 7, 8, 9}, 10, 11, 12, 13};
  const Statistics now = Now();
  EXPECT_EQ(now.complete, 1);
  EXPECT_EQ(now.acceptedConnections, 1U);
  EXPECT_EQ(now.refusedConnections, 2U);
  EXPECT_EQ(now.displacedConnections, 3U);
  for (uint64_t i = 0; i < 6; ++i) EXPECT_EQ(now.requests[i], 4 + i);
  EXPECT_EQ(now.bytesIn, 10U);
  EXPECT_EQ(now.bytesOut, 11U);
  EXPECT_EQ(now.overrunWebSockets, 12U);
  EXPECT_EQ(now.refusedMessages, before_.refusedMessages + 13) << "longer frames and longer messages";
  sdktest::Figures() = {};
}

TEST_F(StatisticsTest, TheLoadIsThatOfTheServerWhichRuns) {
  sdktest::Figures().load = {200, 5, 17};
  EXPECT_EQ(Now().workers, 0U) << "none runs";
  SdkAPISer_Init();
  const SdkAPISerHandle table = TestHost::Table();
  ASSERT_EQ(SdkAPISer_Start(&table), 0);
  const Statistics now = Now();
  EXPECT_EQ(now.workers, 200U);
  EXPECT_EQ(now.busyWorkers, 5U);
  EXPECT_EQ(now.connections, 17U);
  EXPECT_EQ(now.idleConnections, 12U);
  sdktest::Figures().load = {200, 5, 4};
  EXPECT_EQ(Now().idleConnections, 0U) << "one is just being closed";
  EXPECT_EQ(SdkAPISer_Stop(nullptr), 0);
  EXPECT_EQ(Now().connections, 0U);
  sdktest::Figures() = {};
}

TEST_F(StatisticsTest, ARecordWithoutAKnownSizeIsRefused) {
  EXPECT_EQ(SdkAPIExt_Statistics_Get(nullptr), -1);
  Statistics statistics{};
  statistics.uploads = 4711;
  for (const uint32_t size : {0U, 8U, static_cast<uint32_t>(sizeof statistics) + 8U}) {
    statistics.size = size;
    EXPECT_EQ(SdkAPIExt_Statistics_Get(&statistics), -1) << size;
    EXPECT_EQ(statistics.uploads, 4711U);
  }
  EXPECT_EQ(Log(), Strings(4, "4 sdkapiext SdkAPIExt_Statistics_Get: no record, or its size is unknown!!!!"));
}

}  // namespace
