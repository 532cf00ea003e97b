// What the server counts, over real sockets: answers of the library, of hosts and of the web server, bytes,
// connections, workers, streams and refusals.
#include <deque>
#include <thread>

#include "raw_websocket.h"
#include "sdkapi/extension.h"
#include "server_test_base.h"

namespace integration {
namespace {

using Statistics = SdkAPIExtStatistics;

Statistics Now() {
  Statistics now{};
  now.size = sizeof now;
  EXPECT_EQ(SdkAPIExt_Statistics_Get(&now), 0);
  EXPECT_EQ(now.complete, 1);
  return now;
}

// Workers and connections that only end what is past.
bool IsQuiet() {
  const Statistics now = Now();
  return now.connections == 0 && now.busyWorkers == 0 && now.previews == 0 && now.webSockets == 0;
}

class StatisticsTest : public ModeTest {
 protected:
  void SetUp() override {
    ModeTest::SetUp();
    ASSERT_EQ(SdkAPISer_Custom_Get_Post_Api_Add("/custom/own$", TestHost::CustomGetPost), 0);
    ASSERT_TRUE(Eventually([] { return Now().connections == 0; }));
    before_ = Now();
  }
  // A WebSocket that is still closing would end the next test's login.
  void TearDown() override {
    EXPECT_TRUE(Eventually(IsQuiet));
    SdkAPIExt_Limits_Set(nullptr);
    SdkAPIExt_WebSocket_Limits_Set(nullptr);
    ModeTest::TearDown();
  }

  // How much a number has risen since the test began.
  uint64_t Risen(uint64_t Statistics::*number) const { return Now().*number - before_.*number; }
  // The same of the answers, by the hundreds of their status.
  std::vector<uint64_t> Answers() const {
    const Statistics now = Now();
    std::vector<uint64_t> risen;
    for (int i = 0; i < 6; ++i) risen.push_back(now.requests[i] - before_.requests[i]);
    return risen;
  }

