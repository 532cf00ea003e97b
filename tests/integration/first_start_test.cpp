// Calls before the first start: what only a fresh process can show, so nothing here starts a server.
#include <gtest/gtest.h>
#include <sdkapi/sdkapi.h>

#include "shared.h"

namespace integration {
namespace {

TEST(FirstStartTest, StopBeforeAnyStartIsHarmless) { EXPECT_EQ(SdkAPISer_Stop(nullptr), 0); }

TEST(FirstStartTest, IsRefusedBeforeInit) {
  LogCapture::Install();
  const SdkAPISerHandle table = TestHost::Table();
  EXPECT_EQ(SdkAPISer_Start(&table), -1);
  EXPECT_EQ(LogCapture::Count(4, "http no init..", "sdkapi"), 1);
}

}  // namespace
}  // namespace integration
