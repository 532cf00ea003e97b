// Logins that their host ends, lists and limits, over real sockets, and many of them at once.
#include <atomic>
#include <cstring>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "extension_lists.h"
#include "raw_websocket.h"
#include "sdkapi/extension.h"
#include "server_test_base.h"

namespace integration {
namespace {

using sdktest::Logins;

// Code 1008 and the reason.
const Frame kLoginEnded{true, 8, "\x03\xf0login ended"};

std::mutex endedMutex;
std::vector<std::pair<std::string, int>> ended;

void NoteEnd(const char* token, int reason) {
  const std::lock_guard lock(endedMutex);
  ended.emplace_back(token, reason);
}

bool HasEnded(const std::string& token, int reason) {
  const std::lock_guard lock(endedMutex);
  return std::count(ended.begin(), ended.end(), std::pair{token, reason}) == 1;
}

class LoginControlTest : public ModeTest {
 protected:
  void SetUp() override {
    ModeTest::SetUp();
    const std::lock_guard lock(endedMutex);
    ended.clear();
  }
  void TearDown() override {
    SdkAPIExt_Login_Limits_Set(nullptr);
    ModeTest::TearDown();
  }

  Response DeviceInfoAs(const std::string& token) {
    return SendBare({"GET", "/dev_info", {"Authorization: Bearer " + token}, ""});
  }
  static SdkAPIExtLoginLimits Limits() {
    SdkAPIExtLoginLimits limits{};
    limits.size = sizeof limits;
    limits.ended = NoteEnd;
    return limits;
  }
};

INSTANTIATE_TEST_SUITE_P(Schemes, LoginControlTest, BothSchemes(), ModeName);

TEST_P(LoginControlTest, AnEndedLoginGets401AndItsWebSocketsACloseFrame) {
  ASSERT_TRUE(LogIn("another"));
  RawWebSocket first(mode());
  RawWebSocket second(mode());
  RawWebSocket other(mode());
  ASSERT_TRUE(first.Open(token()));
  ASSERT_TRUE(second.Open(token()));
  ASSERT_TRUE(other.Open("another"));
  EXPECT_EQ(Logins()[0].webSockets, 2U);
  EXPECT_STREQ(Logins()[0].address, "127.0.0.1");
  EXPECT_EQ(SdkAPIExt_Login_End(token().c_str()), 0);
  ExpectReply(Get("/dev_info"), 401);
  for (RawWebSocket* const socket : {&first, &second}) {
    EXPECT_EQ(socket->Read(), kLoginEnded);
    EXPECT_TRUE(socket->Send(8, "\x03\xf0"));
    EXPECT_TRUE(socket->ReadEnd());
  }
  EXPECT_TRUE(other.Send(9, "alive"));
  EXPECT_EQ(other.Read(), (Frame{true, 10, "alive"}));
  EXPECT_EQ(host().Count("LogOutCb"), 0);
  EXPECT_EQ(FreeSessions(), 19);
  EXPECT_EQ(SdkAPIExt_Login_End("another"), 0);
}

TEST_P(LoginControlTest, TheTokenMayLogInAgainAtOnce) {
  RawWebSocket old(mode());
  ASSERT_TRUE(old.Open(token()));
  EXPECT_EQ(SdkAPIExt_Login_End(token().c_str()), 0);
  ASSERT_TRUE(LogIn(token()));
  RawWebSocket young(mode());
  ASSERT_TRUE(young.Open(token()));
  EXPECT_EQ(old.Read(), kLoginEnded);
  EXPECT_TRUE(old.Send(8, ""));
  EXPECT_TRUE(old.ReadEnd());
  EXPECT_TRUE(Eventually([] { return Logins()[0].webSockets == 1; }));
  EXPECT_EQ(Get("/dev_info").status(), 200);
  EXPECT_TRUE(young.Send(9, "alive"));
  EXPECT_EQ(young.Read(), (Frame{true, 10, "alive"}));
  EXPECT_EQ(host().Count("LogOutCb"), 0);
}

TEST_P(LoginControlTest, ARequestEndsItsOwnLoginAndIsAnswered) {
  host().deviceInfo = [&](DeviceInfo& info) {
    EXPECT_EQ(SdkAPIExt_Login_End(token().c_str()), 0);
    info.timeout = 7;
    return 0;
  };
  ExpectReply(Get("/dev_info"), 200, R"({"timeout":"7"})");
  ExpectReply(Get("/dev_info"), 401);
}

TEST_P(LoginControlTest, AnIdleLoginEndsAndTheHookIsTold) {
  RawWebSocket socket(mode());
  ASSERT_TRUE(socket.Open(token()));
  SdkAPIExtLoginLimits limits = Limits();
  limits.idleSeconds = 1;
  ASSERT_EQ(SdkAPIExt_Login_Limits_Set(&limits), 0);
  EXPECT_TRUE(Eventually([&] {
    EXPECT_EQ(SdkAPIExt_Login_Limits_Check(), 0);
    return HasEnded(token(), kExtLoginIdle);
  }));
  EXPECT_EQ(socket.Read(), (Frame{true, 8, "\x03\xf0login idle"}));
  ExpectReply(Get("/dev_info"), 401);
}

TEST_P(LoginControlTest, AnOldLoginEndsWhenRequestsCome) {
  SdkAPIExtLoginLimits limits = Limits();
  limits.totalSeconds = 1;
  ASSERT_EQ(SdkAPIExt_Login_Limits_Set(&limits), 0);
  EXPECT_TRUE(Eventually([&] { return Get("/dev_info").status() == 401; }));
  EXPECT_TRUE(HasEnded(token(), kExtLoginTooOld));
}

TEST_P(LoginControlTest, BeyondTheMostALoginGoesOrIsRefused) {
  SdkAPIExtLoginLimits limits = Limits();
  limits.most = 2;
  ASSERT_EQ(SdkAPIExt_Login_Limits_Set(&limits), 0);
  ASSERT_TRUE(LogIn("second"));
  EXPECT_EQ(Get("/dev_info").status(), 200);
  ASSERT_TRUE(LogIn("third"));
  EXPECT_TRUE(HasEnded("second", kExtLoginNoRoom));
  ExpectReply(DeviceInfoAs("second"), 401);
  limits.whenFull = kExtFullRefuses;
  ASSERT_EQ(SdkAPIExt_Login_Limits_Set(&limits), 0);
  host().login = [](LoginInfo& info) {
    std::strcpy(info.token, "fourth");
    return 0;
  };
  ExpectReply(SendBare({"POST", "/api/v1/auth/login", {}, "{}"}), 503);
  EXPECT_TRUE(HasEnded("fourth", kExtLoginNoRoom));
  ExpectReply(DeviceInfoAs("fourth"), 401);
  EXPECT_EQ(DeviceInfoAs("third").status(), 200);
  EXPECT_EQ(SdkAPIExt_Login_End("third"), 0);
}

// Host threads end, limit, list, send and close while clients log in, ask, connect and leave: every answer is
// a good one, a refusal, or the end of the connection.
class LoginStormTest : public LoginControlTest {
 protected:
  static constexpr int kTokens = 6;

