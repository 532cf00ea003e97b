// The registry of logins, the look-up of a request's table, and the end of a login.
#include "session/login_registry.h"

#include <atomic>
#include <cstring>
#include <ctime>
#include <thread>
#include <vector>

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

TEST_F(LoginRegistryTest, OfThreeLoginsWithOneTokenTheOldestEndsFirst) {
  RequireLogin();
  std::vector<const SdkAPISerHandle*> order;
  for (int i = 0; i < 3; ++i) {
    const sdkapi::LoginRef login = sdkapi::NewLogin();
    order.push_back(login.get());
    sdkapi::RegisterLogin(login, "tok");
    LogIn("other " + std::to_string(i));
  }
  for (const SdkAPISerHandle* const login : order) {
    EXPECT_EQ(GetLoginHandle("tok"), login);
    EXPECT_EQ(sdkapi::LoginTimeOutTaskCb("tok"), 0);
  }
  EXPECT_EQ(GetLoginHandle("tok"), nullptr);
  EXPECT_EQ(sdkapi::LoginCount(), 3);
}

TEST_F(LoginRegistryTest, LoginsThatEndInAnyOrderLeaveTheOthers) {
  RequireLogin();
  for (const char* const last : {"c", "b", "a"}) {
    for (const char* const token : {"a", "b", "c"}) LogIn(token);
    EXPECT_EQ(sdkapi::LoginTimeOutTaskCb(last), 0);
    LogIn("d");  // joins behind what is last now
    EXPECT_EQ(sdkapi::LoginCount(), 3);
    for (const char* const token : {"a", "b", "c", "d"}) {
      EXPECT_EQ(GetLoginHandle(token) != nullptr, std::strcmp(token, last) != 0) << token << last;
    }
    sdkapi::UsrManageTask();
    EXPECT_EQ(sdkapi::LoginCount(), 0);
  }
}

TEST_F(LoginRegistryTest, OnlyWhatIsRegisteredCanBeRemoved) {
  const sdkapi::LoginRef login = sdkapi::NewLogin();
  EXPECT_FALSE(sdkapi::RemoveLogin(login.get()));
  EXPECT_FALSE(sdkapi::RemoveLogin(sdkapi::GetSerHandle()));
  sdkapi::RegisterLogin(login, "tok");
  EXPECT_TRUE(sdkapi::RemoveLogin(login.get()));
  EXPECT_FALSE(sdkapi::RemoveLogin(login.get()));
}

TEST_F(LoginRegistryTest, ATokenIsComparedWhole) {
  RequireLogin();
  LogIn(std::string(1023, 't'));
  EXPECT_NE(GetLoginHandle(std::string(1023, 't').c_str()), nullptr);
  for (const std::size_t length : {1022U, 1024U, 1031U})
    EXPECT_EQ(GetLoginHandle(std::string(length, 't').c_str()), nullptr) << length;
}

TEST_F(LoginRegistryTest, AHostsOwnListsAreNoneOfTheRegistrys) {
  RequireLogin();
  LogIn("tok");
  HandleManage list{};
  HandleManageInitHead(&list);
  EXPECT_EQ(HandleManageAddHandle(&list, GetLoginHandle("tok")), 0);
  EXPECT_EQ(HandleManageAddHandle1(&list, GetLoginHandle("tok")), 0);
  EXPECT_EQ(HandleManageDelHandle(&list, GetLoginHandle("tok")), 0);
  EXPECT_NE(GetLoginHandle("tok"), nullptr);
  EXPECT_EQ(sdkapi::LoginTimeOutTaskCb("tok"), 0);
  EXPECT_EQ(HandleManageGetUsrCount(&list), 1);
  HandleManageDelHandle(&list, HandleManageGetNextHandle(&list));
}

// Walking to a login, or to the list's end, took minutes here. What others do on the machine does not count.
TEST_F(LoginRegistryTest, SixtyThousandLoginsStallNobody) {
  RequireLogin();
  SdkApiSer_Printf(nullptr);
  const std::clock_t start = std::clock();
  const auto token = [](int i) { return "token " + std::to_string(i); };
  for (int i = 0; i < 60000; ++i) sdkapi::RegisterLogin(sdkapi::NewLogin(), token(i).c_str());
  for (int i = 0; i < 60000; ++i) ASSERT_NE(sdkapi::FindLogin(token(i).c_str()), nullptr) << i;
  for (int i = 60000; i-- > 0;) ASSERT_EQ(sdkapi::LoginTimeOutTaskCb(token(i).c_str()), 0) << i;
  EXPECT_EQ(sdkapi::LoginCount(), 0);
  EXPECT_LT((std::clock() - start) / CLOCKS_PER_SEC, 20);
}

TEST_F(LoginRegistryTest, TimeOutTellsTheHostAndRemovesTheLogin) {
  RequireLogin();
  LogIn("tok");
  EXPECT_EQ(sdkapi::LoginTimeOutTaskCb("tok"), 0);
  EXPECT_EQ(TestHost::Get().Lines(), Strings{"LogOutCb()"});
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
  EXPECT_EQ(TestHost::Get().Lines(), Strings{"LogOutCb()"});
}

TEST_F(LoginRegistryTest, TimeOutWithoutALogOutSlotStillRemovesTheLogin) {
  SdkAPISerHandle table = TestHost::Table();
  table.LogOutCb = nullptr;
  Install(table);
  RequireLogin();
  LogIn("tok");
  EXPECT_EQ(sdkapi::LoginTimeOutTaskCb("tok"), 0);
  EXPECT_EQ(TestHost::Get().Lines(), Strings{});
  EXPECT_EQ(GetLoginHandle("tok"), nullptr);
}

TEST_F(LoginRegistryTest, TimeOutWithAuthenticationOffFailsToRemoveTheGlobalTable) {
  EXPECT_EQ(sdkapi::LoginTimeOutTaskCb("tok"), -1);
  EXPECT_EQ(TestHost::Get().Lines(), Strings{"LogOutCb()"});
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
  EXPECT_EQ(TestHost::Get().Lines(), Strings{"LogOutCb()"});
  EXPECT_EQ(sdkapi::LoginCount(), 0);
  EXPECT_EQ(Sessions(), Strings{});
}

TEST_F(LoginRegistryTest, ALoginFoundForARequestOutlivesItsLogOut) {
  RequireLogin();
  LogIn("tok");
  const sdkapi::LoginRef login = sdkapi::FindLogin("tok");
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
      const sdkapi::LoginRef login = sdkapi::FindLogin("tok");
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
