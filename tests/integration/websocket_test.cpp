// The WebSocket channel: handshakes, events, frames of every kind, sending, and what a close ends.
#include <algorithm>
#include <atomic>
// One thread uses a client at a time, and the thread sanitizer knows no fences.
#define BOOST_ASIO_DISABLE_FENCED_BLOCK
#include <boost/asio/connect.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/ssl.hpp>
#include <boost/beast/websocket.hpp>
#include <boost/beast/websocket/ssl.hpp>
#include <cstring>
#include <memory>
#include <thread>

#include "raw_websocket.h"
#include "server_test_base.h"

namespace integration {
namespace {

Call Event(const std::string& token, int event, const std::string& data = "") {
  return {"WebSocketCb", token, {std::to_string(event), data, std::to_string(data.size())}};
}

// The web server's own answer: a 404 in one form or another.
void ExpectNoChannel(const std::string& answer) {
  EXPECT_NE(answer.find("404"), std::string::npos) << answer;
  EXPECT_EQ(answer.find("101 Switching"), std::string::npos);
}

class WebSocketTest : public ModeTest {
 protected:
  using Socket = std::unique_ptr<RawWebSocket>;

  Socket Connect(const std::string& protocol) {
    auto socket = std::make_unique<RawWebSocket>(mode());
    EXPECT_TRUE(socket->Open(protocol)) << socket->connection().received();
    return socket;
  }
  Socket Connect() { return Connect(token()); }

  // The pong that answers a ping proves that the server has handled everything before it, and closed nothing.
  void ExpectAlive(RawWebSocket& socket) {
    EXPECT_TRUE(socket.Send(9, "are you there"));
    EXPECT_EQ(socket.Read(), (Frame{true, 10, "are you there"}));
  }

