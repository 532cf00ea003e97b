// Connecting and closing WebSockets: decisions, events, log lines, logins.
#include "websocket/connections.h"

#include <atomic>
#include <thread>

#include "library_fixture.h"
#include "server/lifecycle.h"
#include "session/login_registry.h"
#include "session/user_stack.h"

namespace {

using sdktest::LogCapture;
using sdktest::Server;
using sdktest::Strings;
using sdktest::TestHost;
using sdktest::WebSocketFrame;

using Frames = std::vector<WebSocketFrame>;

class WebSocketTest : public sdktest::LibraryTest {
 protected:
  ~WebSocketTest() override {
    EXPECT_EQ(Server().context.depth, 0) << "the context is unlocked";
    EXPECT_EQ(Server().unbalancedUnlocks, 0);
    EXPECT_EQ(Listed(), 0) << "every test closes what it opened";
  }

  static int Listed() { return HandleManageGetUsrCount(sdkapi::WebSocketLink()); }
  static int Connect(mg_connection& conn, const std::string& token) {
    conn.Header("Sec-WebSocket-Protocol", token);
    return WebSocketConnectHandler(&conn, nullptr);
  }
  static void Open(mg_connection& conn, const std::string& token) {
    EXPECT_EQ(Connect(conn, token), 0);
    WebSocketReadyHandler(&conn, nullptr);
  }
  static void Close(mg_connection& conn) {
    WebSocketCloseHandler(&conn, nullptr);
    conn.NoteCloseReturned();
  }
  static Strings Sessions() {
    Strings ids;
    for (const sdkapi::UserEntry& entry : sdkapi::UserTableSnapshot().entries) {
      if (entry.id[0] != '\0') ids.emplace_back(entry.id);
    }
    return ids;
  }

