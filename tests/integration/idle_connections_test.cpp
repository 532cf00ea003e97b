// Connections that wait for their client hold no worker, whatever they wait for.
#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <deque>
#include <random>
#include <thread>

#include "raw_websocket.h"
#include "sdkapi/extension.h"
#include "server_test_base.h"

namespace integration {
namespace {

// More than there are workers and places in the queue, of each kind.
constexpr int kIdle = 300;
// Far below the server's own time-outs of 10 and 60 s, far above an answer's time on a busy machine.
constexpr std::chrono::seconds kPromptly{kInstrumented ? 8 : 5};

const std::string kPage = "front page";

std::string PageRequest(const std::string& target = "/index.html") {
  return "GET " + target + " HTTP/1.1\r\nHost: a\r\n\r\n";
}

bool HoldsPages(const std::string& bytes, int count) {
  int found = 0;
  for (std::size_t at = 0; (at = bytes.find(kPage, at)) != std::string::npos; ++at) ++found;
  return found >= count;
}

bool IsBadRequest(const std::string& bytes) {
  return bytes.starts_with("HTTP/") && bytes.find(" 400 Bad Request\r\n") < bytes.find('\n');
}

// Reads until this many pages came on the connection.
bool ReadPages(Connection& client, int count) {
  return client.ReadUntil([&](const std::string& bytes) { return HoldsPages(bytes, count); });
}

bool AskForPage(Connection& client, int count) {
  return client.Send(PageRequest()) && ReadPages(client, count);
}

// The process's limit of open files for a test; back to the old one afterwards.
class FileLimit {
 public:
  explicit FileLimit(rlim_t soft) {
    getrlimit(RLIMIT_NOFILE, &old_);
    Set(soft);
  }
  ~FileLimit() { setrlimit(RLIMIT_NOFILE, &old_); }
  FileLimit(const FileLimit&) = delete;
  FileLimit& operator=(const FileLimit&) = delete;

  void Set(rlim_t soft) {
    rlimit changed = old_;
    changed.rlim_cur = std::min(soft, old_.rlim_max);
    setrlimit(RLIMIT_NOFILE, &changed);
  }

 private:
  rlimit old_{};
};

class IdleConnectionsTest : public ServerTest, public ::testing::WithParamInterface<bool> {
 protected:
  // The server reads the limit when it starts.
  IdleConnectionsTest() { Server::Get().Stop(); }

  void SetUp() override {
    Workspace::Get().WriteFile("www/index.html", kPage);
    Prepare({https(), false});
    host().deviceInfo = [](DeviceInfo& info) {
      info.timeout = 300;
      return 0;
    };
  }
  void TearDown() override {
    Server::Get().Stop();
    EXPECT_EQ(SdkAPIExt_Option_Set("num_threads", nullptr), 0);
    ServerTest::TearDown();
  }

  bool https() const { return GetParam(); }
  int port() const { return Server::Get().port(https()); }

  // Connections that sent these bytes below TLS and nothing more.
  std::deque<Connection> Raw(int count, const std::string& bytes) {
    std::deque<Connection> made;
    for (int i = 0; i < count; ++i) made.emplace_back(port(), false).Send(bytes);
    return made;
  }

  std::deque<Connection> Kept(int count) {
    std::deque<Connection> made;
    for (int i = 0; i < count; ++i) made.emplace_back(port(), https()).Send(PageRequest());
    for (Connection& client : made) EXPECT_TRUE(ReadPages(client, 1));
    return made;
  }

  void ExpectPromptAnswer() {
    const auto start = Clock::now();
    ExpectReply(Get("/dev_info"), 200, R"({"timeout":"300"})");
    EXPECT_LT(Clock::now() - start, kPromptly);
  }

