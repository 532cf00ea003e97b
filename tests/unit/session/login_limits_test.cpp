// What a host does with its logins: ending, listing, limiting them, and every call that is refused.
#include "session/login_limits.h"

#include <cstring>
#include <functional>
#include <thread>
#include <utility>
#include <vector>

#include "base/text.h"
#include "extension_lists.h"
#include "http/handlers.h"
#include "library_fixture.h"
#include "monotonic_clock.h"
#include "sdkapi/extension.h"
#include "session/login_registry.h"
#include "session/user_stack.h"

namespace {

using sdktest::JsonReply;
using sdktest::LogCapture;
using sdktest::Logins;
using sdktest::MonotonicClock;
using sdktest::Strings;
using sdktest::TestHost;

using Ended = std::vector<std::pair<std::string, int>>;

Ended ended;
std::function<void(const std::string&, int)> onEnd;

void NoteEnd(const char* token, int reason) {
  ended.emplace_back(token, reason);
  if (onEnd != nullptr) onEnd(token, reason);
}

class LoginControlTest : public sdktest::LibraryTest {
 protected:
  LoginControlTest() {
    MonotonicClock() = 5000000;
    RequireLogin();
    ended.clear();
    onEnd = nullptr;
  }
  ~LoginControlTest() override { MonotonicClock() = 0; }

  static Strings Sessions() {
    Strings ids;
    for (const sdkapi::UserEntry& entry : sdkapi::UserTableSnapshot().entries) {
      if (entry.id[0] != '\0') ids.emplace_back(entry.id);
    }
    return ids;
  }

  // The reply to a request with this token.
  static std::string Ask(const std::string& token) {
    mg_connection conn("POST", "/api/v1/customrestore");
    conn.Token(token);
    FuncCustomRestore(&conn, nullptr);
    return conn.output;
  }
  static bool IsValid(const std::string& token) { return Ask(token) != JsonReply(401); }

  static std::string LogInFrom(const std::string& token, const char* address = "") {
    mg_connection conn("POST", "/api/v1/auth/login");
    sdkapi::CopyText(conn.info.remote_addr, address);
    TestHost::Get().login = [token](LoginInfo& info) {
      sdkapi::CopyText(info.token, token.c_str());
      return 0;
    };
    FuncLogin(&conn, nullptr);
    return conn.output;
  }

  static void Pass(int64_t seconds) { MonotonicClock() += seconds * 1000; }

  static SdkAPIExtLoginLimits Limits(uint32_t idle, uint32_t total, uint32_t most = 0, int whenFull = 0) {
    SdkAPIExtLoginLimits limits{};
    limits.size = sizeof limits;
    limits.idleSeconds = idle;
    limits.totalSeconds = total;
    limits.most = most;
    limits.whenFull = whenFull;
    limits.ended = NoteEnd;
    return limits;
  }
  static void Set(const SdkAPIExtLoginLimits& limits) { EXPECT_EQ(SdkAPIExt_Login_Limits_Set(&limits), 0); }

