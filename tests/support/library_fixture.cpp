// A fixture that puts the library into its first state: the steps.
#include "library_fixture.h"

#include <cstdio>

#include "http/handlers.h"
#include "server/host_table.h"
#include "server/lifecycle.h"

namespace sdktest {

LibraryTest::LibraryTest() { StartAfresh(); }

void LibraryTest::StartAfresh() {
  LogCapture::Install();
  SdkAPISer_Stop(nullptr);
  ResetServer();
  TestHost::Get().Reset();
  System() = SystemCalls{};
  SdkAPISer_AuthenticationSwitch_Set(0);
  SetNeutralExtensions();
  sdkapi::UsrManageTask();
  sdkapi::WebSocketInit();
  Install(TestHost::Table());
  LogCapture::Clear();
}

LibraryTest::~LibraryTest() {
  SdkAPISer_Stop(nullptr);
  sdkapi::UsrManageTask();
}

void LibraryTest::Install(const SdkAPISerHandle& table) { sdkapi::SdkAPISerHandleInit(&table); }

void LibraryTest::RequireLogin() { SdkAPISer_AuthenticationSwitch_Set(1); }

void LibraryTest::LogIn(const std::string& token) {
  mg_connection conn("POST", "/api/v1/auth/login");
  const auto kept = TestHost::Get().login.Exchange([&token](LoginInfo& info) {
    std::snprintf(info.token, sizeof info.token, "%s", token.c_str());
    return 0;
  });
  FuncLogin(&conn, nullptr);
  TestHost::Get().login = kept;
  TestHost::Get().ForgetCalls();
  LogCapture::Clear();
}

}  // namespace sdktest
