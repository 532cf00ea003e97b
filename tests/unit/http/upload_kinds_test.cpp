// Which kind of file an upload URL stands for.
#include <gtest/gtest.h>

#include "sdkapi/transfer.h"

namespace {

struct Row {
  const char* url;
  int funcId;
};
class UploadRouteTest : public testing::TestWithParam<Row> {};

TEST_P(UploadRouteTest, HasItsNumber) {
  EXPECT_EQ(UploadUrlConversionFuncID(GetParam().url), GetParam().funcId) << GetParam().url;
}

INSTANTIATE_TEST_SUITE_P(
    Listed, UploadRouteTest,
    testing::Values(Row{"/upload/sleepimage", 0}, Row{"/upload/logo", 1}, Row{"/upload/bg", 2},
                    Row{"/upload/sub/bg", 3}, Row{"/upload/sub/logo", 4}, Row{"/upload/sub/png", 5},
                    Row{"/upload/sub/setbgimage", 6}, Row{"/upload/sub/setbaseimage", 7},
                    Row{"/upload/priv", 8}, Row{"/api/v1/security/https_setting", 0},
                    Row{"/api/v1/security/ieee802_1x_setting", 1}, Row{"/upload/security", 2},
                    Row{"/upload/sub/security", 3}, Row{"/settings/import", 0}, Row{"/upload/sub/upgrade", 1},
                    Row{"/api/v1/settings/import", 2}, Row{"/upload/channel", 0}, Row{"/upload/xyte", 1},
                    Row{"/upload/scene", 2}, Row{"/upload/edid", 3}));

INSTANTIATE_TEST_SUITE_P(NotListed, UploadRouteTest,
                         testing::Values(Row{nullptr, -1}, Row{"", -1}, Row{"/", -1},
                                         Row{"/upload/sub/bg/", -1}, Row{"/upload/sub/bg?x=1", -1},
                                         Row{"/upload/sub/b", -1}, Row{"/UPLOAD/sub/bg", -1},
                                         Row{" /upload/bg", -1}, Row{"/upload/setting", -1},
                                         Row{"/api/v1/fw_upload", -1}, Row{"http://device/upload/bg", -1}));

}  // namespace