  FileLimit limit_{1 << 16};
};

std::string SchemeName(const ::testing::TestParamInfo<bool>& scheme) {
  return scheme.param ? "Https" : "Http";
}

INSTANTIATE_TEST_SUITE_P(Schemes, IdleConnectionsTest, ::testing::Bool(), SchemeName);

TEST_P(IdleConnectionsTest, SilentOnesDelayNobody) {
  const auto silent = Raw(kIdle, "");
  ExpectPromptAnswer();
}

TEST_P(IdleConnectionsTest, KeptOnesDelayNobodyAndAreServedAgain) {
  auto kept = Kept(kIdle);
  ExpectPromptAnswer();
  for (Connection& client : kept) EXPECT_TRUE(client.Send(PageRequest()));
  for (Connection& client : kept) EXPECT_TRUE(ReadPages(client, 2));
}

// A delayed acknowledgement takes 40 ms or more. A busy machine slows some connections, not all.
TEST_P(IdleConnectionsTest, KeptAnswersWaitForNoAcknowledgement) {
  auto fastest = Clock::duration::max();
  for (int i = 0; i < 50; ++i) {
    Connection client(port(), https());
    const auto start = Clock::now();
    EXPECT_TRUE(AskForPage(client, 1) && AskForPage(client, 2));
    fastest = std::min<Clock::duration>(fastest, Clock::now() - start);
  }
  EXPECT_LT(fastest, std::chrono::milliseconds(35));
}

// The first byte of a head, or of a handshake.
TEST_P(IdleConnectionsTest, OneByteEachDelaysNobody) {
  const auto started = Raw(kIdle, https() ? "\x16" : "G");
  ExpectPromptAnswer();
}

TEST_P(IdleConnectionsTest, SilenceAfterTheHandshakeDelaysNobody) {
  std::deque<Connection> silent;
  for (int i = 0; i < kIdle; ++i) EXPECT_TRUE(silent.emplace_back(port(), https()).connected());
  ExpectPromptAnswer();
}

TEST_P(IdleConnectionsTest, HalfHeadsDelayNobodyAndAreCompleted) {
  // Few, as the last must be there before the first one's 10 s are over, under emulation, too.
  constexpr int kWorkers = 40;
  Server::Get().Stop();
  ASSERT_EQ(SdkAPIExt_Option_Set("num_threads", std::to_string(kWorkers).c_str()), 0);
  Server::Get().Ensure();
  std::deque<Connection> half;
  for (int i = 0; i < kWorkers + 10; ++i)
    half.emplace_back(port(), https()).Send("GET /index.html HTTP/1.1\r\nHo");
  ExpectPromptAnswer();
  for (Connection& client : half) {
    EXPECT_TRUE(client.Send("st: a\r\n\r\n"));
    EXPECT_TRUE(ReadPages(client, 1));
  }
}

TEST_P(IdleConnectionsTest, AHeadMayComeByteByByte) {
  Connection client(port(), https());
  for (int request = 1; request <= 3; ++request) {
    for (const char byte : PageRequest()) ASSERT_TRUE(client.Send(std::string(1, byte)));
    EXPECT_TRUE(ReadPages(client, request));
  }
}

// Requests cut at any place, several in one piece: the answers come whole and in their order.
TEST_P(IdleConnectionsTest, PipelinedRequestsAreAnsweredInOrder) {
  constexpr int kPages = 10;
  constexpr int kRequests = 500;
  std::string requests;
  std::string expected;
  for (int page = 0; page < kPages; ++page) {
    Workspace::Get().WriteFile("www/" + std::to_string(page), "<page " + std::to_string(page) + ">");
  }
  std::mt19937 random(1);
  for (int i = 0; i < kRequests; ++i) {
    const std::string page = std::to_string(random() % kPages);
    requests += PageRequest("/" + page);
    expected += "<page " + page + ">";
  }
  Connection client(port(), https());
  for (std::size_t at = 0; at < requests.size();) {
    const std::size_t piece = 1 + random() % 200;
    ASSERT_TRUE(client.Send(requests.substr(at, piece)));
    at += piece;
  }
  std::string got;
  client.ReadUntil([&](const std::string& bytes) {
    got.clear();
    for (std::size_t at = 0; (at = bytes.find("<page ", at)) != std::string::npos; ++at)
      got += bytes.substr(at, 8);
    return got.size() >= expected.size();
  });
  EXPECT_EQ(got, expected);
}

TEST_P(IdleConnectionsTest, AnIdleConnectionBecomesAWebSocket) {
  host().webSocket = [](int event, const std::string& token, const std::string& data) {
    if (event == 1) WebSocketSendData(token.c_str(), data.c_str(), static_cast<int>(data.size()));
    return 0;
  };
  RawWebSocket socket({https(), false});
  ASSERT_TRUE(AskForPage(socket.connection(), 1));
  ASSERT_TRUE(socket.connection().StaysOpen(std::chrono::milliseconds(100)));  // it is with the master now
  const std::size_t before = socket.connection().received().size();
  ASSERT_TRUE(socket.connection().Send(RawWebSocket::Request("/websocket", "anybody")));
  const std::string accepted = RawWebSocket::Accepted("anybody");
  ASSERT_TRUE(socket.connection().ReadUntilSize(before + accepted.size()));
  EXPECT_EQ(socket.connection().received().substr(before), accepted);
  socket.SkipReceived();
  ASSERT_TRUE(socket.SendText("back from the master"));
  EXPECT_EQ(socket.Read(), (Frame{true, 1, "back from the master"}));
}

// The time-outs and what the client gets at their end are those of a connection with a worker.
TEST_P(IdleConnectionsTest, TimeOutsEndTheWait) {
  const auto start = Clock::now();
  Connection silent(port(), false);
  Connection started(port(), false);
  Connection afterHandshake(port(), https());
  Connection half(port(), https());
  started.Send(https() ? "\x16\x03" : "GE");
  half.Send("GET /index.html HTTP/1.1\r\nHo");
  EXPECT_EQ(silent.ReadToEnd(), "");
  EXPECT_EQ(afterHandshake.ReadToEnd(), "");
  EXPECT_TRUE(IsBadRequest(half.ReadToEnd()));
  if (https()) {
    EXPECT_EQ(started.ReadToEnd(), "");
  } else {
    EXPECT_TRUE(IsBadRequest(started.ReadToEnd()));
  }
  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(9900));
}

TEST_P(IdleConnectionsTest, AStopClosesThemAll) {
  constexpr int kEach = 100;
  Server::Get().Stop();
  const int stopped = OpenFiles();
  Server::Get().Ensure();
  auto kept = Kept(kEach);
  auto silent = Raw(kEach, "");
  auto started = Raw(kEach, https() ? "\x16" : "G");
  for (int i = 0; i < kEach; ++i) kept.emplace_back(port(), https());
  const auto start = Clock::now();
  Server::Get().Stop();
  EXPECT_LT(Clock::now() - start, kPromptly);
  EXPECT_EQ(OpenFiles(), stopped + 4 * kEach);
  for (std::deque<Connection>* clients : {&kept, &silent, &started}) {
    for (Connection& client : *clients) {
      client.ReadToEnd();
      EXPECT_NE(client.end(), Connection::End::kTimeout);
    }
  }
}

// Above three quarters of the descriptor limit the connection that waits longest goes, a kept one first.
TEST_P(IdleConnectionsTest, TheLongestWaitMakesRoom) {
  constexpr int kLimit = 400;
  constexpr int kMost = kLimit / 4 * 3;
  Server::Get().Stop();
  limit_.Set(kLimit);
  Server::Get().Ensure();
  limit_.Set(1 << 16);  // the clients live in the same process
  // All of these have had an answer before there are too many: the kept ones go first.
  auto kept = Kept(kMost - 1);
  Connection silent(port(), https());
  auto others = Kept(10);
  const auto closed = [&] {
    return std::count_if(kept.begin(), kept.end(),
                         [](Connection& client) { return !client.StaysOpen(std::chrono::milliseconds(0)); });
  };
  EXPECT_TRUE(Eventually([&] { return closed() == 10; }));
  EXPECT_TRUE(AskForPage(silent, 1));
  EXPECT_TRUE(AskForPage(others.back(), 2));
  ExpectPromptAnswer();
}

// Clients that come back, leave, stop half-way and are cut off by a stop.
class IdleStorm {
 public:
  void Run(unsigned int seed, bool https) {
    std::mt19937 random(seed);
    while (!over_) {
      Connection client(Server::Get().port(https), https);
      if (!client.connected()) continue;
      for (int page = 1; page < 20 && !over_; ++page) {
        if (!Step(client, random, page)) break;
      }
    }
  }
  void End() { over_ = true; }
  long pages() const { return pages_; }

