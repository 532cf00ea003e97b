// Single WebSockets in their host's hand, over real sockets: sends, closes, whole messages, bounds.
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "extension_lists.h"
#include "raw_websocket.h"
#include "sdkapi/extension.h"
#include "server_test_base.h"

namespace integration {
namespace {

using sdktest::Sockets;

std::mutex messagesMutex;
std::vector<std::string> messages;

int TakeMessage(uint64_t id, const char*, int frame, const char* data, size_t length) {
  EXPECT_EQ(SdkAPIExt_WebSocket_Current(), id);
  const std::lock_guard lock(messagesMutex);
  messages.push_back((frame == kExtText ? "text " : "bytes ") + std::string(data, length));
  return 0;
}

std::vector<std::string> Messages() {
  const std::lock_guard lock(messagesMutex);
  return messages;
}

class WebSocketControlTest : public ModeTest {
 protected:
  using Socket = std::unique_ptr<RawWebSocket>;

  void SetUp() override {
    ModeTest::SetUp();
    const std::lock_guard lock(messagesMutex);
    messages.clear();
  }
  void TearDown() override {
    SdkAPIExt_WebSocket_Slots_Set(nullptr);
    SdkAPIExt_WebSocket_Limits_Set(nullptr);
    ModeTest::TearDown();
  }

