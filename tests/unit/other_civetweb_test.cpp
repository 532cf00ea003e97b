// A host that governs its server beside a web server without what only our build of it has.
#include <vector>

#include "http/handlers.h"
#include "library_fixture.h"
#include "sdkapi/extension.h"
#include "server/lifecycle.h"

namespace {

using sdktest::JsonReply;
using sdktest::Server;
using sdktest::Strings;
using sdktest::TestHost;
using sdktest::WebSocketFrame;
using Frames = std::vector<WebSocketFrame>;

class OtherCivetwebTest : public sdktest::LibraryTest {
 protected:
  OtherCivetwebTest() {
    conn_.Header("Sec-WebSocket-Protocol", "tok");
    conn_.info.remote_port = 4711;
  }
  ~OtherCivetwebTest() override { WebSocketCloseHandler(&conn_, nullptr); }

  void Open() {
    ASSERT_EQ(WebSocketConnectHandler(&conn_, nullptr), 0);
    WebSocketReadyHandler(&conn_, nullptr);
  }
  static SdkAPIExtWebSocket Listed() {
    SdkAPIExtWebSocket socket{};
    socket.size = sizeof socket;
    size_t count = 1;
    EXPECT_EQ(SdkAPIExt_WebSocket_List(&socket, &count), 0);
    EXPECT_EQ(count, 1U);
    return socket;
  }
  int Receive(int flags, std::string data) {
    return WebsocketDataHandler(&conn_, flags, data.data(), data.size(), nullptr);
  }

  mg_connection conn_{"GET", "/websocket"};
};

// Nothing bounds the wait for the client's answer; whatever comes from it ends the connection.
TEST_F(OtherCivetwebTest, ACloseFrameIsSentAndTheClientsNextFrameEndsTheConnection) {
  Open();
  EXPECT_EQ(Receive(0x81, "text"), 1);
  EXPECT_EQ(SdkAPIExt_WebSocket_Close(Listed().id, 1001, "bye"), 0);
  EXPECT_EQ(conn_.Frames(), (Frames{{8,
                                     "\x03\xe9"
                                     "bye"}}));
  EXPECT_EQ(SdkAPIExt_WebSocket_Send(Listed().id, kExtText, "late", 4), -1);
  EXPECT_EQ(Receive(0x81, "text"), 0);
}

TEST_F(OtherCivetwebTest, WhatWaitsIsUnknown) {
  Open();
  EXPECT_EQ(Listed().queuedBytes, 0U);
  EXPECT_EQ(Listed().port, 4711);
}

TEST_F(OtherCivetwebTest, AMessagesBoundIsCheckedWhenItsFrameIsThere) {
  const SdkAPIExtWebSocketLimits limits{sizeof limits, 0, 0, 10};
  ASSERT_EQ(SdkAPIExt_WebSocket_Limits_Set(&limits), 0);
  Open();
  EXPECT_EQ(Receive(0x81, "0123456789"), 1);
  EXPECT_EQ(Receive(0x81, "0123456789a"), 1);
  EXPECT_EQ(conn_.Frames(), (Frames{{8,
                                     "\x03\xf1"
                                     "message is too big"}}));
}

// Refused at once, instead of a promise that nothing keeps.
TEST_F(OtherCivetwebTest, WhatNeedsOurBuildIsRefused) {
  EXPECT_EQ(SdkAPIExt_SilentFailure_Set(500), -1);
  EXPECT_EQ(SdkAPIExt_Upload_Limit_Set(kExtUploadImage, 1000), -1);
  SdkAPIExtLimits limits{};
  limits.size = sizeof limits;
  limits.mostConnectionsPerAddress = 10;
  EXPECT_EQ(SdkAPIExt_Limits_Set(&limits), -1);
  limits.mostConnectionsPerAddress = 0;
  limits.mostCustomBodyBytes = 1000;
  EXPECT_EQ(SdkAPIExt_Limits_Set(&limits), -1);
}

TEST_F(OtherCivetwebTest, TheStatisticsSayThatTheyAreNotComplete) {
  SdkAPIExtStatistics now{};
  now.size = sizeof now;
  ASSERT_EQ(SdkAPIExt_Statistics_Get(&now), 0);
  const uint64_t before = now.webSockets;
  Open();
  ASSERT_EQ(SdkAPIExt_Statistics_Get(&now), 0);
  EXPECT_EQ(now.complete, 0);
  EXPECT_EQ(now.webSockets, before + 1);
  EXPECT_EQ(now.workers, 0U);
  EXPECT_EQ(now.acceptedConnections, 0U);
}

TEST_F(OtherCivetwebTest, StreamsAreTheLibrarysOwn) {
  SdkAPIExtLimits limits{};
  limits.size = sizeof limits;
  limits.mostWebSockets = 1;
  ASSERT_EQ(SdkAPIExt_Limits_Set(&limits), 0);
  Open();
  mg_connection second("GET", "/websocket");
  second.Header("Sec-WebSocket-Protocol", "tok");
  EXPECT_NE(WebSocketConnectHandler(&second, nullptr), 0);
  EXPECT_EQ(second.output, sdktest::JsonReply(503));
}

TEST_F(OtherCivetwebTest, ARequestHasNoRouteAndThePathThatWasDecoded) {
  SdkAPIExtRequest request{};
  request.size = sizeof request;
  sdkapi::BeginRequest(&conn_);
  EXPECT_EQ(SdkAPIExt_Request_Get(&request), 0);
  sdkapi::EndRequest(&conn_, 200);
  EXPECT_STREQ(request.route, "");
  EXPECT_STREQ(request.path, "/websocket");
  EXPECT_EQ(request.port, 4711);
}

class PlainServerTest : public sdktest::LibraryTest {
 protected:
  ~PlainServerTest() override { SdkAPISer_Port_Set(8080, 0); }

