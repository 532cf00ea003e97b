// What a host does with single WebSockets: identifiers, sends, closes, whole messages, bounds, ended logins.
#include <functional>
#include <memory>
#include <vector>

#include "extension_lists.h"
#include "http/handlers.h"
#include "library_fixture.h"
#include "monotonic_clock.h"
#include "own_civetweb.h"
#include "sdkapi/extension.h"
#include "server/lifecycle.h"
#include "session/login_registry.h"
#include "session/user_stack.h"
#include "websocket/connections.h"

namespace {

using sdktest::Bounds;
using sdktest::LogCapture;
using sdktest::MonotonicClock;
using sdktest::Sockets;
using sdktest::Strings;
using sdktest::TestHost;
using sdktest::WebSocketFrame;

using Frames = std::vector<WebSocketFrame>;

constexpr int kFinal = 0x80;
constexpr int kContinuation = 0;
constexpr int kTextFrame = 1;
constexpr int kBinaryFrame = 2;
constexpr int kCloseFrame = 8;

// "message 1 text abc", in order.
Strings messages;
std::function<int(uint64_t)> onMessage;

int Note(const char* slot, uint64_t id, const char* token, const std::string& data) {
  EXPECT_EQ(SdkAPIExt_WebSocket_Current(), id);
  messages.push_back(std::string(slot) + " " + token + " " + data);
  return onMessage != nullptr ? onMessage(id) : 0;
}

int TakeMessage(uint64_t id, const char* token, int frame, const char* data, size_t length) {
  EXPECT_EQ(data[length], '\0');
  return Note(frame == kExtText ? "text" : "message of bytes", id, token, std::string(data, length));
}

int TakeBinary(uint64_t id, const char* token, const void* data, size_t length) {
  return Note("binary", id, token, std::string(static_cast<const char*>(data), length));
}

class WebSocketControlTest : public sdktest::LibraryTest {
 protected:
  using Socket = std::unique_ptr<mg_connection>;

  WebSocketControlTest() {
    MonotonicClock() = 5000000;
    messages.clear();
    Bounds() = {};
    onMessage = nullptr;
  }
  ~WebSocketControlTest() override {
    MonotonicClock() = 0;
    EXPECT_EQ(HandleManageGetUsrCount(sdkapi::WebSocketLink()), 0) << "every test closes what it opened";
    EXPECT_EQ(SdkAPIExt_WebSocket_Current(), 0U);
  }

