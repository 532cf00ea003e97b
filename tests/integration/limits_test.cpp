// What clients may take of the server, over real sockets: streams, connections of an address, custom bodies.
#include <deque>
#include <optional>
#include <thread>

#include "chunked.h"
#include "raw_websocket.h"
#include "sdkapi/extension.h"
#include "server_test_base.h"

namespace integration {
namespace {

class LimitsTest : public ModeTest {
 protected:
  void SetUp() override {
    ModeTest::SetUp();
    ASSERT_EQ(SdkAPISer_Custom_Get_Post_Api_Add("/custom/echo$", TestHost::CustomGetPost), 0);
    host().preview = [](PreviewFrame& frame) {
      if (frame.state == 1) std::this_thread::sleep_for(std::chrono::milliseconds(2));
      frame.length = 5;
      return 0;
    };
  }
  // The next test's limits count what is open.
  static bool NoStreams() {
    SdkAPIExtStatistics now{};
    now.size = sizeof now;
    return SdkAPIExt_Statistics_Get(&now) == 0 && now.previews == 0 && now.webSockets == 0;
  }
  void TearDown() override {
    EXPECT_TRUE(Eventually(NoStreams));
    EXPECT_EQ(SdkAPIExt_Limits_Set(nullptr), 0);
    ModeTest::TearDown();
  }

  static SdkAPIExtLimits Limits() {
    SdkAPIExtLimits limits{};
    limits.size = sizeof limits;
    return limits;
  }
  static void Set(uint32_t SdkAPIExtLimits::*limit, uint32_t most) {
    SdkAPIExtLimits limits = Limits();
    limits.*limit = most;
    ASSERT_EQ(SdkAPIExt_Limits_Set(&limits), 0);
  }
  static void LimitBodies(uint64_t bytes) {
    SdkAPIExtLimits limits = Limits();
    limits.mostCustomBodyBytes = bytes;
    ASSERT_EQ(SdkAPIExt_Limits_Set(&limits), 0);
  }

  // This test's own: connections of the one before it may still be closing.
  const char* address() const { return address_.c_str(); }
  int port() const { return Server::Get().port(mode().https); }

  static int Echo(mg_connection* conn, const std::string& body) {
    return SendReponseInfo(conn, 200, 7, body.c_str(), static_cast<int>(body.size()));
  }
  // The host answers with the body that it was handed, or reads itself.
  void EchoBodies() {
    host().customGetPost = [](mg_connection* conn, CustomReqInfo& request) {
      char own[100];
      if (request.body != nullptr)
        return Echo(conn, {request.body, static_cast<std::size_t>(request.bodyLength)});
      const int length = GetHttpBody(conn, own, sizeof own);
      return length < 0 ? -1 : Echo(conn, {own, static_cast<std::size_t>(length)});
    };
  }
  std::string Chunked(const std::string& body) const {
    return "POST /custom/echo HTTP/1.1\r\nHost: a\r\n" + Authorization() +
           "\r\nTransfer-Encoding: chunked\r\n\r\n" + sdktest::Chunked(body, 5);
  }