  mg_connection conn_{"GET", "/websocket"};
};

TEST_F(WebSocketTest, InitGivesZero) { EXPECT_EQ(sdkapi::WebSocketInit(), 0); }

TEST_F(WebSocketTest, WithAuthenticationOffAnyTokenIsAccepted) {
  EXPECT_EQ(Connect(conn_, "any"), 0);
  EXPECT_EQ(Listed(), 1);
  EXPECT_EQ(TestHost::Get().Lines(), Strings{"WebSocketCb(any, 0, , 0)"});
  EXPECT_EQ(Log(), Strings{"1 sdkapi token = any and g_NoLogin = [1]"});
  Close(conn_);
}

TEST_F(WebSocketTest, SomeWorkersAreLeftToOthers) {
  Server().workers = "4";
  mg_connection second("GET", "/websocket");
  mg_connection third("GET", "/websocket");
  EXPECT_EQ(Connect(conn_, "a"), 0);
  EXPECT_EQ(Connect(second, "b"), 0);
  LogCapture::Clear();
  EXPECT_EQ(Connect(third, "c"), 1);
  EXPECT_EQ(Log(),
            (Strings{"1 sdkapi token = c and g_NoLogin = [1]", "4 sdkapi no room for another stream!!!!"}));
  EXPECT_EQ(Listed(), 2);
  Close(second);
  EXPECT_EQ(WebSocketConnectHandler(&third, nullptr), 0);
  Close(conn_);
  Close(third);
}

TEST_F(WebSocketTest, WithoutTheHeaderTheConnectionIsRefused) {
  EXPECT_EQ(WebSocketConnectHandler(&conn_, nullptr), 1);
  EXPECT_EQ(Listed(), 0);
  EXPECT_EQ(TestHost::Get().Lines(), Strings{});
  EXPECT_EQ(Log(), Strings{"1 sdkapi token = (null) and g_NoLogin = [1]"});
}

TEST_F(WebSocketTest, WithAuthenticationOnAnUnknownTokenIsRefused) {
  RequireLogin();
  LogIn("tok");
  EXPECT_EQ(Connect(conn_, "nobody"), 1);
  EXPECT_EQ(Listed(), 0);
  EXPECT_EQ(TestHost::Get().Lines(), Strings{});
  EXPECT_EQ(Log(), (Strings{"1 sdkapi token = nobody and g_NoLogin = [0]", "4 sdkapi Token is invalid!!!"}));
}

TEST_F(WebSocketTest, WithAuthenticationOnAnEmptyTokenIsRefused) {
  RequireLogin();
  EXPECT_EQ(Connect(conn_, ""), 1);
  EXPECT_EQ(Log(), (Strings{"1 sdkapi token =  and g_NoLogin = [0]", "4 sdkapi Token is invalid!!!"}));
}

TEST_F(WebSocketTest, WithAuthenticationOnTheLoginsTokenIsAccepted) {
  RequireLogin();
  LogIn("tok");
  EXPECT_EQ(Connect(conn_, "tok"), 0);
  EXPECT_EQ(TestHost::Get().Lines(), Strings{"WebSocketCb(tok, 0, , 0)"});
  Close(conn_);
}

TEST_F(WebSocketTest, TheConnectEventsResultIsIgnored) {
  TestHost::Get().webSocket = [](int, const std::string&, const std::string&) { return -2; };
  EXPECT_EQ(Connect(conn_, "any"), 0);
  EXPECT_EQ(Listed(), 1);
  Close(conn_);
}

TEST_F(WebSocketTest, AnEmptySlotRefuses) {
  SdkAPISerHandle table = TestHost::Table();
  table.WebSocketCb = nullptr;
  Install(table);
  EXPECT_EQ(Connect(conn_, "any"), 1);
  EXPECT_EQ(Listed(), 0);
  EXPECT_EQ(Log(), (Strings{"1 sdkapi token = any and g_NoLogin = [1]",
                            "4 sdkapi WebSocketConnectHandler not registered!!!!"}));
}

TEST_F(WebSocketTest, AKeyThatTheWebServerRejectsIsRefusedBeforehand) {
  conn_.Header("Sec-WebSocket-Key", std::string(64, 'k'));
  EXPECT_EQ(Connect(conn_, "any"), 1);
  EXPECT_EQ(Listed(), 0);
  EXPECT_EQ(TestHost::Get().Lines(), Strings{});
  mg_connection longest("GET", "/websocket");
  longest.Header("Sec-WebSocket-Key", std::string(63, 'k'));
  EXPECT_EQ(Connect(longest, "any"), 0);
  Close(longest);
}

TEST_F(WebSocketTest, TheHandshakeNamesTheTokenAsItsProtocol) {
  Connect(conn_, "tok");
  EXPECT_STREQ(conn_.info.acceptedWebSocketSubprotocol, "tok");
  Close(conn_);
}

TEST_F(WebSocketTest, AListOfProtocolsIsNotNamed) {
  Connect(conn_, "tok, other");
  EXPECT_EQ(conn_.info.acceptedWebSocketSubprotocol, nullptr);
  EXPECT_EQ(TestHost::Get().Lines(), Strings{"WebSocketCb(tok, other, 0, , 0)"})
      << "the header's whole text is the token";
  Close(conn_);
}

TEST_F(WebSocketTest, AnEmptyProtocolIsNotNamed) {
  EXPECT_EQ(Connect(conn_, ""), 0);
  EXPECT_EQ(conn_.info.acceptedWebSocketSubprotocol, nullptr);
  EXPECT_EQ(TestHost::Get().Lines(), Strings{"WebSocketCb(, 0, , 0)"});
  Close(conn_);
}

TEST_F(WebSocketTest, ConnectAndCloseHoldTheContextLock) {
  TestHost::Get().webSocket = [](int, const std::string&, const std::string&) {
    EXPECT_EQ(Server().context.depth, 1);
    return 0;
  };
  Connect(conn_, "any");
  EXPECT_EQ(Server().context.depth, 0);
  Close(conn_);
  EXPECT_EQ(Server().deepestLock, 1);
}

TEST_F(WebSocketTest, AnEntryHoldsConnectionAndToken) {
  Connect(conn_, std::string(1023, 't'));
  const auto* const entry =
      static_cast<const sdkapi::WebSocketLinkEntry*>(HandleManageGetNextHandle(sdkapi::WebSocketLink()));
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(entry->conn, &conn_);
  EXPECT_EQ(std::string(entry->token), std::string(1023, 't'));
  Close(conn_);
}

TEST_F(WebSocketTest, ALongTokenIsCutInTheEntry) {
  Connect(conn_, std::string(3000, 't'));
  EXPECT_EQ(TestHost::Get().Lines(), Strings{"WebSocketCb(" + std::string(1023, 't') + ", 0, , 0)"});
  Close(conn_);
}

TEST_F(WebSocketTest, CloseWithAuthenticationOffTellsTheHostAndLeavesTheLogin) {
  LogIn("tok");
  Open(conn_, "tok");
  LogCapture::Clear();
  Close(conn_);
  EXPECT_EQ(TestHost::Get().Lines(), (Strings{"WebSocketCb(tok, 0, , 0)", "WebSocketCb(tok, 2, , 0)"}));
  EXPECT_EQ(Log(), Strings{});
  EXPECT_EQ(sdkapi::LoginCount(), 1);
  EXPECT_EQ(Sessions(), Strings{"tok"});
}

TEST_F(WebSocketTest, CloseWithAuthenticationOnEndsTheLogin) {
  RequireLogin();
  LogIn("tok");
  LogIn("other");
  Open(conn_, "tok");
  LogCapture::Clear();
  Close(conn_);
  EXPECT_EQ(TestHost::Get().Lines(),
            (Strings{"WebSocketCb(tok, 0, , 0)", "WebSocketCb(tok, 2, , 0)", "LogOutCb()"}));
  EXPECT_EQ(Log(), Strings{"1 sdkapi userid [tok] login time out.. "});
  EXPECT_EQ(GetLoginHandle("tok"), nullptr);
  EXPECT_NE(GetLoginHandle("other"), nullptr);
  EXPECT_EQ(Sessions(), Strings{"other"});
}

TEST_F(WebSocketTest, TheSecondCloseOfATokenFindsNoLogin) {
  RequireLogin();
  LogIn("tok");
  mg_connection second("GET", "/websocket");
  Open(conn_, "tok");
  Open(second, "tok");
  EXPECT_EQ(Listed(), 2);
  Close(conn_);
  EXPECT_EQ(Listed(), 1);
  LogCapture::Clear();
  Close(second);
  EXPECT_EQ(Log(), (Strings{"1 sdkapi userid [tok] login time out.. ", "4 sdkapi GetLoginHandle err!!!!"}));
  EXPECT_EQ(TestHost::Get().Lines(), (Strings{"WebSocketCb(tok, 0, , 0)", "WebSocketCb(tok, 0, , 0)",
                                              "WebSocketCb(tok, 2, , 0)", "LogOutCb()"}));
}

TEST_F(WebSocketTest, CloseWithoutAHostFunctionStillForgetsTheConnection) {
  Open(conn_, "any");
  SdkAPISerHandle table = TestHost::Table();
  table.WebSocketCb = nullptr;
  Install(table);
  Close(conn_);
  EXPECT_EQ(Listed(), 0);
}

TEST_F(WebSocketTest, CloseOfAnUnknownConnectionIsLogged) {
  Close(conn_);
  EXPECT_EQ(Log(), Strings{"4 sdkapi WebSocketCloseHandler fail....!!!!!!"});
  EXPECT_EQ(TestHost::Get().Lines(), Strings{});
}

TEST_F(WebSocketTest, ReadyOfAnUnknownConnectionDoesNothing) {
  WebSocketReadyHandler(&conn_, nullptr);
  EXPECT_EQ(Log(), Strings{});
}

TEST_F(WebSocketTest, ReadyDoesNothingTowardsHostAndClient) {
  Connect(conn_, "any");
  LogCapture::Clear();
  WebSocketReadyHandler(&conn_, nullptr);
  EXPECT_EQ(TestHost::Get().Lines().size(), 1U);
  EXPECT_EQ(Log(), Strings{});
  EXPECT_EQ(conn_.Frames(), Frames{});
  Close(conn_);
}

TEST_F(WebSocketTest, FramesSentBeforeTheHandshakeIsCompleteFollowItInOrder) {
  TestHost::Get().webSocket = [](int event, const std::string& token, const std::string&) {
    if (event == 0) WebSocketSendData(token.c_str(), "first", 5);
    return 0;
  };
  Connect(conn_, "tok");
  WebSocketSendDataALL("second", 6);
  WebSocketSendData("tok", "", 0);
  EXPECT_EQ(conn_.Frames(), Frames{});
  WebSocketReadyHandler(&conn_, nullptr);
  WebSocketSendData("tok", "third", 5);
  EXPECT_EQ(conn_.Frames(), (Frames{{1, "first"}, {1, "second"}, {1, ""}, {1, "third"}}));
  Close(conn_);
}

TEST_F(WebSocketTest, AtMost512FramesWaitBesideOne) {
  Connect(conn_, "tok");
  for (int i = 0; i < 513; ++i) WebSocketSendData("tok", "", 0);
  LogCapture::Clear();
  WebSocketSendData("tok", "", 0);
  ASSERT_EQ(LogCapture::Records().size(), 1U);
  EXPECT_EQ(LogCapture::Records()[0].level, 4);
  WebSocketReadyHandler(&conn_, nullptr);
  EXPECT_EQ(conn_.Frames().size(), 513U);
  Close(conn_);
}

TEST_F(WebSocketTest, AtMostOneMebibyteWaitsBesideTheLargest) {
  Connect(conn_, "tok");
  const std::string largest(2000000, 'l');
  WebSocketSendData("tok", largest.c_str(), 2000000);
  const std::string most(1048576, 'm');
  WebSocketSendData("tok", most.c_str(), 1048576);
  LogCapture::Clear();
  WebSocketSendData("tok", "x", 1);
  ASSERT_EQ(LogCapture::Records().size(), 1U);
  EXPECT_EQ(LogCapture::Records()[0].level, 4);
  WebSocketReadyHandler(&conn_, nullptr);
  EXPECT_EQ(conn_.Frames(), (Frames{{1, largest}, {1, most}}));
  WebSocketSendData("tok", "x", 1);
  EXPECT_EQ(conn_.Frames().size(), 3U);
  Close(conn_);
}

TEST_F(WebSocketTest, AFrameLargerThanTheBoundIsDroppedAndLaterOnesWait) {
  Connect(conn_, "tok");
  const std::string huge(3000000, 'm');
  WebSocketSendData("tok", huge.c_str(), 3000000);
  WebSocketSendData("tok", huge.c_str(), 1048577);
  WebSocketSendData("tok", "small", 5);
  WebSocketReadyHandler(&conn_, nullptr);
  EXPECT_EQ(conn_.Frames(), (Frames{{1, huge}, {1, "small"}}));
  Close(conn_);
}

// The sanitizer's leak check tells whether the waiting frames were released.
TEST_F(WebSocketTest, WaitingFramesOfAClosedConnectionAreDropped) {
  Connect(conn_, "tok");
  WebSocketSendData("tok", "lost", 4);
  Close(conn_);
  EXPECT_EQ(conn_.Frames(), Frames{});
}

TEST_F(WebSocketTest, AHostMaySendInTheCloseEvent) {
  Open(conn_, "tok");
  TestHost::Get().webSocket = [](int event, const std::string& token, const std::string&) {
    if (event == 2) WebSocketSendData(token.c_str(), "bye", 3);
    return 0;
  };
  Close(conn_);
  WebSocketSendData("tok", "late", 4);
  EXPECT_EQ(conn_.Frames(), (Frames{{1, "bye"}}));
}

TEST_F(WebSocketTest, ASendThatHoldsTheEntryAcrossTheCloseWritesNothing) {
  for (const bool handshakeIsComplete : {true, false}) {
    mg_connection conn("GET", "/websocket");
    EXPECT_EQ(Connect(conn, "tok"), 0);
    if (handshakeIsComplete) WebSocketReadyHandler(&conn, nullptr);
    const sdkapi::ConnectionRef connection = sdkapi::FindConnection("tok");
    ASSERT_NE(connection, nullptr);
    Close(conn);
    EXPECT_FALSE(sdkapi::SendFrame(*connection, 1, "late"));
    EXPECT_EQ(conn.Frames(), Frames{});
    EXPECT_EQ(conn.frameCalls, 0);
  }
}

TEST_F(WebSocketTest, NoFrameIsWrittenAfterTheCloseHandlerHasReturned) {
  std::atomic<bool> stop{false};
  const auto send = [&stop] {
    while (!stop.load()) {
      WebSocketSendData("tok", "one", 3);
      WebSocketSendDataALL("all", 3);
    }
  };
  std::thread one(send);
  std::thread two(send);
  for (int round = 0; round < 100; ++round) {
    mg_connection conn("GET", "/websocket");
    Open(conn, "tok");
    WebSocketSendData("tok", "mine", 4);
    Close(conn);
    EXPECT_EQ(conn.framesAfterClose, 0);
    EXPECT_GE(conn.Frames().size(), 1U);
  }
  stop.store(true);
  one.join();
  two.join();
}

}  // namespace
