// Events over real sockets: the state first, each client in its own time, answers to the asker alone.
#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "extension_lists.h"
#include "raw_websocket.h"
#include "sdkapi/extension.h"
#include "sdkapi/kit_events.h"
#include "server_test_base.h"

namespace integration {
namespace {

using sdktest::Sockets;

std::atomic<int> commands{0};
std::atomic<int> states{0};

void TellState(uint64_t id, const char*) {
  ++states;
  EXPECT_EQ(SdkKitEvents_Answer(id, "state"), 0);
  EXPECT_EQ(SdkKitEvents_Answer(id, "more state"), 0);
}

void CarryOut(uint64_t id, const char* token, const char* text, size_t length) {
  ++commands;
  EXPECT_EQ(std::string(text, length), text);
  EXPECT_NE(token, nullptr);
  SdkKitEvents_Publish("command", ("somebody said " + std::string(text)).c_str());
  SdkKitEvents_Answer(id, ("you said " + std::string(text)).c_str());
}

SdkKitEventsOptions Options() {
  SdkKitEventsOptions options{};
  options.size = sizeof options;
  options.connected = TellState;
  options.command = CarryOut;
  return options;
}

class EventsWireTest : public ModeTest {
 protected:
  using Socket = std::unique_ptr<RawWebSocket>;

  void SetUp() override {
    ModeTest::SetUp();
    commands = states = 0;
    SdkAPISerHandle table{};
    SdkKitEvents_Fill(&table);
    host().webSocket = [slot = table.WebSocketCb](int event, const std::string& token,
                                                  const std::string& data) {
      return slot(event, token.c_str(), data.c_str(), static_cast<int>(data.size()));
    };
  }
  void TearDown() override {
    SdkKitEvents_Stop();
    ModeTest::TearDown();
  }