  static Socket Handshake(const std::string& token) {
    auto conn = std::make_unique<mg_connection>("GET", "/websocket");
    conn->Header("Sec-WebSocket-Protocol", token);
    EXPECT_EQ(WebSocketConnectHandler(conn.get(), nullptr), 0);
    return conn;
  }
  static Socket Open(const std::string& token) {
    Socket conn = Handshake(token);
    WebSocketReadyHandler(conn.get(), nullptr);
    return conn;
  }
  static void Close(const Socket& conn) {
    WebSocketCloseHandler(conn.get(), nullptr);
    conn->NoteCloseReturned();
  }
  static int Receive(const Socket& conn, int flags, std::string data) {
    return WebsocketDataHandler(conn.get(), flags, data.data(), data.size(), nullptr);
  }
  static uint64_t NewestId() { return Sockets().back().id; }
  static int Send(uint64_t id, int frame, const std::string& data) {
    return SdkAPIExt_WebSocket_Send(id, frame, data.data(), data.size());
  }
  static void SetSlots(bool message, bool binary) {
    SdkAPIExtWebSocketSlots slots{};
    slots.size = sizeof slots;
    slots.message = message ? TakeMessage : nullptr;
    slots.binary = binary ? TakeBinary : nullptr;
    EXPECT_EQ(SdkAPIExt_WebSocket_Slots_Set(&slots), 0);
  }
  static void SetLimits(uint32_t frames, uint64_t bytes, uint64_t message) {
    const SdkAPIExtWebSocketLimits limits{sizeof limits, frames, bytes, message};
    EXPECT_EQ(SdkAPIExt_WebSocket_Limits_Set(&limits), 0);
  }
  static void ExpectRefusal(const std::string& function, const std::string& reason) {
    EXPECT_EQ(Log(), Strings{"4 sdkapiext " + function + ": " + reason + "!!!!"});
    LogCapture::Clear();
  }
  static WebSocketFrame CloseOf(int code, const std::string& reason) {
    return {kCloseFrame, std::string{static_cast<char>(code / 256), static_cast<char>(code % 256)} + reason};
  }
  static int Sessions() {
    int used = 0;
    for (const sdkapi::UserEntry& entry : sdkapi::UserTableSnapshot().entries) used += entry.id[0] != '\0';
    return used;
  }
};

TEST_F(WebSocketControlTest, IdentifiersRiseAndOutliveARestart) {
  const Socket first = Open("a");
  const uint64_t one = NewestId();
  EXPECT_GT(one, 0U);
  const Socket second = Open("a");
  const uint64_t two = NewestId();
  EXPECT_GT(two, one);
  Close(first);
  Close(second);
  sdkapi::WebSocketInit();
  const Socket third = Open("a");
  EXPECT_GT(NewestId(), two);
  Close(third);
}

TEST_F(WebSocketControlTest, TheCurrentOneIsKnownInEveryEvent) {
  std::vector<uint64_t> seen;
  TestHost::Get().webSocket = [&](int, const std::string&, const std::string&) {
    seen.push_back(SdkAPIExt_WebSocket_Current());
    return 0;
  };
  TestHost::Get().logOut = [&] {
    seen.push_back(SdkAPIExt_WebSocket_Current());
    return 0;
  };
  RequireLogin();
  LogIn("tok");
  const Socket conn = Open("tok");
  const uint64_t id = NewestId();
  EXPECT_EQ(SdkAPIExt_WebSocket_Current(), 0U);
  EXPECT_EQ(Receive(conn, kFinal | kTextFrame, "x"), 1);
  EXPECT_EQ(SdkAPIExt_WebSocket_Current(), 0U);
  Close(conn);
  EXPECT_EQ(seen, (std::vector<uint64_t>{id, id, id, id}));
}

TEST_F(WebSocketControlTest, AFrameGoesToOneOfTwo) {
  const Socket first = Open("tok");
  const Socket second = Open("tok");
  EXPECT_EQ(Send(NewestId(), kExtText, "text"), 0);
  EXPECT_EQ(Send(NewestId(), kExtBinary, std::string("\0\xff", 2)), 0);
  EXPECT_EQ(SdkAPIExt_WebSocket_Send(NewestId(), kExtBinary, nullptr, 0), 0);
  EXPECT_EQ(SdkAPIExt_WebSocket_Send(NewestId(), kExtText, nullptr, 0), 0);
  EXPECT_EQ(first->Frames(), Frames{});
  EXPECT_EQ(second->Frames(), (Frames{{kTextFrame, "text"},
                                      {kBinaryFrame, std::string("\0\xff", 2)},
                                      {kBinaryFrame, ""},
                                      {kTextFrame, ""}}));
  Close(first);
  Close(second);
}

TEST_F(WebSocketControlTest, AFrameGoesToAllOfAToken) {
  const Socket first = Open("tok");
  const Socket other = Open("other");
  const Socket second = Open("tok");
  EXPECT_EQ(SdkAPIExt_WebSocket_Send_Token("tok", kExtBinary, "b", 1), 0);
  EXPECT_EQ(first->Frames(), (Frames{{kBinaryFrame, "b"}}));
  EXPECT_EQ(second->Frames(), (Frames{{kBinaryFrame, "b"}}));
  EXPECT_EQ(other->Frames(), Frames{});
  for (const Socket* const conn : {&first, &other, &second}) Close(*conn);
}

TEST_F(WebSocketControlTest, AFrameForValidLoginsLeavesTheOthersOut) {
  RequireLogin();
  LogIn("in");
  LogIn("out");
  const Socket valid = Open("in");
  const Socket gone = Open("out");
  sdkapi::LoginTimeOutTaskCb("out");  // as a log-out would
  EXPECT_EQ(SdkAPIExt_WebSocket_Send_Valid(kExtText, "t", 1), 0);
  EXPECT_EQ(valid->Frames(), (Frames{{kTextFrame, "t"}}));
  EXPECT_EQ(gone->Frames(), Frames{});
  SdkAPISer_AuthenticationSwitch_Set(0);
  EXPECT_EQ(SdkAPIExt_WebSocket_Send_Valid(kExtText, "u", 1), 0);
  EXPECT_EQ(gone->Frames(), (Frames{{kTextFrame, "u"}}));
  Close(valid);
  Close(gone);
  EXPECT_EQ(SdkAPIExt_WebSocket_Send_Valid(kExtText, "v", 1), 0) << "nobody to send to is no failure";
}

TEST_F(WebSocketControlTest, FramesBeforeTheHandshakeWaitWithTheirKind) {
  const Socket conn = Handshake("tok");
  EXPECT_EQ(Send(NewestId(), kExtBinary, "b"), 0);
  EXPECT_EQ(Send(NewestId(), kExtText, "t"), 0);
  EXPECT_EQ(Sockets().back().queuedBytes, 2U);
  EXPECT_EQ(conn->Frames(), Frames{});
  WebSocketReadyHandler(conn.get(), nullptr);
  EXPECT_EQ(conn->Frames(), (Frames{{kBinaryFrame, "b"}, {kTextFrame, "t"}}));
  Close(conn);
}

TEST_F(WebSocketControlTest, SendsRefuseBadArguments) {
  const Socket conn = Open("tok");
  const uint64_t id = NewestId();
  struct Row {
    int frame;
    const void* data;
    size_t length;
    const char* reason;
  };
  const Row rows[] = {{0, "x", 1, "frame unknown"},
                      {3, "x", 1, "frame unknown"},
                      {8, "x", 1, "frame unknown"},
                      {kExtText, nullptr, 1, "no data"},
                      {kExtBinary, nullptr, 1, "no data"},
                      {kExtBinary, "x", size_t{1} << 31, "more than 2 GiB"},
                      {kExtText, "\xc3(", 2, "text is not UTF-8"}};
  LogCapture::Clear();
  for (const Row& row : rows) {
    SCOPED_TRACE(row.reason);
    EXPECT_EQ(SdkAPIExt_WebSocket_Send(id, row.frame, row.data, row.length), -1);
    ExpectRefusal("SdkAPIExt_WebSocket_Send", row.reason);
    EXPECT_EQ(SdkAPIExt_WebSocket_Send_Token("tok", row.frame, row.data, row.length), -1);
    ExpectRefusal("SdkAPIExt_WebSocket_Send_Token", row.reason);
    EXPECT_EQ(SdkAPIExt_WebSocket_Send_Valid(row.frame, row.data, row.length), -1);
    ExpectRefusal("SdkAPIExt_WebSocket_Send_Valid", row.reason);
  }
  for (const uint64_t other : {uint64_t{0}, id + 1, ~uint64_t{0}}) {
    EXPECT_EQ(Send(other, kExtText, "x"), -1);
    ExpectRefusal("SdkAPIExt_WebSocket_Send", "no such WebSocket");
  }
  EXPECT_EQ(SdkAPIExt_WebSocket_Send_Token(nullptr, kExtText, "x", 1), -1);
  ExpectRefusal("SdkAPIExt_WebSocket_Send_Token", "no token");
  EXPECT_EQ(SdkAPIExt_WebSocket_Send_Token("other", kExtText, "x", 1), -1);
  ExpectRefusal("SdkAPIExt_WebSocket_Send_Token", "no WebSocket has this token");
  EXPECT_EQ(conn->Frames(), Frames{});
  Close(conn);
  LogCapture::Clear();
  EXPECT_EQ(Send(id, kExtText, "x"), -1);
  ExpectRefusal("SdkAPIExt_WebSocket_Send", "no such WebSocket");
}

TEST_F(WebSocketControlTest, AFrameThatFailsIsToldAndTheLast) {
  const Socket conn = Open("tok");
  conn->failFrameFrom = 2;
  EXPECT_EQ(Send(NewestId(), kExtText, "1"), 0);
  EXPECT_EQ(Send(NewestId(), kExtText, "2"), -1);
  conn->failFrameFrom = sdktest::kNever;
  EXPECT_EQ(Send(NewestId(), kExtText, "3"), -1);
  EXPECT_EQ(conn->Frames(), (Frames{{kTextFrame, "1"}}));
  Close(conn);
}

TEST_F(WebSocketControlTest, ACloseFrameHasCodeAndReasonAndIsTheLast) {
  for (const int code : {1000, 1001, 1003, 1007, 1014, 3000, 4999}) {
    const Socket conn = Open("tok");
    const uint64_t id = NewestId();
    EXPECT_EQ(SdkAPIExt_WebSocket_Close(id, code, "because"), 0);
    EXPECT_EQ(Send(id, kExtText, "late"), -1);
    EXPECT_EQ(SdkAPIExt_WebSocket_Close(id, code, nullptr), -1);
    WebSocketSendData("tok", "late", 4);
    WebSocketSendDataALL("late", 4);
    EXPECT_EQ(conn->Frames(), (Frames{CloseOf(code, "because")}));
    EXPECT_EQ(Receive(conn, kFinal | kTextFrame, "ignored"), 1);
    EXPECT_EQ(TestHost::Get().Lines().back(), "WebSocketCb(tok, 0, , 0)");
    Close(conn);
    EXPECT_EQ(TestHost::Get().Lines().back(), "WebSocketCb(tok, 2, , 0)");
  }
}

TEST_F(WebSocketControlTest, ReasonsOfEveryLegalLength) {
  for (const std::size_t length : {0U, 1U, 122U, 123U}) {
    const Socket conn = Open("tok");
    const std::string reason(length, 'r');
    EXPECT_EQ(SdkAPIExt_WebSocket_Close(NewestId(), 1000, length > 0 ? reason.c_str() : nullptr), 0);
    EXPECT_EQ(conn->Frames(), (Frames{CloseOf(1000, reason)}));
    Close(conn);
  }
}

TEST_F(WebSocketControlTest, ACloseBeforeTheHandshakeFollowsWhatWaits) {
  const Socket conn = Handshake("tok");
  EXPECT_EQ(Send(NewestId(), kExtText, "first"), 0);
  EXPECT_EQ(SdkAPIExt_WebSocket_Close(NewestId(), 1000, nullptr), 0);
  EXPECT_EQ(Send(NewestId(), kExtText, "late"), -1);
  EXPECT_EQ(SdkAPIExt_WebSocket_Close(NewestId(), 1000, nullptr), -1);
  WebSocketReadyHandler(conn.get(), nullptr);
  EXPECT_EQ(conn->Frames(), (Frames{{kTextFrame, "first"}, CloseOf(1000, "")}));
  Close(conn);
}

TEST_F(WebSocketControlTest, NothingFollowsAFrameThatFailed) {
  const Socket conn = Handshake("tok");
  EXPECT_EQ(Send(NewestId(), kExtText, "first"), 0);
  EXPECT_EQ(Send(NewestId(), kExtText, "second"), 0);
  EXPECT_EQ(SdkAPIExt_WebSocket_Close(NewestId(), 1000, nullptr), 0);
  conn->failFrameFrom = 1;
  WebSocketReadyHandler(conn.get(), nullptr);
  EXPECT_EQ(conn->frameCalls, 1);
  Close(conn);
}

TEST_F(WebSocketControlTest, ACloseFrameThatCannotBeWrittenIsTold) {
  const Socket conn = Open("tok");
  conn->failFrameFrom = 1;
  EXPECT_EQ(SdkAPIExt_WebSocket_Close(NewestId(), 1000, nullptr), -1);
  EXPECT_EQ(SdkAPIExt_WebSocket_Close(NewestId(), 1000, nullptr), -1);
  EXPECT_EQ(conn->frameCalls, 1);
  Close(conn);
}

TEST_F(WebSocketControlTest, ClosesRefuseBadArguments) {
  const Socket conn = Open("tok");
  const uint64_t id = NewestId();
  LogCapture::Clear();
  for (const int code : {-1, 0, 999, 1004, 1005, 1006, 1015, 1016, 2999, 5000, 66536}) {
    SCOPED_TRACE(code);
    EXPECT_EQ(SdkAPIExt_WebSocket_Close(id, code, nullptr), -1);
    ExpectRefusal("SdkAPIExt_WebSocket_Close", "code may not be sent");
  }
  EXPECT_EQ(SdkAPIExt_WebSocket_Close(id, 1000, std::string(124, 'r').c_str()), -1);
  ExpectRefusal("SdkAPIExt_WebSocket_Close", "reason longer than 123 bytes");
  EXPECT_EQ(SdkAPIExt_WebSocket_Close(id, 1000, "\xff"), -1);
  ExpectRefusal("SdkAPIExt_WebSocket_Close", "reason is not UTF-8");
  EXPECT_EQ(SdkAPIExt_WebSocket_Close(id + 1, 1000, ""), -1);
  ExpectRefusal("SdkAPIExt_WebSocket_Close", "no such WebSocket");
  EXPECT_EQ(Send(id, kExtText, "open"), 0);
  Close(conn);
}

TEST_F(WebSocketControlTest, TheListTellsWhatIsKnown) {
  const Socket first = Open("one");
  MonotonicClock() += 90000;
  const Socket second = Handshake("two");
  Bounds().queued = 77;
  const auto sockets = Sockets();
  ASSERT_EQ(sockets.size(), 2U);
  EXPECT_STREQ(sockets[0].token, "one");
  EXPECT_EQ(sockets[0].ageSeconds, 90U);
  EXPECT_EQ(sockets[0].queuedBytes, 77U);
  EXPECT_STREQ(sockets[1].token, "two");
  EXPECT_EQ(sockets[1].ageSeconds, 0U);
  EXPECT_LT(sockets[0].id, sockets[1].id);
  SdkAPIExtWebSocket one{};
  one.size = sizeof one;
  size_t count = 1;
  EXPECT_EQ(SdkAPIExt_WebSocket_List(&one, &count), 0);
  EXPECT_EQ(count, 2U);
  EXPECT_STREQ(one.token, "one");
  Close(first);
  Close(second);
}

TEST_F(WebSocketControlTest, TheListRefusesBadArguments) {
  SdkAPIExtWebSocket socket{};
  size_t count = 1;
  EXPECT_EQ(SdkAPIExt_WebSocket_List(&socket, nullptr), -1);
  ExpectRefusal("SdkAPIExt_WebSocket_List", "no count");
  EXPECT_EQ(SdkAPIExt_WebSocket_List(nullptr, &count), -1);
  ExpectRefusal("SdkAPIExt_WebSocket_List", "no records");
  EXPECT_EQ(SdkAPIExt_WebSocket_List(&socket, &count), -1);
  ExpectRefusal("SdkAPIExt_WebSocket_List", "size unknown");
  EXPECT_EQ(count, 1U);
}

TEST_F(WebSocketControlTest, WholeMessagesGoToTheirSlots) {
  SetSlots(true, true);
  const Socket conn = Open("tok");
  EXPECT_EQ(Receive(conn, kFinal | kTextFrame, "whole"), 1);
  EXPECT_EQ(Receive(conn, kTextFrame, "in \xc3"), 1);
  EXPECT_EQ(Receive(conn, kContinuation, "\xa4 three "), 1);
  EXPECT_EQ(Receive(conn, kFinal | kContinuation, "parts"), 1);
  EXPECT_EQ(Receive(conn, kFinal | kTextFrame, ""), 1);
  EXPECT_EQ(Receive(conn, kFinal | kBinaryFrame, std::string("\0\xff", 2)), 1);
  EXPECT_EQ(Receive(conn, kBinaryFrame, ""), 1);
  EXPECT_EQ(Receive(conn, kFinal | kContinuation, "bytes"), 1);
  EXPECT_EQ(messages, (Strings{"text tok whole", "text tok in \xc3\xa4 three parts", "text tok ",
                               std::string("binary tok \0\xff", 13), "binary tok bytes"}));
  EXPECT_EQ(TestHost::Get().Lines(), Strings{"WebSocketCb(tok, 0, , 0)"});
  Close(conn);
}

TEST_F(WebSocketControlTest, WithoutASlotForThemBytesGoToTheOneForMessages) {
  SetSlots(true, false);
  const Socket conn = Open("tok");
  EXPECT_EQ(Receive(conn, kFinal | kBinaryFrame, "bytes"), 1);
  EXPECT_EQ(messages, Strings{"message of bytes tok bytes"});
  Close(conn);
}

TEST_F(WebSocketControlTest, WithoutASlotForThemTextsGoTheirOldWay) {
  SetSlots(false, true);
  const Socket conn = Open("tok");
  EXPECT_EQ(Receive(conn, kTextFrame, "first"), 1);
  EXPECT_EQ(Receive(conn, kFinal | kContinuation, "second"), 1);
  EXPECT_EQ(Receive(conn, kBinaryFrame, "by"), 1);
  EXPECT_EQ(Receive(conn, kFinal | kContinuation, "tes"), 1);
  EXPECT_EQ(messages, Strings{"binary tok bytes"});
  EXPECT_EQ(TestHost::Get().Lines(), (Strings{"WebSocketCb(tok, 0, , 0)", "WebSocketCb(tok, 1, first, 5)"}));
  Close(conn);
}

TEST_F(WebSocketControlTest, SettingsAreForConnectionsThatComeLater) {
  const Socket before = Open("tok");
  SetSlots(true, true);
  const Socket after = Open("tok");
  EXPECT_EQ(SdkAPIExt_WebSocket_Slots_Set(nullptr), 0);
  EXPECT_EQ(Receive(before, kFinal | kTextFrame, "old"), 1);
  EXPECT_EQ(messages, Strings{});
  EXPECT_EQ(Receive(after, kFinal | kTextFrame, "new"), 1);
  EXPECT_EQ(messages, Strings{"text tok new"});
  Close(before);
  Close(after);
}

TEST_F(WebSocketControlTest, AResultOtherThanZeroEndsTheConnection) {
  SetSlots(true, true);
  const Socket conn = Open("tok");
  for (const int result : {1, -1, -2}) {
    onMessage = [result](uint64_t) { return result; };
    EXPECT_EQ(Receive(conn, kFinal | kTextFrame, "x"), 0);
    EXPECT_EQ(Receive(conn, kFinal | kBinaryFrame, "x"), 0);
  }
  EXPECT_EQ(conn->Frames(), Frames{});
  Close(conn);
}

TEST_F(WebSocketControlTest, AMessageWithoutALoginIsDropped) {
  RequireLogin();
  LogIn("tok");
  SetSlots(true, true);
  const Socket conn = Open("tok");
  sdkapi::LoginTimeOutTaskCb("tok");
  EXPECT_EQ(Receive(conn, kFinal | kTextFrame, "x"), -1);
  EXPECT_EQ(messages, Strings{});
  Close(conn);
}

struct Violation {
  const char* name;
  std::vector<std::pair<int, std::string>> frames;
  int code;
  const char* reason;
};

class WebSocketViolationTest : public WebSocketControlTest, public testing::WithParamInterface<Violation> {};

TEST_P(WebSocketViolationTest, IsAnsweredWithItsCode) {
  SetSlots(true, true);
  SetLimits(0, 0, 10);
  const Socket conn = Open("tok");
  for (const auto& [flags, data] : GetParam().frames) EXPECT_EQ(Receive(conn, flags, data), 1);
  EXPECT_EQ(messages, Strings{});
  EXPECT_EQ(conn->Frames(), (Frames{CloseOf(GetParam().code, GetParam().reason)}));
  EXPECT_EQ(Receive(conn, kFinal | kTextFrame, "ignored"), 1);
  EXPECT_EQ(messages, Strings{});
  Close(conn);
}

INSTANTIATE_TEST_SUITE_P(
    Messages, WebSocketViolationTest,
    testing::Values(
        Violation{"NotUtf8", {{kFinal | kTextFrame, "\xff"}}, 1007, "text is not UTF-8"},
        Violation{"CutShort", {{kTextFrame, "a\xc3"}, {kFinal, ""}}, 1007, "text is not UTF-8"},
        Violation{"TooBig", {{kFinal | kTextFrame, "0123456789a"}}, 1009, "message is too big"},
        Violation{"TooBigBytes", {{kFinal | kBinaryFrame, "0123456789a"}}, 1009, "message is too big"},
        Violation{"TooBigInParts",
                  {{kTextFrame, "01234"}, {kContinuation, "56789"}, {kFinal, "a"}},
                  1009,
                  "message is too big"},
        Violation{"NothingBegun", {{kFinal | kContinuation, "x"}}, 1002, "no message begun"},
        Violation{
            "BegunTwice", {{kTextFrame, "x"}, {kFinal | kTextFrame, "y"}}, 1002, "message is not finished"}),
    sdktest::ByName{});

TEST_F(WebSocketControlTest, AMessageOfExactlyTheBoundIsTaken) {
  SetSlots(true, true);
  SetLimits(0, 0, 10);
  const Socket conn = Open("tok");
  EXPECT_EQ(Bounds().payloadBytes, 10U);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(Receive(conn, kTextFrame, "01234"), 1);
    EXPECT_EQ(Receive(conn, kFinal | kContinuation, "56789"), 1);
  }
  EXPECT_EQ(messages.size(), 3U);
  EXPECT_EQ(conn->Frames(), Frames{});
  Close(conn);
}