  Socket Connect() {
    auto socket = std::make_unique<RawWebSocket>(mode());
    EXPECT_TRUE(socket->Open(token()));
    return socket;
  }
  // The handshake is over for the server, too. Before that it keeps frames aside, drops what is too much, and
  // ends nobody for it.
  Socket ConnectWhole() {
    auto socket = Connect();
    EXPECT_EQ(SdkAPIExt_WebSocket_Send(NewestId(), kExtText, "open", 4), 0);
    EXPECT_EQ(socket->Read(), (Frame{true, 1, "open"}));
    return socket;
  }
  static uint64_t NewestId() { return Sockets().back().id; }
  static void SetLimits(uint32_t frames, uint64_t bytes, uint64_t message) {
    const SdkAPIExtWebSocketLimits limits{sizeof limits, frames, bytes, message};
    ASSERT_EQ(SdkAPIExt_WebSocket_Limits_Set(&limits), 0);
  }
  static void TakeWholeMessages() {
    const SdkAPIExtWebSocketSlots slots{sizeof slots, 0, TakeMessage, nullptr};
    ASSERT_EQ(SdkAPIExt_WebSocket_Slots_Set(&slots), 0);
  }
  // The server's close frame, our answer, the end.
  static void ExpectClosed(RawWebSocket& socket, const std::string& payload) {
    EXPECT_EQ(socket.Read(), (Frame{true, 8, payload}));
    EXPECT_TRUE(socket.Send(8, payload.substr(0, 2)));
    EXPECT_TRUE(socket.ReadEnd());
  }
  static void ExpectAlive(RawWebSocket& socket) {
    EXPECT_TRUE(socket.Send(9, "are you there"));
    EXPECT_EQ(socket.Read(), (Frame{true, 10, "are you there"}));
  }
};

INSTANTIATE_TEST_SUITE_P(Modes, WebSocketControlTest, AllModes(), ModeName);

TEST_P(WebSocketControlTest, TwoTabsOfOneTokenAreToldApart) {
  const Socket first = Connect();
  const uint64_t one = NewestId();
  const Socket second = Connect();
  const uint64_t two = NewestId();
  EXPECT_NE(one, two);
  EXPECT_STREQ(Sockets()[0].address, "127.0.0.1");
  EXPECT_NE(Sockets()[0].port, Sockets()[1].port);
  const std::string bytes("\0\xff\x80", 3);
  EXPECT_EQ(SdkAPIExt_WebSocket_Send(two, kExtBinary, bytes.data(), bytes.size()), 0);
  EXPECT_EQ(SdkAPIExt_WebSocket_Send(one, kExtText, "for one", 7), 0);
  EXPECT_EQ(SdkAPIExt_WebSocket_Send_Token(token().c_str(), kExtText, "for both", 8), 0);
  EXPECT_EQ(SdkAPIExt_WebSocket_Send_Valid(kExtBinary, "valid", 5), 0);
  EXPECT_EQ(first->Read(), (Frame{true, 1, "for one"}));
  EXPECT_EQ(second->Read(), (Frame{true, 2, bytes}));
  for (RawWebSocket* const socket : {first.get(), second.get()}) {
    EXPECT_EQ(socket->Read(), (Frame{true, 1, "for both"}));
    EXPECT_EQ(socket->Read(), (Frame{true, 2, "valid"}));
  }
}

TEST_P(WebSocketControlTest, ACloseReachesTheClientBehindWhatWasSent) {
  const Socket socket = Connect();
  const uint64_t id = NewestId();
  EXPECT_EQ(SdkAPIExt_WebSocket_Send(id, kExtText, "last", 4), 0);
  EXPECT_EQ(SdkAPIExt_WebSocket_Close(id, 4001, "good bye"), 0);
  EXPECT_EQ(SdkAPIExt_WebSocket_Send(id, kExtText, "late", 4), -1);
  EXPECT_EQ(SdkAPIExt_WebSocket_Close(id, 4001, nullptr), -1);
  EXPECT_EQ(socket->Read(), (Frame{true, 1, "last"}));
  EXPECT_TRUE(socket->SendText("ignored"));
  EXPECT_TRUE(socket->Send(9, "ignored"));
  ExpectClosed(*socket, "\x0f\xa1good bye");
  EXPECT_TRUE(Eventually([] { return Sockets().empty(); }));
  const auto calls = host().Calls("WebSocketCb");
  ASSERT_EQ(calls.size(), 2U);
  EXPECT_EQ(calls[1].args[0], "2");
}

// One does not answer the close frame. One does not even read, and far more waits than the kernel's buffers
// hold. One has announced a frame of nearly 2^63 bytes and never sends it.
TEST_P(WebSocketControlTest, ClientsThatNeitherReadNorAnswerAreCutOff) {
  if (mode().auth) return;
  const Socket silent = Connect();
  EXPECT_EQ(SdkAPIExt_WebSocket_Close(NewestId(), 1000, nullptr), 0);
  const Socket stalled = ConnectWhole();
  const uint64_t id = NewestId();
  const std::string much(16 << 20, 'm');
  EXPECT_EQ(SdkAPIExt_WebSocket_Send(id, kExtBinary, much.data(), much.size()), 0);
  EXPECT_GT(Sockets().back().queuedBytes, 0U);
  EXPECT_EQ(SdkAPIExt_WebSocket_Close(id, 1000, nullptr), 0);
  SetLimits(0, 0, 1000);
  const Socket boastful = Connect();
  const std::string head("\x81\xff\x7f\xff\xff\xff\xff\xff\xff\xff\0\0\0\0", 14);
  ASSERT_TRUE(boastful->connection().Send(head));
  EXPECT_EQ(silent->Read(), (Frame{true, 8, "\x03\xe8"}));
  EXPECT_EQ(boastful->Read(), (Frame{true, 8, "\x03\xf1"}));
  EXPECT_TRUE(silent->ReadEnd());
  EXPECT_EQ(silent->connection().end(), Connection::End::kEof);
  EXPECT_TRUE(boastful->ReadEnd());
  EXPECT_TRUE(Eventually([] { return Sockets().empty(); }));
}

TEST_P(WebSocketControlTest, AnEventClosesItsOwnWebSocket) {
  for (const int event : {0, 1}) {
    SCOPED_TRACE(event);
    if (mode().auth && GetLoginHandle(token().c_str()) == nullptr) {
      ASSERT_TRUE(LogIn(token()));
    }
    host().webSocket = [event](int happened, const std::string&, const std::string&) {
      if (happened == event) {
        EXPECT_EQ(SdkAPIExt_WebSocket_Close(SdkAPIExt_WebSocket_Current(), 1001, "no"), 0);
      }
      return 0;
    };
    const Socket socket = Connect();
    socket->SendText("hello");
    ExpectClosed(*socket, "\x03\xe9no");
    EXPECT_TRUE(Eventually([] { return Sockets().empty(); }));
  }
}

TEST_P(WebSocketControlTest, FragmentsArriveAsOneMessage) {
  TakeWholeMessages();
  const Socket socket = Connect();
  ASSERT_TRUE(socket->Send(1, "first \xc3", false));
  ASSERT_TRUE(socket->Send(9, "between"));
  EXPECT_EQ(socket->Read(), (Frame{true, 10, "between"}));
  ASSERT_TRUE(socket->Send(0, "\xa4 second ", false));
  ASSERT_TRUE(socket->Send(0, "third"));
  ASSERT_TRUE(socket->Send(2, std::string("\0\xff", 2)));
  ASSERT_TRUE(socket->Send(1, std::string(70000, 'x')));
  ExpectAlive(*socket);
  EXPECT_EQ(Messages(),
            (std::vector<std::string>{"text first \xc3\xa4 second third", std::string("bytes \0\xff", 8),
                                      "text " + std::string(70000, 'x')}));
  EXPECT_EQ(host().Count("WebSocketCb"), 1) << "the handshake's event";
}

TEST_P(WebSocketControlTest, WhatIsNoMessageIsAnsweredWithItsCode) {
  struct Row {
    const char* what;
    std::vector<std::pair<int, std::string>> frames;
    std::string payload;
  };
  const Row rows[] = {
      {"not UTF-8", {{1, "\xff"}}, "\x03\xeftext is not UTF-8"},
      {"no message begun", {{0, "x"}}, "\x03\xeano message begun"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    if (mode().auth && GetLoginHandle(token().c_str()) == nullptr) {
      ASSERT_TRUE(LogIn(token()));
    }
    TakeWholeMessages();
    const Socket socket = Connect();
    for (const auto& [opcode, data] : row.frames) ASSERT_TRUE(socket->Send(opcode, data));
    ExpectClosed(*socket, row.payload);
    EXPECT_TRUE(Eventually([] { return Sockets().empty(); }));
  }
  EXPECT_TRUE(Messages().empty());
}

// The whole frame is on its way before the answer: it is read away, so that the answer is not lost.
TEST_P(WebSocketControlTest, AFrameBeyondTheBoundIsAnsweredAndNotKept) {
  SetLimits(0, 0, 1000);
  for (const std::size_t length : {1001U, 5000U, 70000U, 8000000U}) {
    SCOPED_TRACE(length);
    if (mode().auth && GetLoginHandle(token().c_str()) == nullptr) {
      ASSERT_TRUE(LogIn(token()));
    }
    const Socket socket = Connect();
    ASSERT_TRUE(socket->SendText(std::string(1000, 'x')));
    ASSERT_TRUE(socket->Send(1, std::string(length, 'y')));
    EXPECT_EQ(socket->Read(), (Frame{true, 8, "\x03\xf1"}));
    EXPECT_TRUE(socket->Send(8, "\x03\xf1"));
    EXPECT_TRUE(socket->ReadEnd());
    EXPECT_EQ(socket->connection().end(), Connection::End::kEof);
    EXPECT_TRUE(Eventually([] { return Sockets().empty(); }));
  }
}

TEST_P(WebSocketControlTest, AMessageBeyondTheBoundInPartsIsAnswered) {
  SetLimits(0, 0, 1000);
  const Socket socket = Connect();
  ASSERT_TRUE(socket->Send(1, std::string(600, 'x'), false));
  ASSERT_TRUE(socket->Send(0, std::string(600, 'y')));
  ExpectClosed(*socket, "\x03\xf1message is too big");
}

TEST_P(WebSocketControlTest, TheQueuesBoundEndsAClientThatDoesNotRead) {
  SetLimits(3, 1000000, 0);
  const Socket socket = ConnectWhole();
  const uint64_t id = NewestId();
  const std::string much(16 << 20, 'm');
  EXPECT_EQ(SdkAPIExt_WebSocket_Send(id, kExtBinary, much.data(), much.size()), 0);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(SdkAPIExt_WebSocket_Send(id, kExtText, "waits", 5), 0);
  EXPECT_EQ(SdkAPIExt_WebSocket_Send(id, kExtText, "too many", 8), -1);
  EXPECT_TRUE(Eventually([] { return Sockets().empty(); }));
}

TEST_P(WebSocketControlTest, IdentifiersOutliveARestart) {
  uint64_t before = 0;
  {
    const Socket socket = Connect();
    before = NewestId();
  }
  Server::Get().Stop();
  EXPECT_TRUE(Sockets().empty());
  EXPECT_EQ(SdkAPIExt_WebSocket_Send(before, kExtText, "x", 1), -1);
  Prepare(mode());
  const Socket socket = Connect();
  EXPECT_GT(NewestId(), before);
}

}  // namespace
}  // namespace integration
