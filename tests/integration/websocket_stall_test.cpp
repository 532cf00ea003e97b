// WebSocket clients that do not read, or hardly: what they get, and that nobody waits for them.
#include <sys/mman.h>
#include <sys/resource.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "raw_websocket.h"
#include "server_test_base.h"

namespace integration {
namespace {

constexpr std::size_t kMiB = 1048576;
// More than the sockets of both sides take when nobody reads.
constexpr std::size_t kHuge = 16 * kMiB;
// What waits beside one frame.
constexpr int kMostFrames = 512;
// Every send that waited for a client would take 10 s, and a test makes many; the rest is room for a busy
// machine.
constexpr std::chrono::seconds kAtOnce{40};
constexpr std::chrono::seconds kStop{kInstrumented ? 10 : 5};

Frame Text(const std::string& text) { return {true, 1, text}; }

// The bytes of a text frame.
std::string Bytes(const std::string& text) {
  std::string head("\x81", 1);
  const std::size_t extra = text.size() < 126 ? 0 : text.size() < 65536 ? 2 : 8;
  head += static_cast<char>(extra == 0 ? text.size() : extra == 2 ? 126 : 127);
  for (std::size_t i = extra; i-- > 0;) head += static_cast<char>(text.size() >> 8 * i & 0xff);
  return head + text;
}

std::string Numbered(int number) {
  return std::to_string(number) + ":" + std::string(static_cast<std::size_t>(number * 37 % 1500), 'n');
}

void SendTo(const std::string& token, const std::string& text) {
  EXPECT_EQ(WebSocketSendData(token.c_str(), text.c_str(), static_cast<int>(text.size())), 0);
}

void SendToAll(const std::string& text) {
  EXPECT_EQ(WebSocketSendDataALL(text.c_str(), static_cast<int>(text.size())), 0);
}

class StallTest : public ServerTest, public ::testing::WithParamInterface<Mode> {
 protected:
  using Socket = std::unique_ptr<RawWebSocket>;

  void SetUp() override { Prepare(GetParam()); }
  void TearDown() override {
    // Also a connection that somebody else ended.
    EXPECT_TRUE(Eventually([this] { return Events("2") == Events("0"); }));
    ServerTest::TearDown();
  }

  Socket Connect(const std::string& name) {
    auto socket = std::make_unique<RawWebSocket>(mode());
    EXPECT_TRUE(socket->Open(name)) << socket->connection().received();
    return socket;
  }
  // The client may see the end of the handshake before the server does: until then only a little waits.
  static void WaitUntilReady(RawWebSocket& socket, const std::string& name) {
    SendTo(name, "ready");
    auto frame = socket.Read();
    while (frame.has_value() && frame->payload != "ready") frame = socket.Read();
    EXPECT_EQ(frame, Text("ready"));
  }
  // Has a huge frame half written: everything sent to it from now on waits.
  Socket ConnectStalled(const std::string& name) {
    Socket socket = Connect(name);
    WaitUntilReady(*socket, name);
    SendTo(name.c_str(), huge_);
    return socket;
  }

  int Events(const std::string& event) {
    int count = 0;
    for (const Call& call : host().Calls("WebSocketCb")) count += call.args[0] == event ? 1 : 0;
    return count;
  }
  bool Ends(int connections) {
    return Eventually([&] { return Events("2") == connections; });
  }

  void ExpectAtOnce(const std::function<void()>& work) {
    const auto begun = Clock::now();
    work();
    EXPECT_LT(Clock::now() - begun, kAtOnce);
  }

  // The client reads a part of the frames, in order, and then the end.
  static void ExpectPartOf(RawWebSocket& socket, const std::string& head, const std::string& frames) {
    const std::string received = socket.connection().ReadToEnd().substr(head.size());
    EXPECT_NE(socket.connection().end(), Connection::End::kTimeout);
    EXPECT_LT(received.size(), frames.size());
    EXPECT_TRUE(frames.starts_with(received));
  }