TEST_F(WebSocketControlTest, TheBoundHoldsWithoutSlotsToo) {
  SetLimits(0, 0, 10);
  const Socket conn = Open("tok");
  EXPECT_EQ(Receive(conn, kFinal | kTextFrame, "0123456789"), 1);
  EXPECT_EQ(Receive(conn, kTextFrame, "01234"), 1);
  EXPECT_EQ(Receive(conn, kFinal | kContinuation, "56789a"), 1);
  EXPECT_EQ(conn->Frames(), (Frames{CloseOf(1009, "message is too big")}));
  Close(conn);
}

TEST_F(WebSocketControlTest, BytesWithinTheBoundGoToNobodyWithoutSlots) {
  SetLimits(0, 0, 10);
  const Socket conn = Open("tok");
  EXPECT_EQ(Receive(conn, kFinal | kBinaryFrame, "0123456789"), 1);
  EXPECT_EQ(conn->Frames(), Frames{});
  EXPECT_EQ(TestHost::Get().Lines(), Strings{"WebSocketCb(tok, 0, , 0)"});
  Close(conn);
}

TEST_F(WebSocketControlTest, ABoundOfTheLibraryHoldsForSlotsWithoutOne) {
  SetSlots(true, true);
  const Socket conn = Open("tok");
  EXPECT_EQ(Bounds().payloadBytes, 1048576U);
  EXPECT_EQ(Receive(conn, kFinal | kTextFrame, std::string(1048576, 'x')), 1);
  EXPECT_EQ(Receive(conn, kFinal | kTextFrame, std::string(1048577, 'x')), 1);
  EXPECT_EQ(messages.size(), 1U);
  EXPECT_EQ(conn->Frames(), (Frames{CloseOf(1009, "message is too big")}));
  Close(conn);
}

