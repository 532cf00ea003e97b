// The state of a process in which nothing was configured yet; the tests run in the order of this file.
#include <gtest/gtest.h>
#include <unistd.h>

#include "fake_civetweb.h"
#include "log_capture.h"
#include "sdkapi/sdkapi.h"
#include "server/lifecycle.h"
#include "server/log.h"
#include "session/user_stack.h"
#include "system_calls.h"
#include "test_host.h"

namespace {

using Strings = std::vector<std::string>;

TEST(FirstState, WithoutAHookNothingIsLogged) {
  constexpr sdkapi::LogSource kLog{"sdkapi"};
  kLog.error()("%s", "lost");
  sdktest::LogCapture::Install();
  EXPECT_EQ(sdktest::LogCapture::Lines(), Strings{});
  kLog.error()("%s", "kept");
  EXPECT_EQ(sdktest::LogCapture::Lines(), Strings{"4 sdkapi kept"});
  sdktest::LogCapture::Clear();
}

TEST(FirstState, AuthenticationIsOff) { EXPECT_EQ(SdkAPISer_AuthenticationSwitch_Get(), 1); }

TEST(FirstState, TheVersionIsEmptyAndNeverNull) {
  ASSERT_EQ(chdir("/"), 0);  // there is no build.config
  EXPECT_STREQ(SdkAPiSer_Version_Get(), "");
  sdktest::LogCapture::Clear();
}

// Nobody has said yet what a session's end means.
TEST(FirstState, SessionsWithoutATimeOutFunctionStay) {
  EXPECT_EQ(InitUsrIdStack(nullptr), 0);
  EXPECT_EQ(AddUsrIdToStack("one"), 0);
  sdktest::System().upTime += 1000000;
  sdktest::System().onSleep = [](unsigned) { UnInitUsrIdStack(); };
  EXPECT_EQ(sdkapi::CheckUsrIdStack(nullptr), 0);
  EXPECT_STREQ(sdkapi::UserTableSnapshot().entries[0].id, "one");
  sdktest::System() = {};
}

TEST(FirstState, NoServerRuns) {
  EXPECT_FALSE(sdkapi::ServerIsRunning());
  EXPECT_EQ(sdkapi::GetMgContext(), nullptr);
}

TEST(FirstState, CustomRoutesAreRefusedBeforeTheFirstStart) {
  EXPECT_EQ(SdkAPISer_Custom_Get_Post_Api_Add("/x", sdktest::TestHost::CustomGetPost), -1);
  EXPECT_EQ(sdktest::LogCapture::Lines(), Strings{"4 sdkapi ctx error.."});
  EXPECT_TRUE(sdktest::Server().routes.empty());
  sdktest::LogCapture::Clear();
}

TEST(FirstState, StopBeforeTheFirstStartIsHarmless) {
  EXPECT_EQ(SdkAPISer_Stop(nullptr), 0);
  EXPECT_EQ(sdktest::Server().stops, 0);
  sdktest::LogCapture::Clear();
}

TEST(FirstState, StartBeforeInitIsRefused) {
  const SdkAPISerHandle table = sdktest::TestHost::Table();
  EXPECT_EQ(SdkAPISer_Start(&table), -1);
  EXPECT_EQ(sdktest::LogCapture::Lines(), Strings{"4 sdkapi http no init.."});
  EXPECT_EQ(sdktest::Server().starts, 0);
  EXPECT_FALSE(sdkapi::ServerIsRunning());
}

}  // namespace