  static std::string TokenOf(unsigned long number) { return "storm-" + std::to_string(number % kTokens); }

  void Govern(std::mt19937& random) {
    const std::string token = TokenOf(random());
    std::vector<SdkAPIExtWebSocket> sockets(40);
    sockets[0].size = sizeof(SdkAPIExtWebSocket);
    size_t count = sockets.size();
    EXPECT_EQ(SdkAPIExt_WebSocket_List(sockets.data(), &count), 0);
    const uint64_t id = count > 0 ? sockets[random() % std::min(count, sockets.size())].id : 0;
    switch (random() % 6) {
      case 0:
        SdkAPIExt_Login_End(token.c_str());
        break;
      case 1:
        SdkAPIExt_WebSocket_Close(id, 1001, "storm");
        break;
      case 2:
        SdkAPIExt_WebSocket_Send(id, kExtBinary, "one", 3);
        break;
      case 3:
        SdkAPIExt_WebSocket_Send_Token(token.c_str(), kExtText, "some", 4);
        break;
      case 4:
        EXPECT_EQ(SdkAPIExt_WebSocket_Send_Valid(kExtText, "all", 3), 0);
        break;
      default:
        Logins();
        EXPECT_EQ(SdkAPIExt_Login_Limits_Check(), 0);
    }
  }

  void Visit(std::mt19937& random) {
    const std::string token = TokenOf(random());
    const int login = SendBare({"POST", "/api/v1/auth/login", {}, token}).status();
    EXPECT_TRUE(login == 200 || login == 503) << login;
    const int status = DeviceInfoAs(token).status();
    EXPECT_TRUE(status == 200 || status == 401) << status;
    RawWebSocket socket(mode());
    if (socket.Shake("/websocket", token).empty()) return;
    for (int i = 0; i < 5; ++i) {
      if (!socket.SendText("hello")) return;
      const auto frame = socket.Read();
      if (!frame.has_value() || frame->opcode == 8) return;
      EXPECT_TRUE(frame->opcode == 1 || frame->opcode == 2);
    }
  }
};

INSTANTIATE_TEST_SUITE_P(Schemes, LoginStormTest, BothSchemes(), ModeName);

TEST_P(LoginStormTest, EverythingAtOnceStaysWhole) {
  const int files = OpenFiles();
  host().login = [next = std::make_shared<std::atomic<unsigned long>>(0)](LoginInfo& info) {
    std::strcpy(info.token, TokenOf((*next)++).c_str());
    return 0;
  };
  host().webSocket = [](int event, const std::string& token, const std::string&) {
    EXPECT_NE(SdkAPIExt_WebSocket_Current(), 0U);
    if (event == 1) WebSocketSendData(token.c_str(), "echo", 4);
    return 0;
  };
  SdkAPIExtLoginLimits limits = Limits();
  limits.most = 4;
  limits.totalSeconds = 1;
  ASSERT_EQ(SdkAPIExt_Login_Limits_Set(&limits), 0);
  std::atomic<bool> over{false};
  std::vector<std::thread> hosts;
  for (unsigned int seed = 1; seed <= 3; ++seed) {
    hosts.emplace_back([&, seed] {
      std::mt19937 random(seed);
      while (!over) Govern(random);
    });
  }
  std::vector<std::thread> clients;
  for (unsigned int seed = 1; seed <= 6; ++seed) {
    clients.emplace_back([&, seed] {
      std::mt19937 random(seed + 100);
      for (int i = 0; i < 25; ++i) Visit(random);
    });
  }
  for (std::thread& client : clients) client.join();
  over = true;
  for (std::thread& thread : hosts) thread.join();
  EXPECT_TRUE(Eventually([&] { return OpenFiles() <= files; }));
  limits.totalSeconds = 0;
  limits.idleSeconds = 1;
  ASSERT_EQ(SdkAPIExt_Login_Limits_Set(&limits), 0);
  EXPECT_TRUE(Eventually([] { return SdkAPIExt_Login_Limits_Check() == 0 && Logins().empty(); }));
  EXPECT_EQ(FreeSessions(), 20);
}

}  // namespace
}  // namespace integration