TEST_F(WebSocketControlTest, TheBoundsOfTheQueueReachTheWebServer) {
  const Socket usual = Open("tok");
  EXPECT_EQ(Bounds().queueFrames, 512U);
  EXPECT_EQ(Bounds().queueBytes, 1048576U);
  EXPECT_EQ(Bounds().payloadBytes, 0U);
  SetLimits(7, 1000, 0);
  const Socket bounded = Handshake("tok");
  LogCapture::Clear();
  const uint64_t id = NewestId();
  EXPECT_EQ(Send(id, kExtText, std::string(5000, 'x')), 0) << "one of any size";
  EXPECT_EQ(Send(id, kExtText, std::string(1000, 'y')), 0);
  EXPECT_EQ(Send(id, kExtText, "z"), -1);
  EXPECT_EQ(Log()[0], "4 sdkapi websocket handshake not complete, frame of 1 bytes dropped");
  WebSocketReadyHandler(bounded.get(), nullptr);
  EXPECT_EQ(Bounds().queueFrames, 7U);
  EXPECT_EQ(Bounds().queueBytes, 1000U);
  EXPECT_EQ(SdkAPIExt_WebSocket_Limits_Set(nullptr), 0);
  const Socket again = Open("tok");
  EXPECT_EQ(Bounds().queueFrames, 512U);
  for (const Socket* const conn : {&usual, &bounded, &again}) Close(*conn);
}