  const std::string huge_ = std::string(kHuge, 'h');
};

INSTANTIATE_TEST_SUITE_P(Schemes, StallTest, ::testing::Values(Mode{false, false}, Mode{true, false}),
                         ModeName);

TEST_P(StallTest, NobodyWaitsForTwoClientsThatDoNotRead) {
  ExpectAtOnce([&] {
    const Socket first = ConnectStalled("first");
    const Socket second = ConnectStalled("second");
    const Socket reader = Connect("reader");
    for (int i = 0; i < 30; ++i) {
      SendToAll(Numbered(i));
      EXPECT_EQ(reader->Read(), Text(Numbered(i)));
      const std::string name = "other" + std::to_string(i);
      Socket other = Connect(name);
      SendTo(name.c_str(), "welcome");
      EXPECT_EQ(other->Read(), Text("welcome"));
      other.reset();
      if (i % 10 == 0) ExpectReply(Get("/dev_info"), 200, "{}");
    }
  });
}

TEST_P(StallTest, NobodyWaitsForAClientThatDrips) {
  const Socket dripping = ConnectStalled("drip");
  const Socket reader = Connect("reader");
  ExpectAtOnce([&] {
    for (int i = 0; i < 200; ++i) {
      dripping->connection().ReadUntilSize(dripping->connection().received().size() + 1);
      SendToAll(Numbered(i));
      EXPECT_EQ(reader->Read(), Text(Numbered(i)));
    }
  });
}

TEST_P(StallTest, AfterAStallTheClientReadsAllOfItInOrder) {
  const Socket socket = ConnectStalled("slow");
  for (int i = 0; i < kMostFrames - 1; ++i) SendTo("slow", Numbered(i));
  ASSERT_TRUE(socket->Send(9, "still there?"));
  EXPECT_TRUE(socket->Read() == Text(huge_));
  for (int i = 0; i < kMostFrames - 1; ++i) ASSERT_EQ(socket->Read(), Text(Numbered(i)));
  EXPECT_EQ(socket->Read(), (Frame{true, 10, "still there?"}));
  SendTo("slow", "and on");
  EXPECT_EQ(socket->Read(), Text("and on"));
}

TEST_P(StallTest, OneFrameTooManyEndsTheConnection) {
  const Socket socket = ConnectStalled("stuck");
  const std::string head = socket->connection().received();
  for (int i = 0; i < kMostFrames; ++i) SendTo("stuck", "");
  ASSERT_TRUE(socket->SendText("no end yet"));
  EXPECT_TRUE(Eventually([&] { return Events("1") == 1; }));
  EXPECT_EQ(Events("2"), 0);
  SendTo("stuck", "");
  EXPECT_TRUE(Ends(1));  // although nobody has read
  SendTo("stuck", "too late");
  ExpectPartOf(*socket, head, Bytes(huge_));
}

TEST_P(StallTest, OneByteTooManyEndsTheConnection) {
  const Socket socket = ConnectStalled("stuck");
  const std::string head = socket->connection().received();
  for (int i = 0; i < 16; ++i) SendTo("stuck", std::string(65532, 'x'));  // 64 KiB with its head
  ASSERT_TRUE(socket->SendText("no end yet"));
  EXPECT_TRUE(Eventually([&] { return Events("1") == 1; }));
  EXPECT_EQ(Events("2"), 0);
  SendTo("stuck", "");
  EXPECT_TRUE(Ends(1));
  ExpectPartOf(*socket, head, Bytes(huge_));
}

TEST_P(StallTest, OneFrameOfAnySizeFitsInEveryPlace) {
  for (const bool hugeFirst : {true, false}) {
    const Socket socket = Connect("snapshot");
    std::vector<std::string> texts(17, std::string(60000, 'x'));
    texts.insert(hugeFirst ? texts.begin() : texts.end(), huge_);
    for (const std::string& text : texts) SendTo("snapshot", text);
    for (const std::string& text : texts) ASSERT_TRUE(socket->Read() == Text(text));
    socket->connection().Close();
    EXPECT_TRUE(Eventually([this] { return Events("2") == Events("0"); }));
  }
}

TEST_P(StallTest, TheOtherClientsLoseNothingWhenOneIsEnded) {
  const Socket stuck = ConnectStalled("stuck");
  const Socket reader = Connect("reader");
  for (int i = 0; i < 600; ++i) {
    SendToAll(Numbered(i));
    ASSERT_EQ(reader->Read(), Text(Numbered(i)));
  }
  EXPECT_TRUE(Ends(1));
}

// What a client sends beside its stall still reaches the host.
TEST_P(StallTest, AStalledClientIsStillHeard) {
  const Socket socket = ConnectStalled("stuck");
  for (int i = 1; i <= 3; ++i) {
    ASSERT_TRUE(socket->SendText("text"));
    EXPECT_TRUE(Eventually([&] { return Events("1") == i; }));
  }
  socket->connection().Abort();
  EXPECT_TRUE(Ends(1));
}

// An echo to a client that is slow to read holds back the client, it does not end it.
TEST_P(StallTest, AnEchoHoldsItsClientBack) {
  if (mode().https) return;  // the client reads and writes on two threads
  host().webSocket = [](int event, const std::string& token, const std::string& data) {
    return event == 1 ? WebSocketSendData(token.c_str(), data.c_str(), static_cast<int>(data.size())) : 0;
  };
  const Socket socket = Connect("echo");
  const std::string text(300000, 'e');
  std::thread writer([&] {
    for (int i = 0; i < 100; ++i) EXPECT_TRUE(socket->SendText(text));
  });
  EXPECT_FALSE(
      Eventually([&] { return Events("2") > 0 || Events("1") == 100; }, std::chrono::milliseconds(500)));
  for (int i = 0; i < 100; ++i) EXPECT_TRUE(socket->Read() == Text(text)) << i;
  writer.join();
}

TEST_P(StallTest, WhatWasSentBeforeTheHostsCloseStillArrives) {
  host().webSocket = [this](int event, const std::string& token, const std::string&) {
    if (event != 1) return 0;
    SendTo(token, huge_);
    SendTo(token, "bye");
    return 1;
  };
  const Socket socket = Connect("leaving");
  ASSERT_TRUE(socket->SendText("end it"));
  EXPECT_TRUE(Eventually([&] { return Events("1") == 1; }));
  EXPECT_TRUE(socket->Read() == Text(huge_));
  EXPECT_EQ(socket->Read(), Text("bye"));
  EXPECT_TRUE(socket->ReadEnd());
}

TEST_P(StallTest, AStalledClientThatVanishesIsForgotten) {
  const int files = OpenFiles();
  Socket socket = ConnectStalled("gone");
  for (int i = 0; i < 100; ++i) SendTo("gone", Numbered(i));
  socket->connection().Abort();
  EXPECT_TRUE(Ends(1));
  EXPECT_TRUE(Eventually([&] { return OpenFiles() <= files; }));
}

TEST_P(StallTest, AStopWaitsForNoClient) {
  const int files = OpenFiles();
  std::vector<Socket> sockets;
  for (const char* const name : {"one", "two", "three"}) sockets.push_back(ConnectStalled(name));
  std::atomic<bool> over{false};
  std::thread sender([&] {
    for (int i = 0; !over; ++i) SendToAll(Numbered(i % 100));
  });
  EXPECT_TRUE(Ends(3));  // they were past the bound
  for (const char* const name : {"four", "five"}) sockets.push_back(ConnectStalled(name));
  const auto begun = Clock::now();
  Server::Get().Stop();
  EXPECT_LT(Clock::now() - begun, kStop);
  over = true;
  sender.join();
  EXPECT_EQ(Events("2"), 5);
  sockets.clear();
  EXPECT_LE(OpenFiles(), files);
}

// The answer to a client comes at once, also when it is two frames: the second must not wait until the client
// acknowledges the first, which takes it 40 ms.
TEST_P(StallTest, TheSecondOfTwoFramesDoesNotWait) {
  host().webSocket = [](int event, const std::string& token, const std::string& data) {
    if (event == 1) WebSocketSendData(token.c_str(), data.c_str(), static_cast<int>(data.size()));
    if (event == 1) WebSocketSendData(token.c_str(), "second", 6);
    return 0;
  };
  const Socket socket = Connect("two");
  const auto begun = Clock::now();
  for (int i = 0; i < 1500; ++i) {
    ASSERT_TRUE(socket->SendText("first"));
    ASSERT_EQ(socket->Read(), Text("first"));
    ASSERT_EQ(socket->Read(), Text("second"));
  }
  EXPECT_LT(Clock::now() - begun, kAtOnce);
}

// Bursts are gathered into packets; the last frame of each must come without another one behind it.
TEST_P(StallTest, TheEndOfABurstDoesNotWait) {
  const Socket socket = Connect("burst");
  const auto begun = Clock::now();
  for (int burst = 0; burst < 100; ++burst) {
    for (int i = 0; i < 50; ++i) SendTo("burst", Numbered(i));
    for (int i = 0; i < 50; ++i) ASSERT_EQ(socket->Read(), Text(Numbered(i)));
  }
  EXPECT_LT(Clock::now() - begun, kAtOnce);
}

// A frame that can be neither written nor kept ends the connection: nothing is lost in silence.
TEST_P(StallTest, WithoutMemoryForAFrameTheConnectionEnds) {
  if (kInstrumented) return;  // sanitizers end the process instead
  constexpr std::size_t kSize = 1U << 30;
  void* const pages = mmap(nullptr, kSize, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  ASSERT_NE(pages, MAP_FAILED);
  const Socket socket = Connect("poor");
  WaitUntilReady(*socket, "poor");
  SendTo("poor", "whole");
  rlimit before{};
  getrlimit(RLIMIT_AS, &before);
  long pagesInUse = 0;
  std::FILE* const file = std::fopen("/proc/self/statm", "r");
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(std::fscanf(file, "%ld", &pagesInUse), 1);
  std::fclose(file);
  const rlimit tight{static_cast<rlim_t>(pagesInUse * sysconf(_SC_PAGESIZE)) + kSize / 2, before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_AS, &tight), 0);
  WebSocketSendData("poor", static_cast<const char*>(pages), static_cast<int>(kSize));
  setrlimit(RLIMIT_AS, &before);
  EXPECT_EQ(socket->Read(), Text("whole"));
  EXPECT_TRUE(socket->ReadEnd());
  EXPECT_TRUE(Ends(1));
  munmap(pages, kSize);
}

// How long the storm lasts; longer runs are asked for through the environment.
std::chrono::milliseconds Duration() {
  const char* const seconds = std::getenv("SDKAPI_STORM_SECONDS");
  return std::chrono::milliseconds(seconds != nullptr ? 1000 * std::atol(seconds) : 1500);
}

// The frames that a client read were whole, and those to all in order; then came anything.
void CheckFrames(RawWebSocket& socket, int most) {
  int last = -1;
  for (int i = 0; i < most; ++i) {
    const auto frame = socket.Read();
    if (!frame.has_value()) return;
    if (frame->opcode == 10) continue;
    EXPECT_TRUE(frame->final && frame->opcode == 1);
    const int number = std::atoi(frame->payload.c_str());
    EXPECT_TRUE(frame->payload == Numbered(number) || frame->payload.size() == kMiB);
    if (frame->payload.size() == kMiB) continue;
    EXPECT_GT(number, last);
    last = number;
  }
}

void StepOfStorm(const Mode& mode, unsigned int kind) {
  RawWebSocket socket(mode);
  if (!socket.Open("storm")) return;
  socket.Send(9, "ping");
  if (kind == 0) {
    for (int i = 0; i < 50; ++i) socket.connection().ReadUntilSize(socket.connection().received().size() + 1);
  } else if (kind == 1) {
    CheckFrames(socket, 40);
  } else if (kind == 2) {
    socket.Send(8, "");
  }
  if (kind == 3) socket.connection().Abort();
}

TEST_P(StallTest, AStormOfSlowClients) {
  const int files = OpenFiles();
  std::atomic<bool> over{false};
  std::atomic<bool> quiet{false};
  std::vector<std::thread> hosts;
  hosts.emplace_back([&] {
    for (int i = 0; !quiet; ++i) {
      SendToAll(Numbered(i));
      std::this_thread::sleep_for(std::chrono::microseconds(300));
    }
  });
  hosts.emplace_back([&] {
    const std::string large(kMiB, 'L');
    while (!quiet) {
      SendTo("storm", large);
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
  });
  std::vector<std::thread> clients;
  for (unsigned int seed = 0; seed < 8; ++seed) {
    clients.emplace_back([&, seed] {
      std::mt19937 random(seed);
      while (!over) StepOfStorm(mode(), static_cast<unsigned int>(random() % 5));
    });
  }
  const Socket stuck = Connect("stuck");
  std::this_thread::sleep_for(Duration());
  over = true;
  for (std::thread& thread : clients) thread.join();
  quiet = true;
  for (std::thread& thread : hosts) thread.join();
  stuck->connection().Close();
  EXPECT_TRUE(Eventually([this] { return Events("2") == Events("0"); }));
  EXPECT_TRUE(Eventually([&] { return OpenFiles() <= files; }));
}

}  // namespace
}  // namespace integration
