// WebSocket traffic at the edges: what a refused handshake leaves behind, frames that race with the answer,
// who is reached when connections go.
#include <algorithm>
#include <atomic>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "raw_websocket.h"
#include "server_test_base.h"

namespace integration {
namespace {

bool SendByToken(const std::string& token, const std::string& text) {
  return WebSocketSendData(token.c_str(), text.c_str(), static_cast<int>(text.size())) == 0;
}

bool SendToAll(const std::string& text) {
  return WebSocketSendDataALL(text.c_str(), static_cast<int>(text.size())) == 0;
}

Frame Text(const std::string& text) { return {true, 1, text}; }

class WireTest : public ModeTest {
 protected:
  using Socket = std::unique_ptr<RawWebSocket>;

  Socket Connect(const std::string& protocol) {
    auto socket = std::make_unique<RawWebSocket>(mode());
    EXPECT_TRUE(socket->Open(protocol)) << socket->connection().received();
    return socket;
  }

  // The pong shows that everything before it has been handled, and that the connection was kept.
  void ExpectAlive(RawWebSocket& socket) {
    EXPECT_TRUE(socket.Send(9, "are you there"));
    EXPECT_EQ(socket.Read(), (Frame{true, 10, "are you there"}));
  }

  int Events(const std::string& event) {
    const auto calls = host().Calls("WebSocketCb");
    return static_cast<int>(
        std::count_if(calls.begin(), calls.end(), [&](const Call& call) { return call.args[0] == event; }));
  }

