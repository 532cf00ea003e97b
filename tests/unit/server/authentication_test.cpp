// The authentication switch.
#include "server/authentication.h"

#include "library_fixture.h"

namespace {

TEST(AuthenticationSwitch, ReadsTheOppositeOfWhatWasSet) {
  EXPECT_EQ(SdkAPISer_AuthenticationSwitch_Set(1), 0);
  EXPECT_EQ(SdkAPISer_AuthenticationSwitch_Get(), 0);
  EXPECT_TRUE(sdkapi::LoginIsRequired());
  EXPECT_EQ(SdkAPISer_AuthenticationSwitch_Set(0), 0);
  EXPECT_EQ(SdkAPISer_AuthenticationSwitch_Get(), 1);
  EXPECT_FALSE(sdkapi::LoginIsRequired());
}

TEST(AuthenticationSwitch, OtherValuesChangeNothing) {
  for (const int on : {0, 1}) {
    SdkAPISer_AuthenticationSwitch_Set(on);
    for (const int other : {2, -1, 256, -2147483647}) {
      EXPECT_EQ(SdkAPISer_AuthenticationSwitch_Set(other), 0);
      EXPECT_EQ(SdkAPISer_AuthenticationSwitch_Get(), 1 - on);
    }
  }
  SdkAPISer_AuthenticationSwitch_Set(0);
}

}  // namespace