  std::vector<Call> Events() { return host().Calls("WebSocketCb"); }
};

INSTANTIATE_TEST_SUITE_P(Modes, WebSocketTest, AllModes(), ModeName);

TEST_P(WebSocketTest, TheHandshakeIsTheseBytes) {
  RawWebSocket socket(mode());
  EXPECT_EQ(socket.Shake("/websocket", token()),
            "HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
            "Sec-WebSocket-Accept: s3pPLMBiTxaQ9kYGzzhZRbK+xOo=\r\nSec-WebSocket-Protocol: "
            "token-of-the-test\r\n\r\n");
  ExpectAlive(socket);
  const std::string line =
      "token = token-of-the-test and g_NoLogin = [" + std::string(mode().auth ? "0]" : "1]");
  EXPECT_EQ(LogCapture::Count(1, line, "sdkapi"), 1);
}

TEST_P(WebSocketTest, EventsAreConnectTextAndClose) {
  Socket socket = Connect();
  EXPECT_TRUE(host().WaitForCount("WebSocketCb", 1));
  ASSERT_TRUE(socket->SendText("hello"));
  ASSERT_TRUE(socket->SendText("zwei \xc3\xa4"));
  EXPECT_TRUE(host().WaitForCount("WebSocketCb", 3));
  socket->connection().Close();
  EXPECT_TRUE(host().WaitForCount("WebSocketCb", 4));
  EXPECT_EQ(Events(), (std::vector<Call>{Event(token(), 0), Event(token(), 1, "hello"),
                                         Event(token(), 1, "zwei \xc3\xa4"), Event(token(), 2)}));
}

// With authentication on no login has such a token. A host keeps tokens in 1024 bytes.
TEST_P(WebSocketTest, ALongTokenIsCutInEveryEvent) {
  if (mode().auth) return;
  const std::string sent(1500, 't');
  const std::string cut(1023, 't');
  RawWebSocket socket(mode());
  EXPECT_EQ(socket.Shake("/websocket", sent), RawWebSocket::Accepted(sent));
  ASSERT_TRUE(socket.SendText("hello"));
  EXPECT_TRUE(host().WaitForCount("WebSocketCb", 2));
  socket.connection().Close();
  EXPECT_TRUE(host().WaitForCount("WebSocketCb", 3));
  EXPECT_EQ(Events(), (std::vector<Call>{Event(cut, 0), Event(cut, 1, "hello"), Event(cut, 2)}));
}

TEST_P(WebSocketTest, RefusedConnectionsGetNothing) {
  struct Row {
    const char* what;
    std::string request;
    bool tokenInvalid;
  };
  const std::string longKey(64, 'k');
  std::vector<Row> rows{
      {"no protocol", RawWebSocket::Request("/websocket", ""), false},
      {"key too long", RawWebSocket::Request("/websocket", token(), longKey), false},
      {"key far too long", RawWebSocket::Request("/websocket", token(), std::string(5000, 'k')), false}};
  if (mode().auth) {
    rows.push_back({"unknown token", RawWebSocket::Request("/websocket", "stranger"), true});
    rows.push_back({"list of protocols", RawWebSocket::Request("/websocket", token() + ", chat"), true});
  }
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    LogCapture::Clear();
    Connection client(Server::Get().port(mode().https), mode().https);
    ASSERT_TRUE(client.Send(row.request));
    EXPECT_EQ(client.ReadToEnd(), "");
    EXPECT_EQ(client.end(), Connection::End::kEof);
    EXPECT_EQ(LogCapture::Count(4, "Token is invalid!!!", "sdkapi"), row.tokenInvalid ? 1 : 0);
  }
  EXPECT_TRUE(Events().empty());
  // Nothing was left in the list: the next connection is the oldest one of its token, and nobody else is
  // written to.
  Socket socket = Connect();
  WebSocketSendData(token().c_str(), "for you", 7);
  WebSocketSendDataALL("for all", 7);
  EXPECT_EQ(socket->Read(), (Frame{true, 1, "for you"}));
  EXPECT_EQ(socket->Read(), (Frame{true, 1, "for all"}));
}

TEST_P(WebSocketTest, AListOfProtocolsIsNotEchoed) {
  if (mode().auth) return;
  RawWebSocket socket(mode());
  EXPECT_EQ(socket.Shake("/websocket", "one, two"),
            "HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
            "Sec-WebSocket-Accept: s3pPLMBiTxaQ9kYGzzhZRbK+xOo=\r\n\r\n");
  ExpectAlive(socket);
  EXPECT_EQ(Events(), std::vector<Call>{Event("one, two", 0)});
}

// With authentication on nobody has an empty token.
TEST_P(WebSocketTest, AnEmptyProtocolIsNotEchoed) {
  RawWebSocket socket(mode());
  std::string request = RawWebSocket::Request("/websocket", "");
  request.insert(request.size() - 2, "Sec-WebSocket-Protocol:\r\n");
  const std::string accepted =
      "HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
      "Sec-WebSocket-Accept: s3pPLMBiTxaQ9kYGzzhZRbK+xOo=\r\n\r\n";
  EXPECT_EQ(socket.ShakeWith(request), mode().auth ? "" : accepted);
  if (mode().auth) return;
  ExpectAlive(socket);
  EXPECT_EQ(Events(), std::vector<Call>{Event("", 0)});
}

TEST_P(WebSocketTest, AnEmptyTextIsSentWithAndWithoutAPointer) {
  Socket socket = Connect();
  WebSocketSendData(token().c_str(), nullptr, 5);
  WebSocketSendData(token().c_str(), "", 0);
  WebSocketSendData(token().c_str(), nullptr, 0);
  WebSocketSendData(token().c_str(), "end", 3);
  EXPECT_EQ(socket->Read(), (Frame{true, 1, ""}));
  EXPECT_EQ(socket->Read(), (Frame{true, 1, ""}));
  EXPECT_EQ(socket->Read(), (Frame{true, 1, "end"}));
}

TEST_P(WebSocketTest, TheDefaultUrlIsAPrefix) {
  for (const char* const target :
       {"/websocket", "/websocket/", "/websocket/more", "/websocketry", "/WebSocket"}) {
    SCOPED_TRACE(target);
    host().Reset();
    RawWebSocket socket(mode());
    EXPECT_EQ(socket.Shake(target, "anybody"), mode().auth ? "" : RawWebSocket::Accepted("anybody"));
  }
  for (const char* const target : {"/ws", "/", "/web", "/dev_info", "/stream"}) {
    SCOPED_TRACE(target);
    RawWebSocket socket(mode());
    ExpectNoChannel(socket.Shake(target, "anybody"));
  }
  ExpectNotFound(Get("/websocket"));
}

TEST_P(WebSocketTest, FramesOfEveryOpcode) {
  Socket socket = Connect();
  struct Row {
    int opcode;
    const char* log;  // nullptr: none
  };
  const Row rows[] = {{0, nullptr},        {2, "binary"},       {3, "unknown(3h)"},  {4, "unknown(4h)"},
                      {5, "unknown(5h)"},  {6, "unknown(6h)"},  {7, "unknown(7h)"},  {10, nullptr},
                      {11, "unknown(bh)"}, {12, "unknown(ch)"}, {13, "unknown(dh)"}, {14, "unknown(eh)"},
                      {15, "unknown(fh)"}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.opcode);
    LogCapture::Clear();
    ASSERT_TRUE(socket->Send(row.opcode, "payload"));
    ExpectAlive(*socket);
    EXPECT_EQ(LogCapture::Count(1, row.log != nullptr ? row.log : "", "sdkapi"), row.log != nullptr ? 1 : 0);
    EXPECT_EQ(LogCapture::Records().size(), row.log != nullptr ? 1U : 0U);
  }
  EXPECT_EQ(Events(), std::vector<Call>{Event(token(), 0)});  // none of them reached the host
  ASSERT_TRUE(socket->Send(8, std::string("\x03\xe8", 2)));
  EXPECT_TRUE(socket->ReadEnd());
  EXPECT_TRUE(LogCapture::Wait(1, "close", "sdkapi"));
  EXPECT_TRUE(host().WaitForCount("WebSocketCb", 2));
  EXPECT_EQ(Events().back(), Event(token(), 2));
}

