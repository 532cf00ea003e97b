// A host that governs its server beside a web server without what only our build of it has.
#include <vector>

#include "library_fixture.h"
#include "sdkapi/extension.h"

namespace {

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
}

}  // namespace