  Statistics before_{};
};

INSTANTIATE_TEST_SUITE_P(Schemes, StatisticsTest, BothSchemes(), ModeName);

TEST_P(StatisticsTest, AnswersCountByTheirStatusWhoeverGivesThem) {
  using Row = std::pair<std::string, std::vector<uint64_t>>;
  const std::string end = " HTTP/1.1\r\nHost: a\r\nConnection: close\r\n\r\n";
  host().customGetPost = [](mg_connection* conn, CustomReqInfo&) {
    return SendHttpBuff(conn, "HTTP/1.1 302 Found\r\nLocation: /\r\nContent-Length: 0\r\n\r\n", 0);
  };
  const std::string authorised = " HTTP/1.1\r\nHost: a\r\n" + Authorization() + "\r\n\r\n";
  for (const auto& [request, answers] : {
           Row{"GET /dev_info" + authorised, {0, 0, 1, 0, 0, 0}},         // the library's
           Row{"GET /dev_info" + end, {0, 0, 0, 0, 1, 0}},                // its refusal
           Row{"GET /custom/own" + authorised, {0, 0, 0, 1, 0, 0}},       // the host's
           Row{"GET /index.html" + end, {0, 0, 1, 0, 0, 0}},              // the web server's file
           Row{"GET /nothing" + end, {0, 0, 0, 0, 1, 0}},                 // its 404
           Row{"nonsense\r\n\r\n", {0, 0, 0, 0, 1, 0}},                   // its 400
           Row{"GET / HTTP/3.0\r\nHost: a\r\n\r\n", {0, 0, 0, 0, 0, 1}},  // its 505
           Row{"GET /websocket HTTP/1.1\r\nHost: a\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
               "Sec-WebSocket-Version: 13\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n\r\n",
               {1, 0, 0, 0, 0, 0}},  // a refused handshake, which is answered by its end
       }) {
    before_ = Now();
    Send(request);
    EXPECT_TRUE(Eventually([&] { return Answers() == answers; }))
        << request << ::testing::PrintToString(Answers());
  }
}

TEST_P(StatisticsTest, AKeptConnectionCountsEachAnswer) {
  Connection client(Server::Get().port(mode().https), mode().https);
  for (int i = 1; i <= 3; ++i) {
    client.DropReceived();
    ASSERT_TRUE(client.Send("GET /index.html HTTP/1.1\r\nHost: a\r\n\r\n"));
    ASSERT_TRUE(client.ReadUntil([](const std::string& bytes) { return bytes.ends_with("front page"); }));
  }
  EXPECT_EQ(Answers(), (std::vector<uint64_t>{0, 0, 3, 0, 0, 0}));
  EXPECT_EQ(Risen(&Statistics::acceptedConnections), 1U);
}

// An interim answer is none.
TEST_P(StatisticsTest, AClientThatAsksToGoOnGetsOneAnswer) {
  host().customGetPost = [](mg_connection* conn, CustomReqInfo&) {
    return SendReponseInfo(conn, 200, 7, "x", 1);
  };
  Send("POST /custom/own HTTP/1.1\r\nHost: a\r\n" + Authorization() +
       "\r\nExpect: 100-continue\r\nContent-Length: 4\r\n\r\nbody");
  EXPECT_EQ(Answers(), (std::vector<uint64_t>{0, 0, 1, 0, 0, 0}));
}

// Of TLS what the records carry: the same numbers for both schemes.
TEST_P(StatisticsTest, BytesAreThoseThatClientsSendAndRead) {
  const std::string request = HttpRequest{"GET", "/dev_info", {Authorization()}, ""}.Bytes();
  const Response reply = Send(request);
  EXPECT_EQ(Risen(&Statistics::bytesIn), request.size());
  EXPECT_EQ(Risen(&Statistics::bytesOut), reply.raw.size());
  const std::string body = MultipartBody({{"file", SampleBytes(300000), "a.png"}});
  const HttpRequest upload = UploadRequest("/upload/logo", body);
  before_ = Now();
  HttpRequest authorised = upload;
  authorised.headers.push_back(Authorization());
  const Response taken = Send(authorised.Bytes());
  EXPECT_EQ(Risen(&Statistics::bytesIn), authorised.Bytes().size());
  EXPECT_EQ(Risen(&Statistics::bytesOut), taken.raw.size());
}

// What the web server sends without its own write function.
TEST_P(StatisticsTest, BytesOfAFileCount) {
  Workspace::Get().WriteFile("www/large.bin", SampleBytes(500000));
  const Response file = SendBare({"GET", "/large.bin", {"Connection: close"}, ""});
  ASSERT_EQ(file.body.size(), 500000U);
  EXPECT_EQ(Risen(&Statistics::bytesOut), file.raw.size());
}

TEST_P(StatisticsTest, BytesOfWebSocketsCount) {
  RawWebSocket socket(mode());
  ASSERT_TRUE(socket.Open(token()));
  const std::string text(1000, 'x');
  WebSocketSendData(token().c_str(), text.c_str(), static_cast<int>(text.size()));
  EXPECT_EQ(socket.Read(), (Frame{true, 1, text}));
  // The client may have read what is just being counted.
  const std::size_t out = RawWebSocket::Accepted(token()).size() + 4 + text.size();
  EXPECT_TRUE(Eventually([&] { return Risen(&Statistics::bytesOut) == out; }));
  ASSERT_TRUE(socket.Send(9, "ping"));
  EXPECT_EQ(socket.Read(), (Frame{true, 10, "ping"}));
  EXPECT_EQ(Risen(&Statistics::bytesIn), RawWebSocket::Request("/websocket", token()).size() + 2 + 4 + 4);
}

TEST_P(StatisticsTest, OpenStreamsConnectionsAndWorkersAreThoseOfTheMoment) {
  host().preview = [](PreviewFrame& frame) {
    if (frame.state == 1) std::this_thread::sleep_for(std::chrono::milliseconds(2));
    frame.length = 5;
    return 0;
  };
  EXPECT_EQ(Now().workers, 200U);
  EXPECT_EQ(Now().logins, 1U);
  RawWebSocket socket(mode());
  ASSERT_TRUE(socket.Open(token()));
  {
    Connection preview(Server::Get().port(mode().https), mode().https);
    ASSERT_TRUE(preview.Send("GET /stream HTTP/1.1\r\nHost: a\r\n\r\n"));
    ASSERT_TRUE(preview.ReadUntilSize(StreamHead().size()));
    Connection kept(Server::Get().port(mode().https), mode().https);
    ASSERT_TRUE(kept.Send("GET /index.html HTTP/1.1\r\nHost: a\r\n\r\n"));
    ASSERT_TRUE(kept.ReadUntil([](const std::string& bytes) { return bytes.ends_with("front page"); }));
    EXPECT_TRUE(Eventually([] { return Now().idleConnections == 1; }));
    const Statistics now = Now();
    EXPECT_EQ(now.connections, 3U);
    EXPECT_EQ(now.busyWorkers, 2U);
    EXPECT_EQ(now.previews, 1U);
    EXPECT_EQ(now.webSockets, 1U);
    EXPECT_EQ(Answers(), (std::vector<uint64_t>{0, 1, 2, 0, 0, 0})) << "a stream is answered when it begins";
  }
  EXPECT_TRUE(Eventually([] { return Now().previews == 0 && Now().connections == 1; }));
  socket.connection().Close();
  EXPECT_TRUE(Eventually(IsQuiet));
  EXPECT_EQ(Now().logins, 0U) << "it ended with its WebSocket";
}

TEST_P(StatisticsTest, EachLimitCountsItsRefusals) {
  host().preview = [](PreviewFrame&) { return 0; };
  SdkAPIExtLimits limits{};
  limits.size = sizeof limits;
  limits.mostCustomBodyBytes = 3;
  limits.mostWebSockets = 1;
  ASSERT_EQ(SdkAPIExt_Limits_Set(&limits), 0);
  ExpectReply(Post("/custom/own", "four"), 413);
  EXPECT_EQ(Risen(&Statistics::refusedBodies), 1U);
  RawWebSocket first(mode());
  ASSERT_TRUE(first.Open(token()));
  RawWebSocket second(mode());
  EXPECT_EQ(WithoutDate(second.Shake("/websocket", token())), JsonReply(503));
  EXPECT_EQ(Risen(&Statistics::refusedWebSockets), 1U);
  limits = {};
  limits.size = sizeof limits;
  limits.mostStreams = 1;
  ASSERT_EQ(SdkAPIExt_Limits_Set(&limits), 0);
  ExpectReply(SendBare({"GET", "/stream", {}, ""}), 503);
  EXPECT_EQ(Risen(&Statistics::refusedStreams), 1U);
  EXPECT_EQ(Risen(&Statistics::refusedPreviews), 0U);
  limits.mostStreams = 0;
  limits.mostConnectionsPerAddress = 1;
  ASSERT_EQ(SdkAPIExt_Limits_Set(&limits), 0);
  Connection refused(Server::Get().port(mode().https), false);
  EXPECT_EQ(refused.ReadToEnd(), "");
  EXPECT_EQ(Risen(&Statistics::refusedConnections), 1U);
}

TEST_P(StatisticsTest, AMessageThatIsTooLongAndAClientThatDoesNotRead) {
  const SdkAPIExtWebSocketLimits limits{sizeof limits, 1, 1000, 10};
  ASSERT_EQ(SdkAPIExt_WebSocket_Limits_Set(&limits), 0);
  RawWebSocket talker(mode());
  ASSERT_TRUE(talker.Open(token()));
  ASSERT_TRUE(talker.Send(1, "0123456789a"));
  EXPECT_TRUE(talker.Read().has_value());
  EXPECT_EQ(Risen(&Statistics::refusedMessages), 1U);
  ASSERT_TRUE(LogIn("sleeper"));
  RawWebSocket sleeper(mode());
  ASSERT_TRUE(sleeper.Open("sleeper"));
  const std::string large(1000000, 'x');
  EXPECT_TRUE(Eventually([&] {
    WebSocketSendData("sleeper", large.c_str(), static_cast<int>(large.size()));
    return Risen(&Statistics::overrunWebSockets) == 1;
  }));
}

// Asked from everywhere while the server works, and while it stops.
TEST_P(StatisticsTest, MayBeAskedFromAnyThreadAtAnyTime) {
  host().deviceInfo = [](DeviceInfo&) {
    EXPECT_GE(Now().busyWorkers, 1U);
    return 0;
  };
  std::atomic<bool> over = false;
  std::thread asking([&] {
    while (!over) Now();
  });
  for (int i = 0; i < 20; ++i) EXPECT_EQ(Get("/dev_info").status(), 200);
  Server::Get().Stop();
  over = true;
  asking.join();
  const Statistics stopped = Now();
  EXPECT_EQ(stopped.uptimeSeconds, 0U);
  EXPECT_EQ(stopped.workers, 0U);
  EXPECT_GE(stopped.requests[2] - before_.requests[2], 20U) << "what was counted stays";
}

}  // namespace
}  // namespace integration