TEST_P(WebSocketTest, TextsOfAllSizesArriveTerminated) {
  std::vector<std::string> received;
  host().webSocket = [&](int event, const std::string&, const std::string& data) {
    if (event != 1) return 0;
    received.push_back(data);
    return 0;
  };
  Socket socket = Connect();
  const std::vector<std::string> texts{"",
                                       "x",
                                       std::string(125, 'a'),
                                       std::string(126, 'b'),
                                       std::string("nul\0inside", 10),
                                       std::string(65535, 'c'),
                                       std::string(65536, 'd'),
                                       std::string(1048576, 'e')};
  for (const std::string& text : texts) ASSERT_TRUE(socket->SendText(text));
  ExpectAlive(*socket);
  EXPECT_EQ(host().Count("WebSocketCb without a NUL"), 0);
  EXPECT_TRUE(received == texts);
  EXPECT_EQ(Events()[1], Event(token(), 1, ""));
}

TEST_P(WebSocketTest, OfAFragmentedTextTheHostGetsTheFirstPart) {
  Socket socket = Connect();
  ASSERT_TRUE(socket->Send(1, "first,", false));
  ASSERT_TRUE(socket->Send(0, "second,", false));
  ASSERT_TRUE(socket->Send(0, "third"));
  ExpectAlive(*socket);
  EXPECT_EQ(Events(), (std::vector<Call>{Event(token(), 0), Event(token(), 1, "first,")}));
}