  static void ExpectRefusal(const std::string& function, const std::string& reason) {
    EXPECT_EQ(Log(), Strings{"4 sdkapiext " + function + ": " + reason + "!!!!"});
    LogCapture::Clear();
  }
};

TEST_F(LoginControlTest, AnEndedLoginIsGone) {
  LogIn("one");
  LogIn("two");
  EXPECT_EQ(SdkAPIExt_Login_End("one"), 0);
  EXPECT_FALSE(IsValid("one"));
  EXPECT_TRUE(IsValid("two"));
  EXPECT_EQ(Sessions(), Strings{"two"});
  EXPECT_EQ(sdkapi::LoginCount(), 1);
  const Strings calls = TestHost::Get().Lines();
  EXPECT_EQ(std::count(calls.begin(), calls.end(), "LogOutCb()"), 0);
}

TEST_F(LoginControlTest, ATokenThatNoLoginHasIsRefused) {
  LogIn("one");
  const std::string tooLong(1024, 't');
  for (const char* const token : {"", "other", "on", "onee", tooLong.c_str()}) {
    LogCapture::Clear();
    EXPECT_EQ(SdkAPIExt_Login_End(token), -1);
    ExpectRefusal("SdkAPIExt_Login_End", "no login has this token");
  }
  EXPECT_EQ(SdkAPIExt_Login_End(nullptr), -1);
  ExpectRefusal("SdkAPIExt_Login_End", "no login has this token");
  EXPECT_EQ(SdkAPIExt_Login_End("one"), 0);
  EXPECT_EQ(SdkAPIExt_Login_End("one"), -1);
  EXPECT_TRUE(Sessions().empty());
}

TEST_F(LoginControlTest, AllLoginsOfATokenEnd) {
  for (int i = 0; i < 3; ++i) LogIn("same");
  LogIn("other");
  EXPECT_EQ(SdkAPIExt_Login_End("same"), 0);
  EXPECT_FALSE(IsValid("same"));
  EXPECT_EQ(Sessions(), Strings{"other"});
}

TEST_F(LoginControlTest, LoginsEndWithAuthenticationOffToo) {
  LogIn("one");
  SdkAPISer_AuthenticationSwitch_Set(0);
  EXPECT_EQ(SdkAPIExt_Login_End("one"), 0);
  EXPECT_EQ(sdkapi::LoginCount(), 0);
}

TEST_F(LoginControlTest, AnEndedTokenMayLogInAgain) {
  LogIn("one");
  EXPECT_EQ(SdkAPIExt_Login_End("one"), 0);
  LogIn("one");
  EXPECT_TRUE(IsValid("one"));
  EXPECT_EQ(Sessions(), Strings{"one"});
}

// The slot ends the login that it serves; the request keeps its table and is answered.
TEST_F(LoginControlTest, ALoginEndsFromWithinItsOwnRequest) {
  LogIn("one");
  TestHost::Get().customRestore = [](CustomRestoreArg&) {
    EXPECT_EQ(SdkAPIExt_Login_End("one"), 0);
    return 0;
  };
  EXPECT_EQ(Ask("one"), JsonReply(200));
  EXPECT_FALSE(IsValid("one"));
}

TEST_F(LoginControlTest, TheListTellsLoginsInOrder) {
  LogInFrom("one", "192.0.2.7");
  Pass(10);
  LogInFrom("two", "2001:db8::1");
  Pass(5);
  EXPECT_TRUE(IsValid("one"));
  Pass(2);
  const auto logins = Logins();
  ASSERT_EQ(logins.size(), 2U);
  EXPECT_EQ(logins[0].size, sizeof(SdkAPIExtLogin));
  EXPECT_STREQ(logins[0].token, "one");
  EXPECT_STREQ(logins[0].address, "192.0.2.7");
  EXPECT_EQ(logins[0].ageSeconds, 17U);
  EXPECT_EQ(logins[0].idleSeconds, 2U);
  EXPECT_EQ(logins[0].webSockets, 0U);
  EXPECT_STREQ(logins[1].token, "two");
  EXPECT_STREQ(logins[1].address, "2001:db8::1");
  EXPECT_EQ(logins[1].ageSeconds, 7U);
  EXPECT_EQ(logins[1].idleSeconds, 7U);
}

TEST_F(LoginControlTest, TheListFillsOnlyItsRoom) {
  for (const char* const token : {"one", "two", "three"}) LogIn(token);
  size_t count = 0;
  EXPECT_EQ(SdkAPIExt_Login_List(nullptr, &count), 0);
  EXPECT_EQ(count, 3U);
  SdkAPIExtLogin logins[3]{};
  logins[0].size = sizeof logins[0];
  count = 2;
  EXPECT_EQ(SdkAPIExt_Login_List(logins, &count), 0);
  EXPECT_EQ(count, 3U);
  EXPECT_STREQ(logins[1].token, "two");
  EXPECT_STREQ(logins[2].token, "");
}

TEST_F(LoginControlTest, TheListRefusesBadArguments) {
  LogIn("one");
  SdkAPIExtLogin login{};
  size_t count = 1;
  EXPECT_EQ(SdkAPIExt_Login_List(&login, nullptr), -1);
  ExpectRefusal("SdkAPIExt_Login_List", "no count");
  EXPECT_EQ(SdkAPIExt_Login_List(nullptr, &count), -1);
  ExpectRefusal("SdkAPIExt_Login_List", "no records");
  for (const size_t size : {size_t{0}, size_t{4}, sizeof login - 1, sizeof login + 8}) {
    login.size = static_cast<uint32_t>(size);
    EXPECT_EQ(SdkAPIExt_Login_List(&login, &count), -1);
    ExpectRefusal("SdkAPIExt_Login_List", "size unknown");
  }
  EXPECT_EQ(count, 1U);
  EXPECT_STREQ(login.token, "");
}

TEST_F(LoginControlTest, WithoutLimitsALoginLasts) {
  LogIn("one");
  Pass(1000000);
  EXPECT_EQ(SdkAPIExt_Login_Limits_Check(), 0);
  EXPECT_TRUE(IsValid("one"));
}

TEST_F(LoginControlTest, AnIdleLoginEndsAtItsTimeAndNotBefore) {
  Set(Limits(60, 0));
  LogIn("one");
  for (int i = 0; i < 5; ++i) {
    Pass(59);
    EXPECT_TRUE(IsValid("one"));
  }
  MonotonicClock() += 59999;
  EXPECT_EQ(SdkAPIExt_Login_Limits_Check(), 0);
  EXPECT_EQ(ended, Ended{});
  MonotonicClock() += 1;
  EXPECT_FALSE(IsValid("one"));
  EXPECT_EQ(ended, (Ended{{"one", kExtLoginIdle}}));
  EXPECT_TRUE(Sessions().empty());
  EXPECT_EQ(TestHost::Get().Lines().back(), "CustomRestoreCb(one, 16, 0)") << "nobody is told to log out";
}

TEST_F(LoginControlTest, AnOldLoginEndsHoweverBusy) {
  Set(Limits(0, 100));
  LogIn("one");
  Pass(50);
  LogIn("two");
  Pass(49);
  EXPECT_TRUE(IsValid("one"));
  Pass(1);
  EXPECT_FALSE(IsValid("one"));
  EXPECT_TRUE(IsValid("two"));
  EXPECT_EQ(ended, (Ended{{"one", kExtLoginTooOld}}));
  Pass(50);
  EXPECT_FALSE(IsValid("two"));
  EXPECT_EQ(ended.size(), 2U);
}

TEST_F(LoginControlTest, OneRequestEndsAllThatAreDue) {
  Set(Limits(60, 1000));
  for (const char* const token : {"a", "b", "c", "d"}) LogIn(token);
  Pass(30);
  EXPECT_TRUE(IsValid("b"));
  Pass(30);
  EXPECT_FALSE(IsValid("nobody"));
  EXPECT_EQ(ended, (Ended{{"a", kExtLoginIdle}, {"c", kExtLoginIdle}, {"d", kExtLoginIdle}}));
  EXPECT_EQ(Sessions(), Strings{"b"});
  EXPECT_TRUE(IsValid("b"));
}

TEST_F(LoginControlTest, TheHostsOwnCallEndsThemToo) {
  Set(Limits(60, 0));
  LogIn("one");
  Pass(60);
  EXPECT_EQ(SdkAPIExt_Login_Limits_Check(), 0);
  EXPECT_EQ(ended, (Ended{{"one", kExtLoginIdle}}));
  EXPECT_EQ(sdkapi::LoginCount(), 0);
}

TEST_F(LoginControlTest, WithAuthenticationOffARequestIsNoUseAndChecksAllTheSame) {
  Set(Limits(60, 0));
  LogIn("one");
  SdkAPISer_AuthenticationSwitch_Set(0);
  Pass(59);
  EXPECT_TRUE(IsValid("one"));
  EXPECT_EQ(Logins()[0].idleSeconds, 59U);
  Pass(1);
  EXPECT_TRUE(IsValid("one")) << "no token is needed";
  EXPECT_EQ(ended, (Ended{{"one", kExtLoginIdle}}));
}

TEST_F(LoginControlTest, LimitsHoldForLoginsThatAreThereAndCanBeTakenBack) {
  LogIn("one");
  Pass(70);
  Set(Limits(60, 0));
  EXPECT_EQ(SdkAPIExt_Login_Limits_Set(nullptr), 0);
  EXPECT_TRUE(IsValid("one"));
  Set(Limits(60, 0));
  Pass(60);
  EXPECT_FALSE(IsValid("one"));
}

TEST_F(LoginControlTest, AHookIsNotNeeded) {
  SdkAPIExtLoginLimits limits = Limits(60, 0);
  limits.ended = nullptr;
  Set(limits);
  LogIn("one");
  Pass(60);
  EXPECT_FALSE(IsValid("one"));
}

// Whatever a hook calls, no lock is held, and it is called once for each login.
TEST_F(LoginControlTest, AHookMayCallEverything) {
  Set(Limits(60, 0));
  for (const char* const token : {"a", "b", "c"}) LogIn(token);
  onEnd = [](const std::string& token, int) {
    EXPECT_EQ(GetLoginHandle(token.c_str()), nullptr);
    EXPECT_EQ(SdkAPIExt_Login_End(token.c_str()), -1);
    EXPECT_EQ(SdkAPIExt_Login_Limits_Check(), 0);
    EXPECT_EQ(Logins().size(), 3 - ended.size());
    EXPECT_EQ(SdkAPIExt_WebSocket_Send_Valid(kExtText, "x", 1), 0);
    std::thread([] { EXPECT_EQ(SdkAPIExt_Login_Limits_Check(), 0); }).join();
  };
  Pass(60);
  EXPECT_EQ(SdkAPIExt_Login_Limits_Check(), 0);
  EXPECT_EQ(ended.size(), 3U);
  EXPECT_EQ(sdkapi::LoginCount(), 0);
}

TEST_F(LoginControlTest, AHookIsNotCalledWithinItself) {
  Set(Limits(60, 0));
  for (const char* const token : {"a", "b", "c"}) LogIn(token);
  int depth = 0;
  onEnd = [&depth](const std::string&, int) {
    EXPECT_EQ(++depth, 1);
    EXPECT_EQ(SdkAPIExt_Login_Limits_Check(), 0);
    --depth;
  };
  Pass(60);
  EXPECT_EQ(SdkAPIExt_Login_Limits_Check(), 0);
  EXPECT_EQ(ended.size(), 3U);
}

TEST_F(LoginControlTest, BeyondTheMostTheLongestUnusedEnds) {
  Set(Limits(0, 0, 2));
  LogIn("a");
  LogIn("b");
  Pass(1);
  EXPECT_TRUE(IsValid("a"));
  EXPECT_EQ(LogInFrom("c"), JsonReply(200, R"({"token":"c","firstlogin":0,"code":0})"));
  EXPECT_EQ(ended, (Ended{{"b", kExtLoginNoRoom}}));
  EXPECT_TRUE(IsValid("a"));
  EXPECT_FALSE(IsValid("b"));
  EXPECT_TRUE(IsValid("c"));
  EXPECT_EQ(Sessions(), (Strings{"a", "c"}));
}

TEST_F(LoginControlTest, ASmallerMostEndsAsManyAsItTakes) {
  for (const char* const token : {"a", "b", "c", "d"}) LogIn(token);
  Set(Limits(0, 0, 2));
  EXPECT_EQ(sdkapi::LoginCount(), 4) << "they stay until a login comes";
  LogIn("e");
  EXPECT_EQ(ended, (Ended{{"a", kExtLoginNoRoom}, {"b", kExtLoginNoRoom}, {"c", kExtLoginNoRoom}}));
  EXPECT_EQ(sdkapi::LoginCount(), 2);
}

TEST_F(LoginControlTest, ARefusedLoginIsTheHostsToForget) {
  Set(Limits(0, 0, 1, kExtFullRefuses));
  LogIn("a");
  EXPECT_EQ(LogInFrom("b"), JsonReply(503));
  EXPECT_EQ(ended, (Ended{{"b", kExtLoginNoRoom}}));
  EXPECT_TRUE(IsValid("a"));
  EXPECT_FALSE(IsValid("b"));
  EXPECT_EQ(Sessions(), Strings{"a"});
  EXPECT_EQ(SdkAPIExt_Login_End("a"), 0);
  LogIn("b");
  EXPECT_TRUE(IsValid("b"));
}

TEST_F(LoginControlTest, ALoginWithoutATokenTakesNoRoom) {
  Set(Limits(0, 0, 1, kExtFullRefuses));
  LogIn("a");
  EXPECT_EQ(LogInFrom(""), JsonReply(200, R"({"token":"","firstlogin":0,"code":0})"));
}

TEST_F(LoginControlTest, ManyLoginsAtOnceNeverExceedTheMost) {
  for (const int whenFull : {kExtFullEndsOldestIdle, kExtFullRefuses}) {
    SdkAPIExtLoginLimits limits = Limits(0, 0, 3, whenFull);
    limits.ended = nullptr;
    Set(limits);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
      threads.emplace_back([i] {
        for (int n = 0; n < 200; ++n) {
          const sdkapi::LoginRef login = sdkapi::NewLogin();
          const std::string token = std::to_string(i) + "-" + std::to_string(n);
          sdkapi::RegisterWithinLimits(login, token.c_str());
          EXPECT_LE(sdkapi::LoginCount(), 3);
        }
      });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(sdkapi::LoginCount(), 3);
    EXPECT_EQ(Sessions().size(), 3U);
    sdkapi::LoginTimeOutTaskCb("none");
  }
}

TEST_F(LoginControlTest, LimitsRefuseBadArguments) {
  Set(Limits(60, 0, 2));
  struct Row {
    const char* reason;
    std::function<void(SdkAPIExtLoginLimits&)> spoil;
  };
  const Row rows[] = {
      {"size unknown", [](auto& limits) { limits.size = 0; }},
      {"size unknown", [](auto& limits) { limits.size -= 8; }},
      {"size unknown", [](auto& limits) { limits.size += 8; }},
      {"more than 20 logins", [](auto& limits) { limits.most = 21; }},
      {"whenFull unknown", [](auto& limits) { limits.whenFull = 2; }},
      {"whenFull unknown", [](auto& limits) { limits.whenFull = -1; }},
      {"reserved is not 0", [](auto& limits) { limits.reserved = 1; }},
  };
  LogCapture::Clear();
  for (const Row& row : rows) {
    SdkAPIExtLoginLimits limits = Limits(1, 1, 1);
    row.spoil(limits);
    EXPECT_EQ(SdkAPIExt_Login_Limits_Set(&limits), -1);
    ExpectRefusal("SdkAPIExt_Login_Limits_Set", row.reason);
  }
  LogIn("a");
  LogIn("b");
  Pass(59);
  EXPECT_TRUE(IsValid("a")) << "what was set before still holds";
}

}  // namespace