TEST_F(WebSocketControlTest, SettersRefuseBadArguments) {
  SetSlots(true, true);
  SetLimits(7, 0, 0);
  LogCapture::Clear();
  SdkAPIExtWebSocketSlots slots{};
  for (const size_t size : {size_t{0}, sizeof slots - 8, sizeof slots + 8}) {
    slots.size = static_cast<uint32_t>(size);
    EXPECT_EQ(SdkAPIExt_WebSocket_Slots_Set(&slots), -1);
    ExpectRefusal("SdkAPIExt_WebSocket_Slots_Set", "size unknown");
  }
  slots.size = sizeof slots;
  slots.reserved = 1;
  EXPECT_EQ(SdkAPIExt_WebSocket_Slots_Set(&slots), -1);
  ExpectRefusal("SdkAPIExt_WebSocket_Slots_Set", "reserved is not 0");
  SdkAPIExtWebSocketLimits limits{};
  EXPECT_EQ(SdkAPIExt_WebSocket_Limits_Set(&limits), -1);
  ExpectRefusal("SdkAPIExt_WebSocket_Limits_Set", "size unknown");
  limits = {sizeof limits, 0, 0x7FFF0001, 0};
  EXPECT_EQ(SdkAPIExt_WebSocket_Limits_Set(&limits), -1);
  ExpectRefusal("SdkAPIExt_WebSocket_Limits_Set", "more than 2 GiB");
  limits = {sizeof limits, 0, 0, 0x7FFF0001};
  EXPECT_EQ(SdkAPIExt_WebSocket_Limits_Set(&limits), -1);
  ExpectRefusal("SdkAPIExt_WebSocket_Limits_Set", "more than 2 GiB");
  const Socket conn = Open("tok");
  EXPECT_EQ(Bounds().queueFrames, 7U);
  EXPECT_EQ(Receive(conn, kFinal | kTextFrame, "x"), 1);
  EXPECT_EQ(messages.size(), 1U);
  Close(conn);
}

