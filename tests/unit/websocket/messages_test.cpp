// Received frames to the host, and sending to one token or to all.
#include <cstdio>

#include "library_fixture.h"
#include "sdkapi/extension.h"
#include "server/lifecycle.h"
#include "websocket/connections.h"

namespace {

using sdktest::LogCapture;
using sdktest::Strings;
using sdktest::TestHost;
using sdktest::WebSocketFrame;

using Frames = std::vector<WebSocketFrame>;

class MessagesTest : public sdktest::LibraryTest {
 protected:
  static void Open(mg_connection& conn, const std::string& token) {
    conn.Header("Sec-WebSocket-Protocol", token);
    EXPECT_EQ(WebSocketConnectHandler(&conn, nullptr), 0);
    WebSocketReadyHandler(&conn, nullptr);
    TestHost::Get().Reset();
    LogCapture::Clear();
  }
  static int Receive(mg_connection& conn, int flags, std::string data) {
    return WebsocketDataHandler(&conn, flags, data.data(), data.size(), nullptr);
  }

  mg_connection conn_{"GET", "/websocket"};
};

TEST_F(MessagesTest, TextReachesTheHostWithATerminator) {
  Open(conn_, "tok");
  TestHost::Get().webSocket = [](int event, const std::string&, const std::string& data) {
    EXPECT_EQ(event, 1);
    EXPECT_EQ(data, "hello");
    return 0;
  };
  EXPECT_EQ(Receive(conn_, 0x81, "hello"), 1);
  EXPECT_EQ(TestHost::Get().Lines(), Strings{"WebSocketCb(tok, 1, hello, 5)"});
  EXPECT_EQ(Log(), Strings{});
  TestHost::Get().Reset();
  WebSocketCloseHandler(&conn_, nullptr);
}

TEST_F(MessagesTest, AnEmptyTextReachesTheHost) {
  Open(conn_, "tok");
  EXPECT_EQ(Receive(conn_, 0x81, ""), 1);
  EXPECT_EQ(WebsocketDataHandler(&conn_, 0x81, nullptr, 0, nullptr), 1);
  EXPECT_EQ(TestHost::Get().Lines(), Strings(2, "WebSocketCb(tok, 1, , 0)"));
  WebSocketCloseHandler(&conn_, nullptr);
}

TEST_F(MessagesTest, ATextOfAConnectionThatIsNotListedReachesTheHostAsNobodys) {
  conn_.Header("Sec-WebSocket-Protocol", "tok");
  TestHost::Get().webSocket = [](int, const std::string&, const std::string&) {
    EXPECT_EQ(SdkAPIExt_WebSocket_Current(), 0U);
    return 0;
  };
  EXPECT_EQ(Receive(conn_, 0x81, "hello"), 1);
  EXPECT_EQ(TestHost::Get().Lines(), Strings{"WebSocketCb(tok, 1, hello, 5)"});
}

TEST_F(MessagesTest, ALongTokenIsCutForTextsAsForTheOtherEvents) {
  Open(conn_, std::string(1024, 't'));
  EXPECT_EQ(Receive(conn_, 0x81, "hello"), 1);
  WebSocketCloseHandler(&conn_, nullptr);
  const std::string cut(1023, 't');
  EXPECT_EQ(TestHost::Get().Lines(),
            (Strings{"WebSocketCb(" + cut + ", 1, hello, 5)", "WebSocketCb(" + cut + ", 2, , 0)"}));
}

TEST_F(MessagesTest, ATextWithNulsKeepsItsLength) {
  Open(conn_, "tok");
  std::string received;
  TestHost::Get().webSocket = [&received](int, const std::string&, const std::string& data) {
    received = data;
    return 0;
  };
  const std::string text("a\0b", 3);
  EXPECT_EQ(Receive(conn_, 0x01, text), 1);
  EXPECT_EQ(received, text);
  WebSocketCloseHandler(&conn_, nullptr);
}

TEST_F(MessagesTest, AMegabyteOfTextArrives) {
  Open(conn_, "tok");
  std::size_t received = 0;
  TestHost::Get().webSocket = [&received](int, const std::string&, const std::string& data) {
    received = data.size();
    return 0;
  };
  EXPECT_EQ(Receive(conn_, 0x81, std::string(1000000, 'x')), 1);
  EXPECT_EQ(received, 1000000U);
  WebSocketCloseHandler(&conn_, nullptr);
}

TEST_F(MessagesTest, ANonZeroResultClosesTheConnection) {
  Open(conn_, "tok");
  for (const int result : {-2, -1, 1, 100}) {
    TestHost::Get().webSocket = [result](int, const std::string&, const std::string&) { return result; };
    EXPECT_EQ(Receive(conn_, 0x81, "x"), 0) << result;
  }
  TestHost::Get().Reset();
  WebSocketCloseHandler(&conn_, nullptr);
}

TEST_F(MessagesTest, WithoutAHostFunctionTextIsDropped) {
  Open(conn_, "tok");
  SdkAPISerHandle table = TestHost::Table();
  table.WebSocketCb = nullptr;
  Install(table);
  EXPECT_EQ(Receive(conn_, 0x81, "x"), 1);
  EXPECT_EQ(Log(), Strings{});
  WebSocketCloseHandler(&conn_, nullptr);
}

TEST_F(MessagesTest, AFrameOfALoggedOutTokenIsDroppedAndTheConnectionStays) {
  RequireLogin();
  LogIn("tok");
  Open(conn_, "tok");
  SdkAPISer_AuthenticationSwitch_Set(1);
  sdkapi::UsrManageTask();  // every login is gone
  for (const int flags : {0x81, 0x82, 0x88}) EXPECT_EQ(Receive(conn_, flags, "x"), -1);
  EXPECT_EQ(TestHost::Get().Lines(), Strings{});
  EXPECT_EQ(Log(), Strings{});
  WebSocketCloseHandler(&conn_, nullptr);
}

TEST_F(MessagesTest, WithoutTheHeaderAndWithAuthenticationOnAFrameIsDropped) {
  RequireLogin();
  EXPECT_EQ(Receive(conn_, 0x81, "x"), -1);
}

struct OpcodeCase {
  int opcode;
  Strings log;
};
class OpcodeTest : public MessagesTest, public testing::WithParamInterface<OpcodeCase> {};

TEST_P(OpcodeTest, IsNotedAndGoesNoFurther) {
  Open(conn_, "tok");
  for (const int flags : {GetParam().opcode, GetParam().opcode | 0x80, GetParam().opcode | 0xf0}) {
    LogCapture::Clear();
    EXPECT_EQ(Receive(conn_, flags, "payload"), 1);
    EXPECT_EQ(Log(), GetParam().log);
    EXPECT_EQ(TestHost::Get().Lines(), Strings{});
  }
  WebSocketCloseHandler(&conn_, nullptr);
}

INSTANTIATE_TEST_SUITE_P(
    Opcodes, OpcodeTest,
    testing::Values(OpcodeCase{0, {}}, OpcodeCase{2, {"1 sdkapi binary"}},
                    OpcodeCase{3, {"1 sdkapi unknown(3h)"}}, OpcodeCase{4, {"1 sdkapi unknown(4h)"}},
                    OpcodeCase{5, {"1 sdkapi unknown(5h)"}}, OpcodeCase{6, {"1 sdkapi unknown(6h)"}},
                    OpcodeCase{7, {"1 sdkapi unknown(7h)"}}, OpcodeCase{8, {"1 sdkapi close"}},
                    OpcodeCase{9, {"1 sdkapi ping"}}, OpcodeCase{11, {"1 sdkapi unknown(bh)"}},
                    OpcodeCase{12, {"1 sdkapi unknown(ch)"}}, OpcodeCase{13, {"1 sdkapi unknown(dh)"}},
                    OpcodeCase{14, {"1 sdkapi unknown(eh)"}}, OpcodeCase{15, {"1 sdkapi unknown(fh)"}}));

TEST_F(MessagesTest, APongNamesTheConnection) {
  Open(conn_, "tok");
  EXPECT_EQ(Receive(conn_, 0x8a, ""), 1);
  char line[64];
  std::snprintf(line, sizeof line, "1 sdkapi websocket recv pong from [%p]", static_cast<void*>(&conn_));
  EXPECT_EQ(Log(), Strings{line});
  WebSocketCloseHandler(&conn_, nullptr);
}

class SendTest : public MessagesTest {
 protected:
  SendTest() {
    Open(one_, "tok");
    Open(two_, "tok");
    Open(three_, "other");
  }
  ~SendTest() override {
    for (mg_connection* const conn : {&one_, &two_, &three_}) WebSocketCloseHandler(conn, nullptr);
  }