  static void Start(const SdkKitEventsOptions& options = Options()) {
    ASSERT_EQ(SdkKitEvents_Start(&options), 0);
  }
  Socket Connect(const std::string& token) {
    auto socket = std::make_unique<RawWebSocket>(mode());
    EXPECT_TRUE(socket->Open(token));
    EXPECT_EQ(Text(*socket), "state");
    EXPECT_EQ(Text(*socket), "more state");
    return socket;
  }
  Socket Connect() { return Connect(token()); }
  static std::string Text(RawWebSocket& socket) {
    const auto frame = socket.Read();
    return frame && frame->opcode == 1 ? frame->payload : "no text";
  }
  // The server's close frame, our answer, the end.
  static void ExpectClosed(RawWebSocket& socket, int code, const std::string& reason) {
    const std::string head{static_cast<char>(code >> 8), static_cast<char>(code)};
    EXPECT_EQ(socket.Read(), (Frame{true, 8, head + reason}));
    EXPECT_TRUE(socket.Send(8, head));
    EXPECT_TRUE(socket.ReadEnd());
  }
};

INSTANTIATE_TEST_SUITE_P(Modes, EventsWireTest, AllModes(), ModeName);

TEST_P(EventsWireTest, TheStateThenTheChanges) {
  Start();
  const Socket socket = Connect();
  EXPECT_EQ(SdkKitEvents_Publish(nullptr, "a change"), 0);
  EXPECT_EQ(Text(*socket), "a change");
  const Socket later = Connect();
  EXPECT_EQ(SdkKitEvents_Publish("key", "another"), 0);
  EXPECT_EQ(Text(*later), "another");
  EXPECT_EQ(Text(*socket), "another");
  EXPECT_EQ(states, 2);
  EXPECT_EQ(SdkKitEvents_Clients(), 2);
}

TEST_P(EventsWireTest, AnAnswerReachesTheTabThatAsked) {
  Start();
  const Socket asker = Connect();
  const Socket other = Connect();
  EXPECT_TRUE(asker->SendText("hello"));
  EXPECT_EQ(Text(*asker), "somebody said hello");
  EXPECT_EQ(Text(*asker), "you said hello");
  EXPECT_TRUE(other->SendText("and I"));
  EXPECT_EQ(Text(*other), "somebody said hello");
  EXPECT_EQ(Text(*other), "somebody said and I");
  EXPECT_EQ(Text(*other), "you said and I");
  EXPECT_EQ(Text(*asker), "somebody said and I");
}

TEST_P(EventsWireTest, OfAKeyHeldBackTheNewestComes) {
  SdkKitEventsOptions options = Options();
  options.keyMilliseconds = 3600000;
  Start(options);
  const Socket socket = Connect();
  EXPECT_EQ(SdkKitEvents_Publish("key", "1"), 0);
  EXPECT_EQ(Text(*socket), "1");
  for (const char* const text : {"2", "3"}) EXPECT_EQ(SdkKitEvents_Publish("key", text), 0);
  EXPECT_EQ(SdkKitEvents_Publish(nullptr, "plain"), 0);
  for (const char* const text : {"3", "plain"}) EXPECT_EQ(Text(*socket), text);
}

TEST_P(EventsWireTest, AClientThatDoesNotReadCostsTheOthersNothing) {
  Start();
  const Socket slow = Connect();
  const Socket fast = Connect();
  const std::string text(32768, 'x');
  int sent = 0;
  while (SdkKitEvents_Clients() == 2 && sent < 10000) {
    EXPECT_EQ(SdkKitEvents_Publish(nullptr, text.c_str()), 0);
    EXPECT_EQ(Text(*fast), text);
    ++sent;
  }
  EXPECT_EQ(SdkKitEvents_Clients(), 1);
  auto frame = slow->Read();
  while (frame && frame->payload == text) frame = slow->Read();
  EXPECT_EQ(frame, (Frame{true, 8, "\x03\xf5too slow"}));
  EXPECT_EQ(SdkKitEvents_Publish("key", "still here"), 0);
  EXPECT_EQ(Text(*fast), "still here");
}

TEST_P(EventsWireTest, OnlyTextsOfTheDevicesOwnAreNotLeftOut) {
  Start();
  const Socket socket = Connect();
  int sent = 0;
  for (int i = 0; i < 20000; ++i) {
    const int result = SdkKitEvents_Publish(nullptr, std::to_string(i).c_str());
    if (result == 0) ++sent;
  }
  ASSERT_TRUE(Eventually([] { return SdkKitEvents_Publish(nullptr, "end") == 0; }));
  int got = 0;
  while (Text(*socket) != "end") ++got;
  EXPECT_EQ(got, sent);
  EXPECT_EQ(SdkKitEvents_Clients(), 1);
}

TEST_P(EventsWireTest, AnEndedLoginGetsNothingMore) {
  if (!mode().auth) GTEST_SKIP() << "there are no logins";
  Start();
  ASSERT_TRUE(LogIn("other-token"));
  const Socket socket = Connect("other-token");
  const Socket stays = Connect();
  EXPECT_EQ(LogOut("other-token").status(), 200);
  EXPECT_EQ(SdkKitEvents_Clients(), 1);
  EXPECT_EQ(SdkKitEvents_Publish(nullptr, "secret"), 0);
  ExpectClosed(*socket, 1008, "login ended");
  EXPECT_EQ(Text(*stays), "secret");
}

// One command of the flood is carried out in a second; all of it would take longer than the test waits.
TEST_P(EventsWireTest, AFloodOfCommandsHoldsUpItsSenderAlone) {
  SdkKitEventsOptions options = Options();
  options.commandsPerSecond = 1;
  Start(options);
  const Socket flood = Connect();
  const Socket other = Connect();
  for (int i = 0; i < 100; ++i) EXPECT_TRUE(flood->SendText("flood"));
  EXPECT_TRUE(other->SendText("mine"));
  std::string text = Text(*other);
  while (text.starts_with("somebody said ")) text = Text(*other);
  EXPECT_EQ(text, "you said mine");
  EXPECT_LT(commands, 50);
  SdkKitEvents_Stop();
  const int carriedOut = commands;
  EXPECT_TRUE(flood->Send(9, "ping"));
  auto frame = flood->Read();
  while (frame && frame->opcode == 1) frame = flood->Read();
  EXPECT_EQ(frame, (Frame{true, 10, "ping"}));
  EXPECT_EQ(commands, carriedOut);
}

TEST_P(EventsWireTest, AllTabsOfALoginShareItsRate) {
  SdkKitEventsOptions options = Options();
  options.loginCommandsPerSecond = 1;
  Start(options);
  const Socket first = Connect();
  const Socket second = Connect();
  for (int i = 0; i < 50; ++i) EXPECT_TRUE(first->SendText("one") && second->SendText("two"));
  EXPECT_TRUE(Eventually([] { return commands >= 3; }));
  EXPECT_LT(commands, 50);
  SdkKitEvents_Stop();
}

TEST_P(EventsWireTest, ALongOrBinaryMessageIsNoCommand) {
  Start();
  const Socket longOne = Connect();
  EXPECT_TRUE(longOne->SendText(std::string(65536, 'x')));
  EXPECT_EQ(Text(*longOne), "somebody said " + std::string(65536, 'x'));
  EXPECT_EQ(Text(*longOne), "you said " + std::string(65536, 'x'));
  EXPECT_TRUE(longOne->SendText(std::string(65537, 'x')));
  ExpectClosed(*longOne, 1009, "");
  EXPECT_TRUE(Eventually([] { return Sockets().empty(); }));
  if (mode().auth) {
    ASSERT_TRUE(LogIn(token()));
  }
  const Socket binary = Connect();
  EXPECT_TRUE(binary->Send(2, "bytes"));
  EXPECT_TRUE(binary->SendText("x"));
  EXPECT_EQ(Text(*binary), "somebody said x") << "the bytes are ignored, and end nothing";
  EXPECT_EQ(commands, 2);
}

TEST_P(EventsWireTest, AClientThatVanishedIsNotCounted) {
  Start();
  const Socket stays = Connect();
  {
    const Socket vanishes = Connect();
    EXPECT_EQ(SdkKitEvents_Clients(), 2);
    vanishes->connection().Abort();
    EXPECT_TRUE(Eventually([] { return SdkKitEvents_Clients() <= 1; }));
  }
}

TEST_P(EventsWireTest, OncePerSecondTheHostHasItsTurn) {
  SdkKitEventsOptions options = Options();
  options.second = [] { SdkKitEvents_Publish("status", "tick"); };
  Start(options);
  const Socket socket = Connect();
  EXPECT_EQ(Text(*socket), "tick");
  EXPECT_EQ(Text(*socket), "tick");
}

TEST(EventsTest, BadArgumentsAreRefused) {
  EXPECT_EQ(SdkKitEvents_Start(nullptr), -1);
  SdkKitEventsOptions options = Options();
  options.size = 4;
  EXPECT_EQ(SdkKitEvents_Start(&options), -1);
  options = Options();
  options.reserved = 1;
  EXPECT_EQ(SdkKitEvents_Start(&options), -1);
  EXPECT_EQ(SdkKitEvents_Publish(nullptr, "nothing runs"), -1);
  SdkKitEvents_Fill(nullptr);
  SdkKitEvents_Stop();

  options = Options();
  ASSERT_EQ(SdkKitEvents_Start(&options), 0);
  EXPECT_EQ(SdkKitEvents_Start(&options), -1);
  EXPECT_EQ(SdkKitEvents_Publish(nullptr, nullptr), -1);
  EXPECT_EQ(SdkKitEvents_Publish(nullptr, "\xff"), -1);
  EXPECT_EQ(SdkKitEvents_Publish(nullptr, std::string((1 << 20) + 1, 'x').c_str()), -1);
  EXPECT_EQ(SdkKitEvents_Publish("", "text"), -1);
  EXPECT_EQ(SdkKitEvents_Publish(std::string(128, 'k').c_str(), "text"), -1);
  EXPECT_EQ(SdkKitEvents_Publish(std::string(127, 'k').c_str(), "text"), 0);
  EXPECT_EQ(SdkKitEvents_Answer(77, "nobody"), -1);
  EXPECT_EQ(SdkKitEvents_Clients(), 0);
  SdkKitEvents_Stop();
  SdkKitEvents_Stop();
}

}  // namespace
}  // namespace integration