  // A close is over when the login of its token has ended; only then may the next test log in.
  void WaitForLoginsToEnd() {
    if (mode().auth) {
      EXPECT_TRUE(Eventually([] { return FreeSessions() == 20; }));
    }
  }
};

INSTANTIATE_TEST_SUITE_P(Modes, WireTest, AllModes(), ModeName);

// A refused handshake must leave no entry: its connection's memory serves the next client, whose reply a
// frame to all would then be written into.
TEST_P(WireTest, NothingIsWrittenIntoTheReplyOfAClientAfterARefusal) {
  std::atomic<bool> entered{false};
  std::atomic<bool> release{false};
  host().deviceInfo = [&](DeviceInfo& info) {
    entered = true;
    Eventually([&] { return release.load(); });
    info.timeout = 7;
    return 0;
  };
  for (const std::size_t keyLength : {64U, 65U, 1000U}) {
    SCOPED_TRACE(keyLength);
    Connection refused(Server::Get().port(mode().https), mode().https);
    ASSERT_TRUE(refused.Send(RawWebSocket::Request("/websocket", token(), std::string(keyLength, 'k'))));
    EXPECT_EQ(refused.ReadToEnd(), "");
    EXPECT_EQ(refused.end(), Connection::End::kEof);
    entered = false;
    release = false;
    Connection next(Server::Get().port(mode().https), mode().https);
    ASSERT_TRUE(next.Send(HttpRequest{"GET", "/dev_info", {Authorization()}, ""}.Bytes()));
    ASSERT_TRUE(Eventually([&] { return entered.load(); }));
    EXPECT_TRUE(SendToAll("for nobody"));
    EXPECT_TRUE(SendByToken(token(), "for nobody"));
    release = true;
    ExpectReply(ParseResponse(next.ReadToEnd()), 200, R"({"timeout":"7"})");
  }
  EXPECT_EQ(host().Count("WebSocketCb"), 0);
}

TEST_P(WireTest, TheLongestKeyIsAccepted) {
  Connection client(Server::Get().port(mode().https), mode().https);
  ASSERT_TRUE(client.Send(RawWebSocket::Request("/websocket", token(), std::string(63, 'k'))));
  const std::string start =
      "HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
      "Sec-WebSocket-Accept: ";
  const std::string rest = "\r\nSec-WebSocket-Protocol: token-of-the-test\r\n\r\n";
  ASSERT_TRUE(client.ReadUntilSize(start.size() + 28 + rest.size()));
  EXPECT_TRUE(client.received().starts_with(start)) << client.received();
  EXPECT_EQ(client.received().substr(start.size() + 28), rest);
  client.Close();
  EXPECT_TRUE(Eventually([&] { return Events("2") == 1; }));
}

// The host's other threads send while the connect event runs: the answer still comes first, then the frames.
TEST_P(WireTest, FramesOfAnotherThreadDuringTheConnectEventFollowTheAnswer) {
  host().webSocket = [](int event, const std::string& token, const std::string&) {
    if (event != 0) return 0;
    const std::string to(token);
    std::thread other([&] {
      for (int i = 0; i < 20; ++i) SendByToken(to, "by token " + std::to_string(i));
      for (int i = 0; i < 20; ++i) SendToAll("to all " + std::to_string(i));
    });
    other.join();
    SendByToken(to, "from the event");
    return 0;
  };
  RawWebSocket socket(mode());
  EXPECT_EQ(socket.Shake("/websocket", token()), RawWebSocket::Accepted(token()));
  SendToAll("afterwards");
  for (int i = 0; i < 20; ++i) ASSERT_EQ(socket.Read(), Text("by token " + std::to_string(i)));
  for (int i = 0; i < 20; ++i) ASSERT_EQ(socket.Read(), Text("to all " + std::to_string(i)));
  EXPECT_EQ(socket.Read(), Text("from the event"));
  EXPECT_EQ(socket.Read(), Text("afterwards"));
  socket.connection().Close();
  EXPECT_TRUE(Eventually([&] { return Events("2") == 1; }));
}

struct WaitingRow {
  const char* what;
  std::vector<std::size_t> sent;
  std::vector<std::size_t> delivered;
  std::vector<std::size_t> dropped;
};

TEST_P(WireTest, TheBoundCountsWaitingBytesAndNamesWhatItDrops) {
  const WaitingRow rows[] = {
      {"the first may have any size", {3000000, 3}, {3000000, 3}, {}},
      {"a later one, too", {3, 3000000}, {3, 3000000}, {}},
      {"exactly full beside the largest", {2000000, 1048576}, {2000000, 1048576}, {}},
      {"one byte too many", {2000000, 1048577}, {2000000}, {1048577}},
      {"full, then one byte", {2000000, 1048575, 1, 1}, {2000000, 1048575, 1}, {1}},
      {"a smaller one still fits behind a dropped one",
       {2000000, 1000000, 60000, 48576},
       {2000000, 1000000, 48576},
       {60000}},
      {"an empty one fits where no byte does", {2000000, 1048576, 0, 1}, {2000000, 1048576, 0}, {1}},
  };
  for (const WaitingRow& row : rows) {
    SCOPED_TRACE(row.what);
    host().Reset();
    if (mode().auth && FreeSessions() == 20) {
      ASSERT_TRUE(LogIn(token()));
      host().Reset();
    }
    LogCapture::Clear();
    host().webSocket = [&row](int event, const std::string& token, const std::string&) {
      if (event != 0) return 0;
      for (const std::size_t size : row.sent) SendByToken(token, std::string(size, 'w'));
      return 0;
    };
    Socket socket = Connect(token());
    for (const std::size_t size : row.delivered) {
      const auto frame = socket->Read();
      ASSERT_TRUE(frame.has_value() && *frame == Text(std::string(size, 'w'))) << size;
    }
    ExpectAlive(*socket);
    int errors = 0;
    for (const LogRecord& line : LogCapture::Records()) errors += line.level == 4 ? 1 : 0;
    EXPECT_EQ(errors, static_cast<int>(row.dropped.size()));
    for (const std::size_t size : row.dropped) {
      EXPECT_EQ(
          LogCapture::Count(
              4, "websocket handshake not complete, frame of " + std::to_string(size) + " bytes dropped",
              "sdkapi"),
          1);
    }
    socket->connection().Close();
    EXPECT_TRUE(Eventually([&] { return Events("2") == 1; }));
    WaitForLoginsToEnd();
  }
}

TEST_P(WireTest, SendingByTokenMovesOnWhenTheOlderConnectionHasClosed) {
  Socket first = Connect(token());
  Socket second = Connect(token());
  Socket third = Connect(token());
  SendByToken(token(), "to the first");
  EXPECT_EQ(first->Read(), Text("to the first"));
  first->connection().Close();
  // Event 2 precedes the entry's removal; a frame sent before that is lost with its connection.
  ASSERT_TRUE(Eventually([&] { return Events("2") == 1; }));
  WaitForLoginsToEnd();
  std::atomic<bool> arrived{false};
  std::thread sender([&] {
    Eventually([&] {
      SendByToken(token(), "to the second");
      return arrived.load();
    });
  });
  EXPECT_EQ(second->Read(), Text("to the second"));
  arrived = true;
  sender.join();
  ExpectAlive(*third);  // its first frame is the pong: nothing was sent to it
  SendToAll("to both");
  EXPECT_EQ(third->Read(), Text("to both"));
  const auto isLast = [](const std::string& bytes) { return bytes.find("to both") != std::string::npos; };
  EXPECT_TRUE(second->connection().ReadUntil(isLast));
  second->connection().Close();
  third->connection().Close();
  // With authentication the first close ended the login, so the others have no event.
  EXPECT_TRUE(Eventually([&] {
    return mode().auth ? LogCapture::Count(4, "GetLoginHandle err!!!!", "sdkapi") == 2 : Events("2") == 3;
  }));
}

TEST_P(WireTest, StoppingTheServerClosesEveryConnectionOnce) {
  std::vector<Socket> sockets;
  for (int i = 0; i < 5; ++i) {
    const std::string name = token() + "-" + std::to_string(i);
    if (mode().auth) {
      ASSERT_TRUE(LogIn(name));
    }
    sockets.push_back(Connect(name));
  }
  if (mode().auth) ExpectReply(LogOut(token()), 200, R"({"code":"0"})");
  Server::Get().Stop();
  std::vector<std::string> closed;
  for (const Call& call : host().Calls("WebSocketCb")) {
    if (call.args == std::vector<std::string>{"2", "", "0"}) closed.push_back(call.token);
  }
  std::sort(closed.begin(), closed.end());
  EXPECT_EQ(closed, (std::vector<std::string>{token() + "-0", token() + "-1", token() + "-2", token() + "-3",
                                              token() + "-4"}));
  SendToAll("into the void");
  SendByToken(token() + "-0", "into the void");
  for (const Socket& socket : sockets) EXPECT_TRUE(socket->ReadEnd());
}

class WireLoginTest : public WireTest {};
INSTANTIATE_TEST_SUITE_P(Schemes, WireLoginTest, BothSchemes(), ModeName);

TEST_P(WireLoginTest, ACloseGivesItsPlaceToTheNextLogin) {
  for (int i = 0; i < 19; ++i) ASSERT_EQ(AddUsrIdToStack("taken"), 0);
  host().login = [](LoginInfo& info) {
    std::strcpy(info.token, "one too many");
    return 0;
  };
  ExpectReply(Post("/api/v1/auth/login", "{}"), 500);
  Socket socket = Connect(token());
  socket->connection().Close();
  EXPECT_TRUE(NoWebSocketIsLeft());
  EXPECT_EQ(Events("2"), 1);
  EXPECT_TRUE(LogIn("the next one"));
  EXPECT_EQ(FreeSessions(), 0);
  ExpectReply(LogOut("the next one"), 200, R"({"code":"0"})");
  ExpectReply(LogOut("one too many"), 200, R"({"code":"0"})");
  for (int i = 0; i < 19; ++i) DelUsrIdStack("taken");
  EXPECT_EQ(FreeSessions(), 20);
}

class EmptyTableTest : public ServerTest, public ::testing::WithParamInterface<Mode> {
 protected:
  void SetUp() override { Prepare(GetParam(), {.webSocketUrl = "", .emptyTable = true}); }
};
INSTANTIATE_TEST_SUITE_P(Schemes, EmptyTableTest, ::testing::Values(Mode{false, false}, Mode{true, false}),
                         ModeName);

TEST_P(EmptyTableTest, AHostWithoutTheFunctionRefusesAll) {
  RawWebSocket socket(mode());
  EXPECT_EQ(socket.Shake("/websocket", "anybody"), "");
  EXPECT_TRUE(LogCapture::Wait(4, "WebSocketConnectHandler not registered!!!!", "sdkapi"));
  EXPECT_TRUE(SendToAll("for nobody"));
}

}  // namespace
}  // namespace integration