 private:
  static inline int count_ = 0;
  const int number_ = count_++;
  const std::string address_ =
      "127.0." + std::to_string(1 + number_ / 250) + "." + std::to_string(1 + number_ % 250);
};

INSTANTIATE_TEST_SUITE_P(Modes, LimitsTest, AllModes(), ModeName);

bool OpenPreview(Connection& client) {
  return client.Send("GET /stream HTTP/1.1\r\nHost: a\r\n\r\n") &&
         client.ReadUntilSize(StreamHead().size()) && client.received().starts_with(StreamHead());
}

TEST_P(LimitsTest, OnePreviewMoreIsAnswered503) {
  Set(&SdkAPIExtLimits::mostPreviews, 2);
  std::optional<Connection> first(std::in_place, port(), mode().https);
  Connection second(port(), mode().https);
  ASSERT_TRUE(OpenPreview(*first));
  ASSERT_TRUE(OpenPreview(second));
  EXPECT_EQ(WithoutDate(SendBare({"GET", "/stream", {}, ""}).raw),
            "HTTP/1.1 503 Service Unavailable\r\nDate: <date>\r\n"
            "Cache-Control: no-cache,no-store,must-revalidate,max-age=0\r\n"
            "Content-Security-Policy: frame-ancestors *;\r\nX-Content-Type-Options:nosniff\r\n"
            "Strict-Transport-Security: max-age=63072000; includeSubdomains; preload\r\n"
            "Content-Type: application/json; charset=utf-8;\r\nContent-Length: 0\r\n"
            "Connection: close\r\n\r\n");
  RawWebSocket socket(mode());
  EXPECT_TRUE(socket.Open(token())) << "the other kind has its own room";
  first.reset();
  EXPECT_TRUE(Eventually([&] {
    Connection third(port(), mode().https);
    return OpenPreview(third);
  }));
}

TEST_P(LimitsTest, TheHandshakeOfOneWebSocketMoreIsAnswered503) {
  Set(&SdkAPIExtLimits::mostWebSockets, 1);
  RawWebSocket first(mode());
  ASSERT_TRUE(first.Open(token()));
  RawWebSocket second(mode());
  EXPECT_EQ(WithoutDate(second.Shake("/websocket", token())), JsonReply(503));
  EXPECT_TRUE(second.ReadEnd());
  EXPECT_EQ(host().Count("WebSocketCb"), 1) << "the host hears nothing of it";
  EXPECT_EQ(host().Count("LogOutCb"), 0);
  if (mode().auth) {
    RawWebSocket stranger(mode());
    EXPECT_EQ(stranger.Shake("/websocket", "nobody"), "") << "a stranger learns of no limit";
  }
  first.connection().Close();
  EXPECT_TRUE(Eventually([&] {
    LogIn(token());  // with its WebSocket the login ended
    RawWebSocket third(mode());
    return third.Open(token());
  }));
}

TEST_P(LimitsTest, BothKindsShareOneRoom) {
  Set(&SdkAPIExtLimits::mostStreams, 2);
  Connection preview(port(), mode().https);
  ASSERT_TRUE(OpenPreview(preview));
  RawWebSocket socket(mode());
  ASSERT_TRUE(socket.Open(token()));
  ExpectReply(SendBare({"GET", "/stream", {}, ""}), 503);
  RawWebSocket second(mode());
  EXPECT_EQ(WithoutDate(second.Shake("/websocket", token())), JsonReply(503));
  preview.Close();
  EXPECT_TRUE(Eventually([&] {
    RawWebSocket third(mode());
    return third.Open(token());
  }));
}

TEST_P(LimitsTest, OpenStreamsStayWhenALimitIsSet) {
  RawWebSocket first(mode());
  RawWebSocket second(mode());
  ASSERT_TRUE(first.Open(token()));
  ASSERT_TRUE(second.Open(token()));
  Set(&SdkAPIExtLimits::mostWebSockets, 1);
  for (RawWebSocket* const socket : {&first, &second}) {
    EXPECT_TRUE(socket->Send(9, "alive"));
    EXPECT_EQ(socket->Read(), (Frame{true, 10, "alive"}));
  }
}

// The client sends nothing: neither a request nor a TLS handshake is waited for.
TEST_P(LimitsTest, OneConnectionMoreOfAnAddressIsClosedAtOnce) {
  Set(&SdkAPIExtLimits::mostConnectionsPerAddress, 3);
  std::deque<Connection> open;
  for (int i = 0; i < 3; ++i) {
    open.emplace_back(Server::Get().port(i % 2 == 0), i % 2 == 0, 0, address());
    ASSERT_TRUE(open.back().connected());
    ASSERT_TRUE(open.back().Send("GET /index.html HTTP/1.1\r\nHost: a\r\n\r\n"));
    ASSERT_TRUE(
        open.back().ReadUntil([](const std::string& bytes) { return bytes.ends_with("front page"); }));
  }
  for (int i = 0; i < 20; ++i) {
    Connection refused(port(), false, 0, address());
    EXPECT_EQ(refused.ReadToEnd(), "");
    EXPECT_EQ(refused.end(), Connection::End::kEof);
  }
  Connection other(port(), mode().https, 0, "127.0.0.3");
  EXPECT_TRUE(other.connected()) << "another address has its own room";
  for (Connection& client : open) {
    EXPECT_TRUE(client.Send("GET /index.html HTTP/1.1\r\nHost: a\r\n\r\n")) << "those that are open stay";
  }
  open.pop_front();
  EXPECT_TRUE(Eventually([&] {
    Connection next(port(), mode().https, 0, address());
    return next.connected() && next.Send("GET /index.html HTTP/1.1\r\nHost: a\r\n\r\n") &&
           next.ReadUntil([](const std::string& bytes) { return bytes.ends_with("front page"); });
  }));
}

TEST_P(LimitsTest, ConnectionsThatWereThereCount) {
  Connection first(port(), mode().https, 0, address());
  Connection second(port(), mode().https, 0, address());
  for (Connection* const client : {&first, &second}) {
    ASSERT_TRUE(client->Send("GET /index.html HTTP/1.1\r\nHost: a\r\n\r\n"));
    ASSERT_TRUE(client->ReadUntil([](const std::string& bytes) { return bytes.ends_with("front page"); }));
  }
  Set(&SdkAPIExtLimits::mostConnectionsPerAddress, 1);
  Connection third(port(), false, 0, address());
  EXPECT_EQ(third.ReadToEnd(), "");
  EXPECT_EQ(SdkAPIExt_Limits_Set(nullptr), 0);
  Connection fourth(port(), mode().https, 0, address());
  EXPECT_TRUE(fourth.connected());
}

TEST_P(LimitsTest, ABodyThatAnnouncesMoreIsAnswered413BeforeItComes) {
  EchoBodies();
  LimitBodies(5);
  EXPECT_EQ(Send({"POST", "/custom/echo", {}, "01234"}).body, "01234");
  Connection client(port(), mode().https);
  ASSERT_TRUE(client.Send("POST /custom/echo HTTP/1.1\r\nHost: a\r\n" + Authorization() +
                          "\r\nContent-Length: 2000000000\r\n\r\n"));
  ASSERT_TRUE(client.ReadUntil([](const std::string& bytes) { return bytes.ends_with("\r\n\r\n"); }));
  EXPECT_EQ(WithoutDate(client.received()),
            "HTTP/1.1 413 Payload Too Large\r\nDate: <date>\r\n"
            "Cache-Control: no-cache,no-store,must-revalidate,max-age=0\r\n"
            "Content-Security-Policy: frame-ancestors *;\r\nX-Content-Type-Options:nosniff\r\n"
            "Strict-Transport-Security: max-age=63072000; includeSubdomains; preload\r\n"
            "Content-Type: application/json; charset=utf-8;\r\nContent-Length: 0\r\n"
            "Connection: close\r\n\r\n");
  EXPECT_EQ(host().Count("CustomGetPost"), 1);
  ExpectReply(Send({"POST", "/custom/echo", {}, std::string(100000, 'x')}), 413);
}

TEST_P(LimitsTest, OfABodyInChunksTheHostReadsNoMore) {
  EchoBodies();
  LimitBodies(5);
  EXPECT_EQ(Send(Chunked("01234")).body, "01234");
  ExpectReply(Send(Chunked("012345")), 413);
  EXPECT_EQ(host().Count("CustomGetPost"), 2);
  EXPECT_EQ(SdkAPIExt_Limits_Set(nullptr), 0);
  EXPECT_EQ(Send(Chunked("012345")).body, "012345");
}

// An IPv4 client that comes by way of an IPv6 socket is the same client.
TEST(AddressLimitTest, AnAddressIsOneByWhicheverSocketItComes) {
  Server::Get().Stop();
  LogCapture::Install();
  const int plain = FreePort();
  const int dual = FreePort();
  const std::string ports = std::to_string(plain) + ",+" + std::to_string(dual);
  ASSERT_EQ(SdkAPIExt_Option_Set("listening_ports", ports.c_str()), 0);
  SdkAPIExtLimits limits{};
  limits.size = sizeof limits;
  limits.mostConnectionsPerAddress = 1;
  ASSERT_EQ(SdkAPIExt_Limits_Set(&limits), 0) << "before the start, too";
  SdkAPISer_Init();
  const SdkAPISerHandle table = TestHost::Table();
  ASSERT_EQ(SdkAPISer_Start(&table), 0);
  {
    Connection first(plain, false, 0, "127.0.0.2");
    ASSERT_TRUE(first.Send("GET /nothing HTTP/1.1\r\nHost: a\r\n\r\n"));
    ASSERT_TRUE(first.ReadUntil([](const std::string& bytes) { return bytes.starts_with("HTTP/1.1 404"); }));
    Connection second(dual, false, 0, "127.0.0.3");
    ASSERT_TRUE(second.Send("GET /noth"));
    EXPECT_TRUE(second.StaysOpen(std::chrono::milliseconds(50)));
    Connection third(plain, false, 0, "127.0.0.3");
    EXPECT_EQ(third.ReadToEnd(), "");
  }
  EXPECT_EQ(SdkAPISer_Stop(nullptr), 0);
  EXPECT_EQ(SdkAPIExt_Limits_Set(nullptr), 0);
  EXPECT_EQ(SdkAPIExt_Option_Set("listening_ports", nullptr), 0);
}

}  // namespace
}  // namespace integration