class EndedLoginTest : public WebSocketControlTest {
 protected:
  EndedLoginTest() {
    RequireLogin();
    LogIn("tok");
  }
};

TEST_F(EndedLoginTest, ItsWebSocketsGetACloseFrameAndTellNobody) {
  LogIn("other");
  const Socket first = Open("tok");
  const Socket second = Open("tok");
  const Socket other = Open("other");
  SdkAPIExtLogin login{};
  login.size = sizeof login;
  size_t count = 1;
  EXPECT_EQ(SdkAPIExt_Login_List(&login, &count), 0);
  EXPECT_EQ(login.webSockets, 2U);
  const Strings before = TestHost::Get().Lines();
  EXPECT_EQ(SdkAPIExt_Login_End("tok"), 0);
  EXPECT_EQ(first->Frames(), (Frames{CloseOf(1008, "login ended")}));
  EXPECT_EQ(second->Frames(), (Frames{CloseOf(1008, "login ended")}));
  EXPECT_EQ(other->Frames(), Frames{});
  EXPECT_EQ(Receive(first, kFinal | kTextFrame, "x"), 1);
  Close(first);
  Close(second);
  EXPECT_EQ(TestHost::Get().Lines(), before) << "neither event 2 nor LogOutCb";
  EXPECT_EQ(Sessions(), 1);
  Close(other);
}