TEST_P(WebSocketTest, ANonZeroResultClosesTheConnection) {
  for (const int result : {1, -1, -2}) {
    SCOPED_TRACE(result);
    host().Reset();
    if (mode().auth && GetLoginHandle(token().c_str()) == nullptr) {
      ASSERT_TRUE(LogIn(token()));
    }
    host().Reset();
    host().webSocket = [&](int event, const std::string&, const std::string&) {
      return event == 1 ? result : 99;
    };
    Socket socket = Connect();
    ASSERT_TRUE(socket->SendText("bye"));
    EXPECT_TRUE(socket->ReadEnd());
    EXPECT_TRUE(host().WaitForCount("WebSocketCb", 3));
    EXPECT_EQ(Events().back(), Event(token(), 2));
    EXPECT_TRUE(NoWebSocketIsLeft());
  }
}

TEST_P(WebSocketTest, FramesSentDuringTheConnectEventFollowTheHandshake) {
  host().webSocket = [](int event, const std::string& token, const std::string&) {
    if (event != 0) return 0;
    WebSocketSendData(token.c_str(), "one", 3);
    WebSocketSendDataALL("two", 3);
    WebSocketSendData(token.c_str(), "", 0);
    WebSocketSendData(token.c_str(), "four", 4);
    return 0;
  };
  RawWebSocket socket(mode());
  EXPECT_EQ(socket.Shake("/websocket", token()), RawWebSocket::Accepted(token()));
  for (const char* const text : {"one", "two", "", "four"}) EXPECT_EQ(socket.Read(), (Frame{true, 1, text}));
  WebSocketSendData(token().c_str(), "five", 4);
  EXPECT_EQ(socket.Read(), (Frame{true, 1, "five"}));
}

TEST_P(WebSocketTest, FramesBeyondTheBoundAreDropped) {
  host().webSocket = [](int event, const std::string& token, const std::string&) {
    if (event != 0) return 0;
    const std::string large(1048576, 'h');
    WebSocketSendData(token.c_str(), large.c_str(), 1048576);
    WebSocketSendData(token.c_str(), large.c_str(), 1048576);
    WebSocketSendData(token.c_str(), "over", 4);
    return 0;
  };
  Socket socket = Connect();
  const std::string large(1048576, 'h');
  ASSERT_TRUE(socket->Read() == (Frame{true, 1, large}));
  ASSERT_TRUE(socket->Read() == (Frame{true, 1, large}));
  ExpectAlive(*socket);
  int dropped = 0;
  for (const LogRecord& line : LogCapture::Records()) dropped += line.level == 4 ? 1 : 0;
  EXPECT_EQ(dropped, 1);
}

TEST_P(WebSocketTest, SendingByTokenReachesTheOldestConnectionOnly) {
  Socket first = Connect();
  Socket second = Connect();
  EXPECT_EQ(WebSocketSendData(token().c_str(), "to the first", 12), 0);
  EXPECT_EQ(first->Read(), (Frame{true, 1, "to the first"}));
  EXPECT_EQ(WebSocketSendData("nobody", "x", 1), 0);
  EXPECT_EQ(WebSocketSendData(nullptr, "x", 1), 0);
  EXPECT_EQ(WebSocketSendData(token().c_str(), nullptr, 1), 0);
  EXPECT_EQ(WebSocketSendData(token().c_str(), "x", -1), 0);
  ExpectAlive(*second);
  ExpectAlive(*first);
}

TEST_P(WebSocketTest, SendingToAllReachesEveryConnection) {
  std::vector<Socket> sockets;
  for (int i = 0; i < 5; ++i) sockets.push_back(Connect());
  LogCapture::Clear();
  EXPECT_EQ(WebSocketSendDataALL("hello", 5), 0);
  EXPECT_EQ(WebSocketSendDataALL("hello", 2), 0);
  EXPECT_EQ(LogCapture::Count(1, "data = hello dataLen = 5", "sdkapi"), 1);
  LogCapture::Clear();
  EXPECT_EQ(WebSocketSendDataALL("hello", 0), 0);
  EXPECT_EQ(WebSocketSendDataALL("hello", -1), 0);
  EXPECT_EQ(WebSocketSendDataALL(nullptr, 5), 0);
  EXPECT_TRUE(LogCapture::Records().empty());
  for (const Socket& socket : sockets) {
    EXPECT_EQ(socket->Read(), (Frame{true, 1, "hello"}));
    EXPECT_EQ(socket->Read(), (Frame{true, 1, "he"}));
    ExpectAlive(*socket);
  }
}

