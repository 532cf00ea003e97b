// The limits that a host sets: what is taken, what is refused, and which bound refuses which stream.
#include <array>
#include <memory>
#include <vector>

#include "http/handlers.h"
#include "http/stream_room.h"
#include "library_fixture.h"
#include "own_civetweb.h"
#include "sdkapi/extension.h"

namespace {

using sdkapi::Stream;
using sdktest::JsonReply;
using sdktest::Strings;
using sdktest::TestHost;

SdkAPIExtLimits Limits() {
  SdkAPIExtLimits limits{};
  limits.size = sizeof limits;
  return limits;
}

class LimitsTest : public sdktest::LibraryTest {};

TEST_F(LimitsTest, WhatTheWebServerBoundsIsHandedToIt) {
  SdkAPIExtLimits limits = Limits();
  limits.mostConnectionsPerAddress = 7;
  EXPECT_EQ(SdkAPIExt_Limits_Set(&limits), 0);
  EXPECT_EQ(sdktest::Bounds().ofOneAddress, 7U);
  EXPECT_EQ(SdkAPIExt_Limits_Set(nullptr), 0);
  EXPECT_EQ(sdktest::Bounds().ofOneAddress, 0U);
}

TEST_F(LimitsTest, ABadRecordIsRefusedAndChangesNothing) {
  struct Row {
    const char* fault;
    void (*spoil)(SdkAPIExtLimits& limits);
  };
  SdkAPIExtLimits good = Limits();
  good.mostConnectionsPerAddress = 7;
  ASSERT_EQ(SdkAPIExt_Limits_Set(&good), 0);
  for (const Row& row : {
           Row{"size unknown", [](SdkAPIExtLimits& limits) { limits.size = 0; }},
           Row{"size unknown", [](SdkAPIExtLimits& limits) { limits.size = sizeof limits - 8; }},
           Row{"size unknown", [](SdkAPIExtLimits& limits) { limits.size = sizeof limits + 8; }},
           Row{"reserved is not 0", [](SdkAPIExtLimits& limits) { limits.reserved = 1; }},
           Row{"more than 2 GiB", [](SdkAPIExtLimits& limits) { limits.mostCustomBodyBytes = 0x80000000; }},
       }) {
    SdkAPIExtLimits bad = Limits();
    row.spoil(bad);
    EXPECT_EQ(SdkAPIExt_Limits_Set(&bad), -1);
    EXPECT_EQ(Log(), Strings{"4 sdkapiext SdkAPIExt_Limits_Set: " + std::string(row.fault) + "!!!!"});
    EXPECT_EQ(sdktest::Bounds().ofOneAddress, 7U);
    sdktest::LogCapture::Clear();
  }
}

// How many of these streams, opened in turn, get a place.
int Granted(const SdkAPIExtLimits& limits, const std::vector<Stream>& streams) {
  EXPECT_EQ(SdkAPIExt_Limits_Set(&limits), 0);
  const mg_connection conn;
  std::vector<std::unique_ptr<sdkapi::StreamPlace>> places;
  int granted = 0;
  for (const Stream stream : streams) {
    places.push_back(std::make_unique<sdkapi::StreamPlace>(&conn, stream));
    granted += places.back()->granted() ? 1 : 0;
    EXPECT_EQ(places.back()->limited(), !places.back()->granted());
  }
  return granted;
}

TEST_F(LimitsTest, EachKindHasItsOwnRoomAndBothHaveOneTogether) {
  const std::vector<Stream> streams{Stream::kPreview,   Stream::kPreview,   Stream::kPreview,
                                    Stream::kWebSocket, Stream::kWebSocket, Stream::kWebSocket};
  struct Row {
    uint32_t previews, webSockets, streams;
    int granted;
  };
  for (const Row& row : {Row{0, 0, 0, 6}, Row{3, 3, 6, 6}, Row{1, 0, 0, 4}, Row{0, 2, 0, 5}, Row{0, 0, 4, 4},
                         Row{1, 1, 0, 2}, Row{2, 2, 3, 3}, Row{1, 0, 3, 3}, Row{1, 1, 1, 1}}) {
    SdkAPIExtLimits limits = Limits();
    limits.mostPreviews = row.previews;
    limits.mostWebSockets = row.webSockets;
    limits.mostStreams = row.streams;
    EXPECT_EQ(Granted(limits, streams), row.granted)
        << row.previews << ' ' << row.webSockets << ' ' << row.streams;
  }
}

TEST_F(LimitsTest, APlaceThatIsGivenBackCanBeTakenAgain) {
  SdkAPIExtLimits limits = Limits();
  limits.mostPreviews = 1;
  for (int i = 0; i < 3; ++i) EXPECT_EQ(Granted(limits, {Stream::kPreview}), 1);
}

// The last workers stay the requests', whatever the host allows.
TEST_F(LimitsTest, TheWorkersBoundHoldsBesideThem) {
  sdktest::Server().workers = "2";
  SdkAPIExtLimits limits = Limits();
  limits.mostStreams = 100;
  ASSERT_EQ(SdkAPIExt_Limits_Set(&limits), 0);
  const mg_connection conn;
  const sdkapi::StreamPlace first(&conn, Stream::kPreview);
  const sdkapi::StreamPlace second(&conn, Stream::kPreview);
  EXPECT_TRUE(first.granted());
  EXPECT_FALSE(second.granted());
  EXPECT_FALSE(second.limited());
}

// The answer may wait for its client, and with it the rest of the handshake's body.
TEST_F(LimitsTest, ARefusedHandshakeIsAnsweredWithoutTheServersLock) {
  SdkAPIExtLimits limits = Limits();
  limits.mostWebSockets = 1;
  ASSERT_EQ(SdkAPIExt_Limits_Set(&limits), 0);
  const mg_connection other;
  const sdkapi::StreamPlace place(&other, Stream::kWebSocket);
  mg_connection conn("GET", "/websocket");
  conn.Header("Sec-WebSocket-Protocol", "tok");
  int depth = -1;
  conn.whileReading = [&depth] { depth = sdktest::Server().context.depth; };
  EXPECT_NE(WebSocketConnectHandler(&conn, nullptr), 0);
  EXPECT_EQ(conn.output, JsonReply(503));
  EXPECT_EQ(depth, 0);
  EXPECT_EQ(TestHost::Get().Lines(), Strings{});
  EXPECT_EQ(Log(), (Strings{"1 sdkapi token = tok and g_NoLogin = [1]",
                            "4 sdkapi no room for another stream!!!!", "1 sdkapi send =>" + JsonReply(503)}));
}

class BodyLimitTest : public LimitsTest {
 protected:
  void SetUp() override {
    LimitsTest::SetUp();
    SdkAPIExtLimits limits = Limits();
    limits.mostCustomBodyBytes = 5;
    ASSERT_EQ(SdkAPIExt_Limits_Set(&limits), 0);
    sdktest::LogCapture::Clear();
  }
  int Serve() { return FuncCustomGetPost(&conn_, reinterpret_cast<void*>(TestHost::CustomGetPost)); }