TEST_F(EndedLoginTest, ItsWebSocketsDoNotEndTheNextLoginOfTheToken) {
  const Socket old = Open("tok");
  EXPECT_EQ(SdkAPIExt_Login_End("tok"), 0);
  LogIn("tok");
  const Socket young = Open("tok");
  const Strings before = TestHost::Get().Lines();
  Close(old);
  EXPECT_EQ(TestHost::Get().Lines(), before);
  EXPECT_NE(GetLoginHandle("tok"), nullptr);
  EXPECT_EQ(Sessions(), 1);
  EXPECT_EQ(young->Frames(), Frames{});
  EXPECT_EQ(Receive(young, kFinal | kTextFrame, "x"), 1);
  Close(young);
  EXPECT_EQ(TestHost::Get().Lines().back(), "LogOutCb()");
  EXPECT_EQ(Sessions(), 0);
}

// Between a handshake's look-up and its place in the list the login may end.
TEST_F(EndedLoginTest, AHandshakeUnderWayIsClosedWhenItIsComplete) {
  const Socket conn = Handshake("tok");
  EXPECT_EQ(SdkAPIExt_Login_End("tok"), 0);
  EXPECT_EQ(conn->Frames(), Frames{});
  WebSocketReadyHandler(conn.get(), nullptr);
  EXPECT_EQ(conn->Frames(), (Frames{CloseOf(1008, "login ended")}));
  Close(conn);
}