  int Start(int httpsPort) const {
    SdkAPISer_Port_Set(8080, httpsPort);
    SdkAPISer_Init();
    return SdkAPISer_Start(&table_);
  }

  const SdkAPISerHandle table_ = TestHost::Table();
};

TEST_F(PlainServerTest, AStartWithHttpsIsRefused) {
  EXPECT_EQ(Start(8443), -1);
  EXPECT_EQ(Log(), Strings{"4 sdkapi https is not available with this web server"});
  char reason[100];
  EXPECT_EQ(SdkAPIExt_StartFailure_Get(reason, sizeof reason), 0);
  EXPECT_STREQ(reason, "HTTPS is not available with this web server");
  EXPECT_EQ(Server().starts, 0);
  EXPECT_FALSE(sdkapi::ServerIsRunning());
}

TEST_F(PlainServerTest, WithHttpAloneItStartsAndStops) {
  EXPECT_EQ(Start(0), 0);
  EXPECT_EQ(SdkAPISer_Stop(nullptr), 0);
  EXPECT_EQ(Server().journal.back(), "stop");
  EXPECT_FALSE(Server().context.stopping) << "it has no call that announces a stop";
}

// Its parser spins for ever on some other bodies.
TEST_F(PlainServerTest, OnlyMultipartBodiesReachTheFormParser) {
  struct Row {
    const char* type;
    bool chunked;
    const char* body;
    bool parsed;
  };
  for (const Row& row : {Row{"application/x-www-form-urlencoded", false, "a=%", false},
                         Row{"", false, "a=%", false}, Row{"multipart/form-data", false, "body", false},
                         Row{"multipart/form-data; boundary=B", false, "", false},
                         Row{"multipart/form-data; boundary=B", false, "body", true},
                         Row{"multipart/form-data; boundary=B", true, "body", true}}) {
    mg_connection conn("POST", "/upload/logo");
    conn.Header("Content-Type", row.type);
    conn.form.fields.push_back({"file", "a.png", {{"x"}}});
    row.chunked ? conn.ChunkedBody(row.body) : conn.Body(row.body);
    EXPECT_EQ(FuncUploadImageFile(&conn, nullptr), 1);
    EXPECT_EQ(conn.trace.ran, row.parsed) << row.type;
    EXPECT_EQ(conn.output, JsonReply(row.parsed ? 200 : 500)) << row.type;
  }
}

TEST_F(PlainServerTest, AnotherTransferCodingIsNoBody) {
  mg_connection conn("POST", "/upload/logo");
  conn.Header("Content-Type", "multipart/form-data; boundary=B").Header("Transfer-Encoding", "gzip");
  EXPECT_EQ(FuncUploadImageFile(&conn, nullptr), 1);
  EXPECT_FALSE(conn.trace.ran);
}

}  // namespace