  mg_connection one_{"GET", "/websocket"};
  mg_connection two_{"GET", "/websocket"};
  mg_connection three_{"GET", "/websocket"};
};

TEST_F(SendTest, ToATokenReachesItsOldestConnectionOnly) {
  EXPECT_EQ(WebSocketSendData("tok", "hello", 5), 0);
  EXPECT_EQ(one_.Frames(), (Frames{{1, "hello"}}));
  EXPECT_EQ(two_.Frames(), Frames{});
  EXPECT_EQ(three_.Frames(), Frames{});
  EXPECT_EQ(Log(), Strings{});
}

TEST_F(SendTest, ToATokenTakesTheLengthGiven) {
  WebSocketSendData("other", "hello", 2);
  WebSocketSendData("other", "a\0b", 3);
  WebSocketSendData("other", "", 0);
  WebSocketSendData("other", nullptr, 0);
  EXPECT_EQ(three_.Frames(), (Frames{{1, "he"}, {1, std::string("a\0b", 3)}, {1, ""}, {1, ""}}));
}

TEST_F(SendTest, ToAnUnknownTokenSendsNothing) {
  for (const char* const token : {"nobody", "to", "tokk", "TOK", ""})
    EXPECT_EQ(WebSocketSendData(token, "x", 1), 0);
  for (mg_connection* const conn : {&one_, &two_, &three_}) EXPECT_EQ(conn->Frames(), Frames{});
}

TEST_F(SendTest, ImpossibleArgumentsSendNothing) {
  EXPECT_EQ(WebSocketSendData(nullptr, "x", 1), 0);
  EXPECT_EQ(WebSocketSendData("tok", nullptr, 1), 0);
  EXPECT_EQ(WebSocketSendData("tok", "x", -1), 0);
  EXPECT_EQ(one_.Frames(), Frames{});
}

TEST_F(SendTest, ToAllReachesEveryConnection) {
  EXPECT_EQ(WebSocketSendDataALL("hello", 5), 0);
  for (mg_connection* const conn : {&one_, &two_, &three_}) EXPECT_EQ(conn->Frames(), (Frames{{1, "hello"}}));
  EXPECT_EQ(Log(), Strings{"1 sdkapi data = hello dataLen = 5"});
}

TEST_F(SendTest, ToAllTakesTheLengthGiven) {
  EXPECT_EQ(WebSocketSendDataALL("hello", 2), 0);
  EXPECT_EQ(one_.Frames(), (Frames{{1, "he"}}));
  EXPECT_EQ(Log(), Strings{"1 sdkapi data = hello dataLen = 2"});
}

TEST_F(SendTest, ToAllWithNothingToSendDoesAndLogsNothing) {
  EXPECT_EQ(WebSocketSendDataALL("x", 0), 0);
  EXPECT_EQ(WebSocketSendDataALL("x", -1), 0);
  EXPECT_EQ(WebSocketSendDataALL(nullptr, 5), 0);
  for (mg_connection* const conn : {&one_, &two_, &three_}) EXPECT_EQ(conn->Frames(), Frames{});
  EXPECT_EQ(Log(), Strings{});
}

TEST_F(SendTest, AFailedWriteDoesNotStopTheOthers) {
  one_.failFrameFrom = 1;
  EXPECT_EQ(WebSocketSendDataALL("x", 1), 0);
  EXPECT_EQ(one_.Frames(), Frames{});
  EXPECT_EQ(two_.Frames(), (Frames{{1, "x"}}));
  EXPECT_EQ(WebSocketSendData("tok", "x", 1), 0);
}

TEST_F(SendTest, NothingFollowsAFrameThatDidNotGoOutWhole) {
  one_.cutFrame = 2;
  three_.failFrameFrom = 2;
  for (const char* const text : {"1234", "5678", "9012"}) WebSocketSendDataALL(text, 4);
  WebSocketSendData("tok", "", 0);
  EXPECT_EQ(one_.Frames(), (Frames{{1, "1234"}, {1, "56"}}));
  EXPECT_EQ(two_.Frames(), (Frames{{1, "1234"}, {1, "5678"}, {1, "9012"}}));
  EXPECT_EQ(three_.Frames(), (Frames{{1, "1234"}}));
}

TEST_F(SendTest, NoLockIsHeldWhileAFrameIsWritten) {
  int written = 0;
  for (mg_connection* const conn : {&one_, &two_, &three_}) {
    conn->whileWriting = [&written] {
      ++written;
      ASSERT_EQ(pthread_mutex_trylock(&sdkapi::WebSocketLink()->mutex), 0) << "the list is locked";
      pthread_mutex_unlock(&sdkapi::WebSocketLink()->mutex);
      EXPECT_EQ(sdktest::Server().context.depth, 0) << "the context is locked";
    };
  }
  WebSocketSendDataALL("x", 1);
  WebSocketSendData("tok", "x", 1);
  EXPECT_EQ(written, 4);
}

// A connection may close, and others come, while a frame to all is on its way.
TEST_F(SendTest, AFrameToAllReachesThoseThatWereThereWhenItWasSent) {
  mg_connection late("GET", "/websocket");
  one_.whileWriting = [this, &late] {
    WebSocketCloseHandler(&two_, nullptr);
    Open(late, "late");
  };
  WebSocketSendDataALL("x", 1);
  one_.whileWriting = nullptr;
  EXPECT_EQ(one_.Frames(), (Frames{{1, "x"}}));
  EXPECT_EQ(two_.Frames(), Frames{});
  EXPECT_EQ(three_.Frames(), (Frames{{1, "x"}}));
  EXPECT_EQ(late.Frames(), Frames{});
  WebSocketCloseHandler(&late, nullptr);
  Open(two_, "tok");
}

TEST_F(MessagesTest, WithoutConnectionsToAllStillLogs) {
  EXPECT_EQ(WebSocketSendDataALL("x", 1), 0);
  EXPECT_EQ(Log(), Strings{"1 sdkapi data = x dataLen = 1"});
}

TEST_F(MessagesTest, AClosedConnectionIsNoLongerFound) {
  mg_connection one("GET", "/websocket");
  mg_connection two("GET", "/websocket");
  Open(one, "a");
  Open(two, "b");
  WebSocketCloseHandler(&one, nullptr);
  WebSocketSendData("b", "x", 1);
  WebSocketSendData("a", "x", 1);
  EXPECT_EQ(one.Frames(), Frames{});
  EXPECT_EQ(two.Frames(), (Frames{{1, "x"}}));
  WebSocketCloseHandler(&two, nullptr);
}

}  // namespace