TEST_P(WebSocketTest, LargeTextsAreSentWhole) {
  Socket socket = Connect();
  for (const std::size_t size : {125U, 126U, 65535U, 65536U, 1048576U}) {
    const std::string text(size, 's');
    WebSocketSendData(token().c_str(), text.c_str(), static_cast<int>(size));
    const auto frame = socket->Read();
    EXPECT_TRUE(frame.has_value() && *frame == (Frame{true, 1, text})) << size;
  }
}

TEST_P(WebSocketTest, AVanishedClientIsForgotten) {
  const int files = OpenFiles();
  Socket socket = Connect();
  socket->connection().Abort();
  EXPECT_TRUE(host().WaitForCount("WebSocketCb", 2));
  EXPECT_EQ(Events().back(), Event(token(), 2));
  EXPECT_TRUE(Eventually([&] { return OpenFiles() <= files; }));
  WebSocketSendData(token().c_str(), "too late", 8);
  WebSocketSendDataALL("too late", 8);
}

TEST_P(WebSocketTest, AClosedConnectionEndsTheLoginOnlyWithAuthentication) {
  SdkAPISer_AuthenticationSwitch_Set(1);
  ASSERT_TRUE(LogIn("browser"));
  const int free = FreeSessions();
  if (!mode().auth) SdkAPISer_AuthenticationSwitch_Set(0);
  host().Reset();
  LogCapture::Clear();
  Socket socket = Connect("browser");
  socket->connection().Close();
  EXPECT_TRUE(host().WaitForCount("WebSocketCb", 2));
  EXPECT_EQ(Events().back(), Event("browser", 2));
  ASSERT_TRUE(NoWebSocketIsLeft());
  EXPECT_EQ(FreeSessions(), mode().auth ? free + 1 : free);
  EXPECT_EQ(host().Count("LogOutCb"), mode().auth ? 1 : 0);
  EXPECT_EQ(LogCapture::Count(1, "userid [browser] login time out.. ", "sdkapi"), mode().auth ? 1 : 0);
  SdkAPISer_AuthenticationSwitch_Set(1);
  const Response after = SendBare({"GET", "/dev_info", {"Authorization: Bearer browser"}, ""});
  if (mode().auth) {
    ExpectReply(after, 401);
  } else {
    ExpectReply(after, 200, "{}");
    ExpectReply(LogOut("browser"), 200, R"({"code":"0"})");
  }
}

TEST_P(WebSocketTest, TheFirstCloseEndsTheLoginOfBothConnections) {
  if (!mode().auth) return;
  Socket first = Connect();
  Socket second = Connect();
  first->connection().Close();
  ASSERT_TRUE(Eventually([&] { return FreeSessions() == 20; }));
  EXPECT_EQ(host().Count("LogOutCb"), 1);
  ASSERT_TRUE(second->SendText("is anybody there"));
  ExpectAlive(*second);  // the text is dropped, the connection stays
  WebSocketSendData(token().c_str(), "still listed", 12);
  EXPECT_EQ(second->Read(), (Frame{true, 1, "still listed"}));
  LogCapture::Clear();
  second->connection().Close();
  EXPECT_TRUE(LogCapture::Wait(4, "GetLoginHandle err!!!!", "sdkapi"));
  EXPECT_EQ(Events(), (std::vector<Call>{Event(token(), 0), Event(token(), 0), Event(token(), 2)}));
  EXPECT_EQ(host().Count("LogOutCb"), 1);
}

