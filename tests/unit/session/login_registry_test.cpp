// The registry of logins, the look-up of a request's table, and the end of a login.
#include "session/login_registry.h"

#include <atomic>
#include <cstring>
#include <thread>

#include "library_fixture.h"
#include "server/host_table.h"
#include "server/lifecycle.h"
#include "session/user_stack.h"

namespace {

using sdktest::Strings;
using sdktest::TestHost;

class LoginRegistryTest : public sdktest::LibraryTest {
 protected:
  static Strings Sessions() {
    Strings ids;
    for (const sdkapi::UserEntry& entry : sdkapi::UserTableSnapshot().entries) {
      if (entry.id[0] != '\0') ids.emplace_back(entry.id);
    }
    return ids;
  }
};

TEST_F(LoginRegistryTest, WithAuthenticationOffEveryTokenFindsTheGlobalTable) {
  LogIn("tok");
  for (const char* const token : {"tok", "other", ""})
    EXPECT_EQ(GetLoginHandle(token), sdkapi::GetSerHandle());
  EXPECT_EQ(GetLoginHandle(nullptr), sdkapi::GetSerHandle());
}

TEST_F(LoginRegistryTest, WithAuthenticationOnOnlyTheLoginsTokenFindsItsCopy) {
  RequireLogin();
  LogIn("tok");
  SdkAPISerHandle* const table = GetLoginHandle("tok");
  ASSERT_NE(table, nullptr);
  EXPECT_NE(table, sdkapi::GetSerHandle());
  EXPECT_STREQ(table->data, "tok");
  EXPECT_EQ(std::memcmp(table, sdkapi::GetSerHandle(), offsetof(SdkAPISerHandle, data)), 0);
  for (const char* const token : {"to", "tokk", "TOK", " tok", ""})
    EXPECT_EQ(GetLoginHandle(token), nullptr) << token;
  EXPECT_EQ(GetLoginHandle(nullptr), nullptr);
}

TEST_F(LoginRegistryTest, ALaterTableDoesNotReachAnEarlierLogin) {
  RequireLogin();
  LogIn("tok");
  SdkAPISerHandle other = TestHost::Table();
  other.DeviceInfoCb = nullptr;
  Install(other);
  EXPECT_NE(GetLoginHandle("tok")->DeviceInfoCb, nullptr);
}

TEST_F(LoginRegistryTest, OfTwoLoginsWithOneTokenTheOlderIsFound) {
  RequireLogin();
  LogIn("tok");
  const SdkAPISerHandle* const older = GetLoginHandle("tok");
  LogIn("tok");
  EXPECT_EQ(GetLoginHandle("tok"), older);
  EXPECT_EQ(sdkapi::LoginCount(), 2);
}

TEST_F(LoginRegistryTest, TimeOutTellsTheHostAndRemovesTheLogin) {
  RequireLogin();
  LogIn("tok");
  EXPECT_EQ(sdkapi::LoginTimeOutTaskCb("tok"), 0);
  EXPECT_EQ(TestHost::Calls(), Strings{"LogOutCb()"});
  EXPECT_EQ(Log(), Strings{"1 sdkapi userid [tok] login time out.. "});
  EXPECT_EQ(GetLoginHandle("tok"), nullptr);
  EXPECT_EQ(Sessions(), Strings{"tok"}) << "the session stack is its caller's business";
}

TEST_F(LoginRegistryTest, TheSecondTimeOutFindsNothing) {
  RequireLogin();
  LogIn("tok");
  sdkapi::LoginTimeOutTaskCb("tok");
  sdktest::LogCapture::Clear();
  EXPECT_EQ(sdkapi::LoginTimeOutTaskCb("tok"), -1);
  EXPECT_EQ(Log(), (Strings{"1 sdkapi userid [tok] login time out.. ", "4 sdkapi GetLoginHandle err!!!!"}));
  EXPECT_EQ(TestHost::Calls(), Strings{"LogOutCb()"});
}

TEST_F(LoginRegistryTest, TimeOutWithoutALogOutSlotStillRemovesTheLogin) {
  SdkAPISerHandle table = TestHost::Table();
  table.LogOutCb = nullptr;
  Install(table);
  RequireLogin();
  LogIn("tok");
  EXPECT_EQ(sdkapi::LoginTimeOutTaskCb("tok"), 0);
  EXPECT_EQ(TestHost::Calls(), Strings{});
  EXPECT_EQ(GetLoginHandle("tok"), nullptr);
}

TEST_F(LoginRegistryTest, TimeOutWithAuthenticationOffFailsToRemoveTheGlobalTable) {
  EXPECT_EQ(sdkapi::LoginTimeOutTaskCb("tok"), -1);
  EXPECT_EQ(TestHost::Calls(), Strings{"LogOutCb()"});
  EXPECT_EQ(Log(), (Strings{"1 sdkapi userid [tok] login time out.. ", "1 sdkapi json api del handle fail"}));
}

TEST_F(LoginRegistryTest, StartUpEmptiesRegistryAndSessions) {
  RequireLogin();
  LogIn("one");
  LogIn("two");
  EXPECT_EQ(Sessions(), (Strings{"one", "two"}));
  EXPECT_EQ(sdkapi::UsrManageTask(), 0);
  EXPECT_EQ(sdkapi::LoginCount(), 0);
  EXPECT_EQ(Sessions(), Strings{});
}

TEST_F(LoginRegistryTest, StartUpInstallsTheTimeOutForTheSessionLoop) {
  RequireLogin();
  LogIn("tok");
  sdktest::System().upTime = 100000;
  sdktest::System().onSleep = [](unsigned) { UnInitUsrIdStack(); };
  sdkapi::CheckUsrIdStack(nullptr);
  EXPECT_EQ(TestHost::Calls(), Strings{"LogOutCb()"});
  EXPECT_EQ(sdkapi::LoginCount(), 0);
  EXPECT_EQ(Sessions(), Strings{});
}

TEST_F(LoginRegistryTest, ALoginFoundForARequestOutlivesItsLogOut) {
  RequireLogin();
  LogIn("tok");
  const sdkapi::LoginPtr login = sdkapi::FindLogin("tok");
  ASSERT_NE(login, nullptr);
  EXPECT_EQ(sdkapi::LoginTimeOutTaskCb("tok"), 0);
  EXPECT_EQ(sdkapi::FindLogin("tok"), nullptr);
  EXPECT_STREQ(login->data, "tok");
  EXPECT_NE(login->DeviceInfoCb, nullptr);
}

TEST_F(LoginRegistryTest, LookUpsRaceLogOutsCleanly) {
  RequireLogin();
  std::atomic<bool> stop{false};
  const auto lookUp = [&stop] {
    while (!stop.load()) {
      const sdkapi::LoginPtr login = sdkapi::FindLogin("tok");
      if (login == nullptr) continue;
      EXPECT_STREQ(login->data, "tok");
    }
  };
  std::thread one(lookUp);
  std::thread two(lookUp);
  for (int round = 0; round < 100; ++round) {
    LogIn("tok");
    EXPECT_EQ(sdkapi::LoginTimeOutTaskCb("tok"), 0);
    sdkapi::RemoveSession("tok");
  }
  stop.store(true);
  one.join();
  two.join();
  EXPECT_EQ(sdkapi::LoginCount(), 0);
}

}  // namespace
