// The route table: every row at its place, and which handler a URI reaches.
#include "http/routes.h"

#include <strings.h>

#include "http/handlers.h"
#include "library_fixture.h"

namespace {

using sdktest::Route;
using sdktest::Server;

struct Row {
  std::size_t index;
  const char* pattern;
  mg_request_handler handler;
};
class RouteRowTest : public sdktest::LibraryTest, public testing::WithParamInterface<Row> {};

TEST_P(RouteRowTest, StandsAtItsPlace) {
  const auto table = sdkapi::RouteTable();
  ASSERT_EQ(table.size(), 44U);
  EXPECT_STREQ(table[GetParam().index].pattern, GetParam().pattern);
  EXPECT_EQ(table[GetParam().index].handler, GetParam().handler);
  EXPECT_EQ(table[GetParam().index].cbdata, nullptr);
}

TEST_P(RouteRowTest, IsRegisteredInOrder) {
  EXPECT_EQ(sdkapi::JsonSwitch(&Server().context), 0);
  ASSERT_EQ(Server().routes.size(), 43U);
  const Route& route = Server().routes[GetParam().index];
  EXPECT_EQ(route.uri, GetParam().pattern);
  EXPECT_EQ(route.handler, GetParam().handler);
  EXPECT_EQ(route.cbdata, nullptr);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, RouteRowTest,
    testing::Values(
        Row{0, "/iplogin$", FuncNoLogin}, Row{1, "/logout$", FuncLogOut},
        Row{2, "/change/password$", FuncChangeUserInfo}, Row{3, "/change/usrorpasswd$", FuncChangeUserInfo},
        Row{4, "/createuser$", FuncManageUser}, Row{5, "/deleteuser$", FuncManageUser},
        Row{6, "/upload/sub/upgrade", FuncUploadZipFile}, Row{7, "/upload/sub/bg", FuncUploadImageFile},
        Row{8, "/upload/sub/logo", FuncUploadImageFile}, Row{9, "/upload/sub/png", FuncUploadImageFile},
        Row{10, "/upload/sub/setbgimage", FuncUploadImageFile},
        Row{11, "/upload/sub/setbaseimage", FuncUploadImageFile},
        Row{12, "/upload/priv$", FuncUploadImageFile}, Row{13, "/upload/scene", FuncUploadTxtFile},
        Row{14, "/upload/security", FuncUploadCertFile}, Row{15, "/upload/sub/security", FuncUploadCertFile},
        Row{16, "/upload/xyte$", FuncUploadTxtFile}, Row{17, "/log$", FuncDownloadLogFile},
        Row{18, "/download/custom", FuncDownloadCustom}, Row{19, "/download/scene", FuncDownloadSceneFile},
        Row{20, "/getdevicetime$", FuncDeviceInfo}, Row{21, "/custom_restore", FuncCustomRestore},
        Row{22, "/getTxRxList", FuncGetTxRxList}, Row{23, "/getprivjson$", FuncGetPrivJson},
        Row{24, "/specifypriv$", FunSpecityPriv}, Row{25, "/delete_priv$", FunDeletePriv},
        Row{26, "/preview", FuncPreview}, Row{27, "/upload/edid$", FuncUploadTxtFile},
        Row{28, "/upload/setting$", FuncUploadZipFile}, Row{29, "/download/edid$", FuncDownloadEdidFile},
        Row{30, "/download/setting$", FuncDownloadSettingFile},
        Row{31, "/download/logo$", FuncDownloadImageFile}, Row{32, "/api/v1/auth/login$", FuncLogin},
        Row{33, "/dev_info$", FuncDeviceInfo}, Row{34, "/api/v1/fw_upload$", FuncUpgrade},
        Row{35, "/upload/bg$", FuncUploadImageFile}, Row{36, "/upload/logo$", FuncUploadImageFile},
        Row{37, "/api/v1/security/https_setting$", FuncUploadCertFile},
        Row{38, "/api/v1/security/ieee802_1x_setting$", FuncUploadCertFile},
        Row{39, "/api/v1/settings/import$", FuncUploadZipFile}, Row{40, "/api/v1/log$", FuncDownloadLogFile},
        Row{41, "/api/v1/settings/export$", FuncDownloadSettingFile}, Row{42, "/stream", FuncPreview}));

class RoutesTest : public sdktest::LibraryTest {};

TEST_F(RoutesTest, TheTableEndsWithFuncNoMethodWhichIsNotRegistered) {
  const sdkapi::RouteRow& end = sdkapi::RouteTable()[43];
  EXPECT_EQ(end.pattern, nullptr);
  EXPECT_EQ(end.handler, FuncNoMethod);
  EXPECT_EQ(end.cbdata, nullptr);
  sdkapi::JsonSwitch(&Server().context);
  for (const Route& route : Server().routes) EXPECT_NE(route.handler, FuncNoMethod);
}

TEST_F(RoutesTest, WithoutAContextNothingIsRegistered) {
  EXPECT_EQ(sdkapi::JsonSwitch(nullptr), -1);
  EXPECT_TRUE(Server().routes.empty());
}

TEST_F(RoutesTest, FuncNoMethodDoesNothing) {
  mg_connection conn;
  EXPECT_EQ(FuncNoMethod(&conn, nullptr), 0);
  EXPECT_EQ(conn.output, "");
  EXPECT_EQ(Log(), sdktest::Strings{});
}

// The web server's rule for the patterns of this table: "$" at the end means this URI only.
bool Matches(const std::string& pattern, const std::string& uri) {
  if (pattern.back() == '$') return uri == pattern.substr(0, pattern.size() - 1);
  return uri.compare(0, pattern.size(), pattern) == 0;
}

mg_request_handler HandlerFor(const std::string& uri) {
  for (const Route& route : Server().routes) {
    if (Matches(route.uri, uri)) return route.handler;
  }
  return nullptr;
}

struct Reached {
  const char* uri;
  mg_request_handler handler;
};
class ReachedTest : public RoutesTest, public testing::WithParamInterface<Reached> {};

TEST_P(ReachedTest, TheHandlerOfTheUri) {
  sdkapi::JsonSwitch(&Server().context);
  EXPECT_EQ(HandlerFor(GetParam().uri), GetParam().handler) << GetParam().uri;
}

INSTANTIATE_TEST_SUITE_P(
    Uris, ReachedTest,
    testing::Values(Reached{"/log", FuncDownloadLogFile}, Reached{"/api/v1/log", FuncDownloadLogFile},
                    Reached{"/logx", nullptr}, Reached{"/preview/1", FuncPreview},
                    Reached{"/stream/2", FuncPreview}, Reached{"/dev_info", FuncDeviceInfo},
                    Reached{"/dev_info/", nullptr}, Reached{"/upload/sub/bgx", FuncUploadImageFile},
                    Reached{"/change/username", nullptr}, Reached{"/upload/sleepimage", nullptr},
                    Reached{"/settings/import", nullptr}, Reached{"/upload/channel", nullptr},
                    Reached{"/", nullptr}));

}  // namespace