 private:
  bool Step(Connection& client, std::mt19937& random, int page) {
    const unsigned long choice = random() % 40;
    if (choice == 0) return client.Abort(), false;
    if (choice == 1) return client.Send("GET /index.html HT"), false;
    if (choice < 20 && !client.StaysOpen(std::chrono::milliseconds(choice * 2))) return false;
    if (!AskForPage(client, page)) {
      EXPECT_TRUE(over_) << "a page is missing";
      return false;
    }
    ++pages_;
    return true;
  }

  std::atomic<bool> over_{false};
  std::atomic<long> pages_{0};
};

TEST(IdleStormTest, ComesBackLeavesAndIsStopped) {
  const FileLimit limit(1 << 16);
  Server::Get().Stop();
  const int stopped = OpenFiles();
  for (int round = 0; round < 3; ++round) {
    Workspace::Get().WriteFile("www/index.html", kPage);
    Server::Get().Ensure();
    IdleStorm storm;
    std::vector<std::thread> clients;
    for (unsigned int i = 0; i < 24; ++i) clients.emplace_back([&storm, i] { storm.Run(i + 1, i % 2 == 0); });
    EXPECT_TRUE(Eventually([&] { return storm.pages() > 500; }));
    storm.End();
    Server::Get().Stop();
    for (std::thread& client : clients) client.join();
    EXPECT_EQ(OpenFiles(), stopped);
  }
}

}  // namespace
}  // namespace integration
