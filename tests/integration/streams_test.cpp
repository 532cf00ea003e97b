// Previews and WebSockets together: as many as leave workers for everybody else, and no more.
#include <algorithm>
#include <deque>
#include <thread>

#include "raw_websocket.h"
#include "server_test_base.h"

namespace integration {
namespace {

constexpr std::size_t kMostStreams = 184;  // of 200 workers
constexpr std::size_t kPreviews = 100;

class StreamsTest : public ModeTest {
 protected:
  void SetUp() override {
    ModeTest::SetUp();
    host().deviceInfo = [](DeviceInfo& info) {
      info.timeout = 300;
      return 0;
    };
    host().preview = [](PreviewFrame& frame) {
      if (frame.state == 1) std::this_thread::sleep_for(std::chrono::milliseconds(100));
      frame.length = 100;
      return 0;
    };
  }

  void TearDown() override {
    viewers_.clear();
    listeners_.clear();
    ModeTest::TearDown();
  }

  void Watch() {
    Connection& viewer = viewers_.emplace_back(Server::Get().port(mode().https), mode().https);
    ASSERT_TRUE(viewer.Send("GET /preview/TX HTTP/1.1\r\nHost: a\r\n\r\n"));
    ASSERT_TRUE(viewer.ReadUntilSize(StreamHead().size()));
    ASSERT_TRUE(viewer.received().starts_with(StreamHead()));
  }
  void Listen() { ASSERT_TRUE(listeners_.emplace_back(mode()).Open("anybody")); }
  void FillTheRoom() {
    while (viewers_.size() < kPreviews) ASSERT_NO_FATAL_FAILURE(Watch());
    while (listeners_.size() < kMostStreams - kPreviews) ASSERT_NO_FATAL_FAILURE(Listen());
  }

  Response TryToWatch() { return SendBare({"GET", "/stream", {}, ""}); }
  std::string TryToListen() {
    RawWebSocket client(mode());
    return client.Shake("/websocket", "anybody");
  }
  void ExpectARefusedHandshake() {
    const std::string answer = TryToListen();
    EXPECT_NE(answer, RawWebSocket::Accepted("anybody"));
    EXPECT_FALSE(answer.starts_with("HTTP/1.1 101")) << answer;
  }
  int Opened() {
    const std::vector<Call> calls = host().Calls("PreviewCb");
    return static_cast<int>(
        std::count_if(calls.begin(), calls.end(), [](const Call& call) { return call.args[1] == "0"; }));
  }

  std::deque<Connection> viewers_;
  std::deque<RawWebSocket> listeners_;
};

INSTANTIATE_TEST_SUITE_P(Schemes, StreamsTest, ::testing::Values(Mode{false, false}, Mode{true, false}),
                         ModeName);

TEST_P(StreamsTest, LeaveWorkersForOthers) {
  ASSERT_NO_FATAL_FAILURE(FillTheRoom());
  for (int i = 0; i < 3; ++i) {
    ExpectReply(TryToWatch(), 503);
    ExpectARefusedHandshake();
    ExpectReply(Get("/dev_info"), 200, R"({"timeout":"300"})");
  }
  EXPECT_EQ(Opened(), static_cast<int>(kPreviews)) << "a preview without room is not opened";
  EXPECT_EQ(LogCapture::Count(4, "no room for another stream!!!!", "sdkapi"), 6);

  viewers_.pop_back();
  EXPECT_TRUE(Eventually([&] { return TryToListen() == RawWebSocket::Accepted("anybody"); }));
  listeners_.pop_back();
  host().preview = [](PreviewFrame& frame) { return frame.state; };  // a stream without pictures
  EXPECT_TRUE(Eventually([&] { return TryToWatch().raw == StreamHead(); }));
}

}  // namespace
}  // namespace integration
