// A stop while requests stream to connected clients and their routes are being registered again.
#include <civetweb.h>

#include <atomic>
#include <cstring>
#include <future>
#include <memory>
#include <thread>

#include "server_test_base.h"

namespace integration {
namespace {

constexpr std::chrono::seconds kStopLimit{kInstrumented ? 45 : 15};
constexpr long kSomeBlocks = 20;

// The streaming function of the host: it ends when its writes fail, which only the stop makes them do.
std::atomic<bool> abandoned{false};
std::atomic<long> blocks{0};
std::atomic<int> streaming{0};

int StreamBlocks(mg_connection* conn) {
  static const std::string block(10000, 'b');
  ++streaming;
  while (!abandoned && mg_write(conn, block.data(), block.size()) > 0) ++blocks;
  --streaming;
  return 0;
}

int Stream(mg_connection* conn, CustomReqInfo*) { return StreamBlocks(conn); }
int Answer(mg_connection* conn, CustomReqInfo*) { return SendReponseInfo(conn, 200, 0, "later", 5); }

// The same mistake as a host may make it: the route that serves the request is registered from within.
int RegisterItself(mg_connection*, CustomReqInfo*) {
  ++streaming;
  SdkAPISer_Custom_Get_Post_Api_Add("/endless$", Answer);
  --streaming;
  return 0;
}

int OfferEndlessFile(mg_connection*, CustomDownloadInfo* info) {
  std::strcpy(info->downloadName, "zeros");
  std::strcpy(info->filePath, "/dev/zero");
  return 0;
}

// A client that reads for as long as the server sends, or the test goes on.
class Reader {
 public:
  explicit Reader(const Mode& mode)
      : client_(Server::Get().port(mode.https), mode.https), thread_([this] { Read(); }) {}
  ~Reader() { thread_.join(); }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  long bytes() const { return bytes_; }

 private:
  void Read() {
    client_.Send(HttpRequest{"GET", "/endless", {}, ""}.Bytes());
    while (client_.end() == Connection::End::kOpen && !abandoned) {
      client_.ReadUntilSize(1);
      bytes_ += static_cast<long>(client_.DropReceived());
    }
    client_.Close();
  }

  Connection client_;
  std::atomic<long> bytes_{0};
  std::thread thread_;
};

class StopTest : public ServerTest, public ::testing::WithParamInterface<bool> {
 protected:
  void SetUp() override {
    abandoned = false;
    blocks = 0;
    Prepare(Mode{GetParam(), false});
  }
  void TearDown() override {
    Server::Get().Stop();
    ServerTest::TearDown();
  }

  static bool MoreIsRead(const Reader& reader) {
    const long before = reader.bytes();
    return Eventually([&] { return reader.bytes() > before + kSomeBlocks * 10000; });
  }

  // Stops in time or lets the functions go, so that a failure ends, too.
  static void StopInTime() {
    std::future<void> stop = std::async(std::launch::async, [] { Server::Get().Stop(); });
    EXPECT_EQ(stop.wait_for(kStopLimit), std::future_status::ready);
    abandoned = true;
  }
};

INSTANTIATE_TEST_SUITE_P(Schemes, StopTest, ::testing::Bool(),
                         [](const auto& scheme) { return scheme.param ? "Https" : "Http"; });

TEST_P(StopTest, EndsAStreamWhoseRouteIsBeingReplaced) {
  ASSERT_EQ(SdkAPISer_Custom_Get_Post_Api_Add("/endless$", Stream), 0);
  const Reader reader(mode());
  ASSERT_TRUE(MoreIsRead(reader));
  std::atomic<int> returned{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      SdkAPISer_Custom_Get_Post_Api_Add("/endless$", Answer);
      ++returned;
    });
  }
  EXPECT_TRUE(MoreIsRead(reader));
  EXPECT_EQ(returned, 0) << "a registration waits for the requests in its route";
  StopInTime();
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(streaming, 0);

  Prepare(mode());
  ExpectNotFound(Get("/endless"));
  ASSERT_EQ(SdkAPISer_Custom_Get_Post_Api_Add("/endless$", Answer), 0);
  EXPECT_TRUE(Get("/endless").raw.ends_with("\r\n\r\nlater"));
}

TEST_P(StopTest, EndsADownloadWhoseRouteIsBeingReplaced) {
  ASSERT_EQ(SdkAPISer_Custom_Download_Api_Add("/endless$", OfferEndlessFile), 0);
  const Reader reader(mode());
  ASSERT_TRUE(MoreIsRead(reader));
  std::thread registration([] { SdkAPISer_Custom_Download_Api_Add("/endless$", OfferEndlessFile); });
  EXPECT_TRUE(MoreIsRead(reader));
  StopInTime();
  registration.join();
}

TEST_P(StopTest, EndsARegistrationThatWaitsForItself) {
  ASSERT_EQ(SdkAPISer_Custom_Get_Post_Api_Add("/endless$", RegisterItself), 0);
  const Reader reader(mode());
  ASSERT_TRUE(Eventually([] { return streaming == 1; }));
  StopInTime();
  EXPECT_EQ(streaming, 0);
}

TEST_P(StopTest, TwoAtOnceBothReturnWhenAllHasEnded) {
  ASSERT_EQ(SdkAPISer_Custom_Get_Post_Api_Add("/endless$", Stream), 0);
  const Reader reader(mode());
  ASSERT_TRUE(MoreIsRead(reader));
  std::vector<std::future<int>> stops;
  for (int i = 0; i < 2; ++i) {
    stops.push_back(std::async(std::launch::async, [] {
      SdkAPISer_Stop(nullptr);
      return streaming.load();
    }));
  }
  for (std::future<int>& stop : stops) EXPECT_EQ(stop.get(), 0) << "a request still ran";
}

TEST_P(StopTest, RegistrationsFromManyThreadsMeetManyStops) {
  std::atomic<bool> over{false};
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      while (!over) SdkAPISer_Custom_Get_Post_Api_Add("/endless$", Stream);
    });
  }
  for (int round = 0; round < 3; ++round) {
    Prepare(mode());
    ASSERT_EQ(SdkAPISer_Custom_Get_Post_Api_Add("/endless$", Stream), 0);
    std::vector<std::unique_ptr<Reader>> readers;
    for (int i = 0; i < 3; ++i) readers.push_back(std::make_unique<Reader>(mode()));
    EXPECT_TRUE(Eventually([] { return streaming == 3; }));
    StopInTime();
    abandoned = false;
    EXPECT_EQ(streaming, 0);
  }
  over = true;
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace integration