  mg_connection conn_{"POST", "/own"};
};

TEST_F(BodyLimitTest, ABodyThatFitsReachesTheHost) {
  conn_.Body("01234");
  EXPECT_EQ(Serve(), 1);
  EXPECT_EQ(TestHost::Get().Lines(), Strings{"CustomGetPost(body, 5, 1)"});
  EXPECT_EQ(conn_.bodyLimit, 0) << "what follows is read away without it";
}

TEST_F(BodyLimitTest, AnAnnouncedOneThatDoesNotIsRefusedBeforeAnythingOfIt) {
  for (const long long length : {6LL, 0x7FFFFFFFLL, 0x100000001LL}) {
    mg_connection conn("POST", "/own");
    conn.Body("012345");
    conn.contentLength = length;
    EXPECT_EQ(FuncCustomGetPost(&conn, reinterpret_cast<void*>(TestHost::CustomGetPost)), 1);
    EXPECT_EQ(conn.output, JsonReply(413)) << length;
    EXPECT_EQ(conn.bodyLimit, 0);
    EXPECT_FALSE(conn.keepAlive);
    EXPECT_EQ(Log(), (Strings{"4 sdkapicustom body is larger than allowed!!!!",
                              "1 sdkapi send =>" + JsonReply(413)}));
    sdktest::LogCapture::Clear();
  }
  EXPECT_EQ(TestHost::Get().Lines(), Strings{});
}

TEST_F(BodyLimitTest, OfAnUnknownLengthTheHostsFunctionComesFirst) {
  struct Row {
    int result;
    bool sends;
    std::string answer;
  };
  for (const Row& row : {Row{0, false, JsonReply(413)}, Row{-1, false, JsonReply(413)}, Row{-2, false, ""},
                         Row{0, true, "mine"}, Row{-1, true, "mine"}}) {
    TestHost::Get().customGetPost = [&row](mg_connection* conn, CustomReqInfo&) {
      EXPECT_EQ(conn->bodyLimit, 5);
      if (row.sends) mg_write(conn, "mine", 4);
      return row.result;
    };
    mg_connection conn("POST", "/own");
    conn.ChunkedBody("0123456");
    conn.bodyLimitPassed = true;
    EXPECT_EQ(FuncCustomGetPost(&conn, reinterpret_cast<void*>(TestHost::CustomGetPost)), 1);
    EXPECT_EQ(conn.output, row.answer) << row.result << row.sends;
    EXPECT_EQ(conn.bodyLimit, 0);
  }
}

TEST_F(BodyLimitTest, AStrangerLearnsOfNoLimit) {
  RequireLogin();
  conn_.Body("0123456");
  EXPECT_EQ(Serve(), 1);
  EXPECT_EQ(conn_.output, JsonReply(401));
}

}  // namespace
