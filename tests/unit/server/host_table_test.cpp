// The library's copy of the host's table and the layout of the table.
#include "server/host_table.h"

#include <cstddef>
#include <cstring>

#include "library_fixture.h"

namespace {

TEST(HostTable, IsCopiedWhole) {
  SdkAPISerHandle table = sdktest::TestHost::Table();
  std::memset(table.data, 'd', sizeof table.data);
  EXPECT_EQ(sdkapi::SdkAPISerHandleInit(&table), 0);
  EXPECT_EQ(std::memcmp(sdkapi::GetSerHandle(), &table, 1296), 0);
  EXPECT_NE(sdkapi::GetSerHandle(), &table);
}

struct SlotPlace {
  const char* name;
  std::size_t offset;
  int index;
};
class SlotPlaceTest : public testing::TestWithParam<SlotPlace> {};

TEST_P(SlotPlaceTest, StandsAtItsIndex) {
  EXPECT_EQ(GetParam().offset, static_cast<std::size_t>(GetParam().index) * 8) << GetParam().name;
}

#define SLOT(name, index) \
  SlotPlace { #name, offsetof(SdkAPISerHandle, name), index }
INSTANTIATE_TEST_SUITE_P(
    Slots, SlotPlaceTest,
    testing::Values(SLOT(AuthQueryCb, 0), SLOT(LoginCb, 1), SLOT(LogOutCb, 2), SLOT(ChangeUserInfoCb, 3),
                    SLOT(ManageUserCb, 4), SLOT(DeviceInfoCb, 5), SLOT(CustomRestoreCb, 7),
                    SLOT(DeviceStatusCb, 11), SLOT(DownloadLogFileCb, 17), SLOT(DownloadCustomCb, 18),
                    SLOT(DownloadSceneFileCb, 19), SLOT(PreviewCb, 20), SLOT(GetTxRxListCb, 21),
                    SLOT(GetPrivJsonCb, 22), SLOT(SpecifyPrivCb, 23), SLOT(DeletePrivCb, 24),
                    SLOT(DownloadEdidFileCb, 25), SLOT(DownloadSettingFileCb, 26),
                    SLOT(DownloadImageFileCb, 27), SLOT(UploadImageFileCb, 28), SLOT(UploadTxtFileCb, 29),
                    SLOT(UploadCertFileCb, 30), SLOT(UploadZipFileCb, 31), SLOT(UpgradeCb, 32),
                    SLOT(WebSocketCb, 33), SLOT(data, 34)),
    sdktest::ByName{});
#undef SLOT

TEST(Records, HaveTheSizesThatHostsRelyOn) {
  EXPECT_EQ(sizeof(SdkAPISerHandle), 1296U);
  EXPECT_EQ(sizeof(LoginInfo), 1360U);
  EXPECT_EQ(sizeof(ChangeUserRequest), 584U);
  EXPECT_EQ(sizeof(ManageUserRequest), 332U);
  EXPECT_EQ(sizeof(DownloadFileInfo), 512U);
  EXPECT_EQ(sizeof(DownloadSettingInfo), 544U);
  EXPECT_EQ(sizeof(CustomDownloadInfo), 512U);
  EXPECT_EQ(sizeof(CustomRestoreArg), 8U);
  EXPECT_EQ(sizeof(PrivEntry), 12936U);
  EXPECT_EQ(sizeof(UploadFileCtx), 33072U);
  EXPECT_EQ(sizeof(UploadCustomCtx), 33080U);
}

}  // namespace