TEST_P(WebSocketTest, AfterALogOutTextsAreDroppedAndTheConnectionStays) {
  if (!mode().auth) return;
  Socket socket = Connect();
  ExpectReply(LogOut(token()), 200, R"({"code":"0"})");
  ASSERT_TRUE(socket->SendText("too late"));
  ExpectAlive(*socket);
  EXPECT_EQ(Events(), std::vector<Call>{Event(token(), 0)});
}

class ConfiguredUrlTest : public ServerTest, public ::testing::WithParamInterface<Mode> {
 protected:
  void SetUp() override { Prepare(GetParam(), {.webSocketUrl = "/ws", .emptyTable = false}); }
};
INSTANTIATE_TEST_SUITE_P(Schemes, ConfiguredUrlTest, ::testing::Values(Mode{false, false}, Mode{true, false}),
                         ModeName);

TEST_P(ConfiguredUrlTest, MatchesExactly) {
  for (const char* const target : {"/ws", "/WS", "/ws?x=1"}) {
    RawWebSocket socket(mode());
    EXPECT_EQ(socket.Shake(target, "anybody"), RawWebSocket::Accepted("anybody")) << target;
  }
  for (const char* const target : {"/ws/", "/ws/x", "/wsx", "/websocket"}) {
    RawWebSocket socket(mode());
    ExpectNoChannel(socket.Shake(target, "anybody"));
  }
}

namespace beast = boost::beast;
namespace asio = boost::asio;
using Tcp = asio::ip::tcp;

// A client that somebody else wrote, over either transport.
template <class Stream>
void TalkOver(beast::websocket::stream<Stream>& socket, const std::string& token, TestHost& host) {
  socket.set_option(beast::websocket::stream_base::decorator([&](beast::websocket::request_type& request) {
    request.set(beast::http::field::sec_websocket_protocol, token);
  }));
  beast::websocket::response_type answer;
  socket.handshake(answer, "127.0.0.1", "/websocket");
  EXPECT_EQ(answer[beast::http::field::sec_websocket_protocol], token);
  host.webSocket = [](int event, const std::string& from, const std::string& data) {
    return event == 1 ? WebSocketSendData(from.c_str(), data.c_str(), static_cast<int>(data.size())) : 0;
  };
  for (int i = 0; i < 30; ++i) {
    const std::string text(static_cast<std::size_t>(i * 251), static_cast<char>('a' + i % 26));
    socket.text(true);
    socket.auto_fragment(false);  // of fragments the host would get the first only
    socket.write(asio::buffer(text));
    beast::flat_buffer buffer;
    socket.read(buffer);
    ASSERT_TRUE(socket.got_text());
    ASSERT_TRUE(beast::buffers_to_string(buffer.data()) == text);
  }
  // The server ends the connection without a close frame of its own.
  beast::error_code error;
  socket.close(beast::websocket::close_code::normal, error);
}

TEST_P(WebSocketTest, AnIndependentClientTalks) {
  asio::io_context io;
  const Tcp::endpoint server(asio::ip::address_v4::loopback(),
                             static_cast<unsigned short>(Server::Get().port(mode().https)));
  if (mode().https) {
    asio::ssl::context tls(asio::ssl::context::tls_client);
    tls.load_verify_file(Server::CertificateFile());
    tls.set_verify_mode(asio::ssl::verify_peer);
    beast::websocket::stream<asio::ssl::stream<Tcp::socket>> socket(io, tls);
    beast::get_lowest_layer(socket).connect(server);
    socket.next_layer().handshake(asio::ssl::stream_base::client);
    TalkOver(socket, token(), host());
  } else {
    beast::websocket::stream<Tcp::socket> socket(io);
    beast::get_lowest_layer(socket).connect(server);
    TalkOver(socket, token(), host());
  }
}

}  // namespace
}  // namespace integration