TEST_F(EndedLoginTest, AHandshakeWhoseLoginEndsBeforeItIsListedIsRefused) {
  mg_connection conn("GET", "/websocket");
  conn.Header("Sec-WebSocket-Protocol", "tok");
  conn.onRequestInfo = [] { EXPECT_EQ(SdkAPIExt_Login_End("tok"), 0); };
  EXPECT_EQ(WebSocketConnectHandler(&conn, nullptr), 1);
  EXPECT_TRUE(Sockets().empty());
  EXPECT_EQ(TestHost::Get().Lines(), Strings{});
}

TEST_F(EndedLoginTest, EveryEventMayEndItsOwnLogin) {
  for (const int event : {0, 1, 2}) {
    SCOPED_TRACE(event);
    if (GetLoginHandle("tok") == nullptr) LogIn("tok");
    TestHost::Get().webSocket = [event](int happened, const std::string& token, const std::string&) {
      if (happened == event) {
        EXPECT_EQ(SdkAPIExt_Login_End(token.c_str()), 0);
      }
      return 0;
    };
    const Socket conn = Open("tok");
    Receive(conn, kFinal | kTextFrame, "x");
    Close(conn);
    EXPECT_EQ(conn->Frames(), (Frames{CloseOf(1008, "login ended")}));
    EXPECT_EQ(GetLoginHandle("tok"), nullptr);
    EXPECT_EQ(Sessions(), 0);
    const Strings calls = TestHost::Get().Lines();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "LogOutCb()"), 0);
  }
}

TEST_F(EndedLoginTest, ATimeOutClosesThemToo) {
  SdkAPIExtLoginLimits limits{};
  limits.size = sizeof limits;
  limits.idleSeconds = 60;
  EXPECT_EQ(SdkAPIExt_Login_Limits_Set(&limits), 0);
  const Socket conn = Open("tok");
  for (int i = 0; i < 3; ++i) {
    MonotonicClock() += 59000;
    EXPECT_EQ(Receive(conn, kFinal | kTextFrame, "a use"), 1);
  }
  EXPECT_EQ(SdkAPIExt_WebSocket_Send_Token("tok", kExtText, "no use", 6), 0);
  MonotonicClock() += 60000;
  EXPECT_EQ(Receive(conn, kFinal | kTextFrame, "too late"), -1);
  EXPECT_EQ(conn->Frames(), (Frames{{kTextFrame, "no use"}, CloseOf(1008, "login idle")}));
  EXPECT_EQ(TestHost::Get().Lines().back(), "WebSocketCb(tok, 1, a use, 5)");
  Close(conn);
}

TEST_F(EndedLoginTest, AHandshakeAfterTheTimeIsRefused) {
  SdkAPIExtLoginLimits limits{};
  limits.size = sizeof limits;
  limits.totalSeconds = 60;
  limits.ended = [](const char*, int) { EXPECT_EQ(sdktest::Server().context.depth, 0) << "no lock is held"; };
  EXPECT_EQ(SdkAPIExt_Login_Limits_Set(&limits), 0);
  MonotonicClock() += 60000;
  mg_connection conn("GET", "/websocket");
  conn.Header("Sec-WebSocket-Protocol", "tok");
  EXPECT_EQ(WebSocketConnectHandler(&conn, nullptr), 1);
  EXPECT_EQ(sdkapi::LoginCount(), 0);
}

TEST_F(EndedLoginTest, WithAuthenticationOffTheWebSocketsOfItsTokenCloseToo) {
  SdkAPISer_AuthenticationSwitch_Set(0);
  const Socket conn = Open("tok");
  const Socket other = Open("other");
  EXPECT_EQ(SdkAPIExt_Login_End("tok"), 0);
  EXPECT_EQ(conn->Frames(), (Frames{CloseOf(1008, "login ended")}));
  EXPECT_EQ(other->Frames(), Frames{});
  Close(conn);
  Close(other);
}

}  // namespace
