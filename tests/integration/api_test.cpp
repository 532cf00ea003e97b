// Users, unit list, privileges and restore, as clients meet them.
#include <cstring>

#include "server_test_base.h"

namespace integration {
namespace {

class ApiTest : public ModeTest {
 protected:
  // The token that a slot gets: the request's.
  std::string SlotToken() const { return token(); }

  Call LastCall(const std::string& slot) {
    const auto calls = host().Calls(slot);
    return calls.empty() ? Call{} : calls.back();
  }
};

TEST_P(ApiTest, UserChangesReachTheHostWithTheirType) {
  const std::string body = R"({"username":"u","newusername":"n","newpassword":"np","oldpassword":"op"})";
  for (const auto& [url, type] : {std::pair{"/change/password", 1}, std::pair{"/change/usrorpasswd", 2}}) {
    std::string seen;
    host().changeUser = [&](ChangeUserRequest& request) {
      seen = std::string(request.username) + "|" + request.newusername + "|" + request.newpassword + "|" +
             request.oldpassword + "|" + std::to_string(request.changeType);
      request.code = 3;
      return 0;
    };
    ExpectReply(Post(url, body), 200, "{\n\t\"code\":\t3\n}");
    EXPECT_EQ(seen, "u|n|np|op|" + std::to_string(type));
  }
}

TEST_P(ApiTest, FailedUserChangesAreAnsweredWithNothing) {
  host().changeUser = [](ChangeUserRequest&) { return -1; };
  EXPECT_EQ(Post("/change/password", "{}").raw, "") << "the connection ends at once, without a byte";
  host().changeUser = [](ChangeUserRequest&) { return -2; };
  ExpectReply(Post("/change/password", "{}"), 401);
}

TEST_P(ApiTest, UsersAreCreatedAndDeleted) {
  std::string seen;
  host().manageUser = [&](ManageUserRequest& request) {
    seen = std::string(request.username) + "|" + request.password + "|" + std::to_string(request.role) + "|" +
           std::to_string(request.action);
    request.code = 7;
    return 0;
  };
  const std::string body = R"({"username":"eve","password":"pw","role":2})";
  ExpectReply(Post("/createuser", body), 200, R"({"code":7})");
  EXPECT_EQ(seen, "eve|pw|2|0");
  ExpectReply(Post("/deleteuser", body), 200, R"({"code":7})");
  EXPECT_EQ(seen, "eve||0|1") << "password and role are for creation only";
  ExpectReply(Post("/deleteuser", "not json"), 200, R"({"code":7})");
  EXPECT_EQ(seen, "||0|1");
}

TEST_P(ApiTest, ARoleThatIsNoNumberIsRoleZero) {
  struct Row {
    const char* json;
    int role;
  };
  for (const Row& row : {Row{"true", 0}, Row{"false", 0}, Row{"null", 0}, Row{R"("1")", 0}, Row{"[1]", 0},
                         Row{"{}", 0}, Row{"1", 1}, Row{"-3", -3}}) {
    SCOPED_TRACE(row.json);
    int role = -1;
    host().manageUser = [&role](ManageUserRequest& request) {
      role = request.role;
      return 0;
    };
    ExpectReply(
        Post("/createuser", std::string(R"({"username":"eve","password":"pw","role":)") + row.json + "}"),
        200, R"({"code":0})");
    EXPECT_EQ(role, row.role);
  }
}

TEST_P(ApiTest, ResultsBecomeStatuses) {
  struct Row {
    int result;
    int readStatus;
    int writeStatus;
  };
  for (const Row& row : {Row{-2, 401, 401}, Row{-1, 500, 503}, Row{5, 500, 503}}) {
    SCOPED_TRACE(row.result);
    host().manageUser = [&](ManageUserRequest&) { return row.result; };
    host().customRestore = [&](CustomRestoreArg&) { return row.result; };
    host().txRxList = [&](char*) { return row.result; };
    host().privJson = [&](PrivList&) { return row.result; };
    host().specifyPriv = [&](const std::string&, const std::string&) { return row.result; };
    host().deletePriv = [&](const std::string&) { return row.result; };
    ExpectReply(Post("/createuser", "{}"), row.readStatus);
    ExpectReply(Post("/custom_restore", ""), row.readStatus);
    ExpectReply(Get("/getTxRxList"), row.readStatus);
    ExpectReply(Get("/getprivjson"), row.readStatus);
    ExpectReply(Get("/specifypriv?file=a&hostname=b"), row.writeStatus);
    ExpectReply(Get("/delete_priv?file=a.png"), row.writeStatus);
  }
}

TEST_P(ApiTest, AnUnknownTokenIsRefusedEverywhere) {
  if (!mode().auth) return;
  struct Row {
    const char* target;
    const char* log;
  };
  for (const Row& row :
       {Row{"/createuser", "token err!!!!"}, Row{"/change/password", "token err!!!!"},
        Row{"/getTxRxList", "token err!!!!"}, Row{"/getprivjson", "token err!!!!"},
        Row{"/custom_restore", "token err!!!!"}, Row{"/specifypriv", "GetLoginHandle err!!!!"},
        Row{"/delete_priv", "GetLoginHandle err!!!!"}}) {
    SCOPED_TRACE(row.target);
    LogCapture::Clear();
    ExpectReply(SendBare({"GET", row.target, {}, ""}), 401);
    EXPECT_TRUE(LogCapture::Wait(4, row.log, "sdkapi"));
  }
  EXPECT_TRUE(host().Calls().empty());
}

TEST_P(ApiTest, RestoreTakesAnyMethod) {
  ExpectReply(Get("/custom_restore"), 200);
  ExpectReply(Post("/custom_restore", "{}"), 200);
  EXPECT_EQ(host().Count("CustomRestoreCb"), 2);
}

TEST_P(ApiTest, TheUnitListIsOneEscapedText) {
  host().txRxList = [](char* list) { return std::strcpy(list, R"([{"name":"TX"}])"), 0; };
  ExpectReply(Get("/getTxRxList"), 200, R"({"list":"[{\"name\":\"TX\"}]"})");
}

TEST_P(ApiTest, AUnitListOfQuotesArrivesWhole) {
  host().txRxList = [](char* list) { return std::memset(list, '"', kTxRxListSize), 0; };  // no NUL at the end
  std::string expected = R"({"list":")";
  for (int i = 0; i < kTxRxListSize - 1; ++i) expected += "\\\"";
  ExpectReply(Get("/getTxRxList"), 200, expected + "\"}");
}

TEST_P(ApiTest, PrivilegesAreListed) {
  host().privJson = [](PrivList& list) {
    list.count = 2;
    list.entries = static_cast<PrivEntry*>(std::calloc(2, sizeof(PrivEntry)));
    list.entries[0].serialnum = 4;
    list.entries[0].hostcount = 2;
    std::strcpy(list.entries[0].hostname[0], "RX01");
    std::strcpy(list.entries[0].hostname[1], "RX02");
    std::strcpy(list.entries[0].picname, "a.png");
    list.entries[1].hostcount = 100;
    std::memset(list.entries[1].picname, 'p', sizeof list.entries[1].picname);  // no NUL at the end
    return 0;
  };
  ExpectReply(Get("/getprivjson"), 200,
              R"({"picnum":2,"6000list":[{"serialnum":4,"picname":"a.png","hostname":["RX01","RX02"]},)"
              R"({"serialnum":0,"picname":")" +
                  std::string(127, 'p') + R"(","hostname":[]}]})");
}

TEST_P(ApiTest, OddPrivilegeListsDoNoHarm) {
  ExpectReply(Get("/getprivjson"), 200, R"({"picnum":0,"6000list":[]})");
  host().privJson = [](PrivList& list) { return list.count = 3, 0; };
  ExpectReply(Get("/getprivjson"), 200, R"({"picnum":3,"6000list":[]})");
  host().privJson = [](PrivList& list) {
    list.count = -1;
    list.entries = static_cast<PrivEntry*>(std::calloc(1, sizeof(PrivEntry)));
    return 0;
  };
  ExpectReply(Get("/getprivjson"), 200, R"({"picnum":-1,"6000list":[]})");
  host().privJson = [](PrivList& list) {
    list.count = 1;
    list.entries = static_cast<PrivEntry*>(std::calloc(1, sizeof(PrivEntry)));
    return -2;  // the array is released all the same
  };
  ExpectReply(Get("/getprivjson"), 401);
}

TEST_P(ApiTest, TwoHundredFullPrivilegesArriveWhole) {
  constexpr int kPictures = 200;
  constexpr int kHosts = 99;
  host().privJson = [](PrivList& list) {
    list.count = kPictures;
    list.entries = static_cast<PrivEntry*>(std::calloc(kPictures, sizeof(PrivEntry)));
    for (int i = 0; i < kPictures; ++i) {
      list.entries[i].hostcount = kHosts;
      for (int row = 0; row < kHosts; ++row) std::strcpy(list.entries[i].hostname[row], "host");
    }
    return 0;
  };
  std::string names;
  for (int row = 0; row < kHosts; ++row) names += row == 0 ? R"("host")" : R"(,"host")";
  std::string expected = R"({"picnum":200,"6000list":[)";
  for (int i = 0; i < kPictures; ++i) {
    expected +=
        (i == 0 ? "" : ",") + std::string(R"({"serialnum":0,"picname":"","hostname":[)") + names + "]}";
  }
  ExpectReply(Get("/getprivjson"), 200, expected + "]}");
}

TEST_P(ApiTest, PrivilegeParametersAreDecodedAndCut) {
  ExpectReply(Get("/specifypriv?hostname=R%58+1&file=a%20b.png"), 200);
  EXPECT_EQ(LastCall("SpecifyPrivCb"), (Call{"SpecifyPrivCb", SlotToken(), {"RX 1", "a b.png"}}));
  for (const std::size_t length : {255U, 256U, 300U, 1000U}) {
    const std::string query =
        "?hostname=" + std::string(length, 'h') + "&file=" + std::string(length, 'f') + "%41";
    ExpectReply(Get("/specifypriv" + query), 200);
    EXPECT_EQ(LastCall("SpecifyPrivCb"),
              (Call{"SpecifyPrivCb", SlotToken(), {std::string(127, 'h'), std::string(255, 'f')}}));
    ExpectReply(Get("/delete_priv" + query), 200);
    EXPECT_EQ(LastCall("DeletePrivCb"), (Call{"DeletePrivCb", SlotToken(), {std::string(255, 'f')}}));
  }
}

INSTANTIATE_TEST_SUITE_P(Modes, ApiTest, AllModes(), ModeName);

// Every row of the route table, and URIs near it.
class RouteTest : public ModeTest {};

TEST_P(RouteTest, EachUriReachesItsSlot) {
  struct Row {
    const char* target;
    const char* slot;
  };
  const Row rows[] = {
      {"/iplogin", "AuthQueryCb"},
      {"/change/password", "ChangeUserInfoCb"},
      {"/change/usrorpasswd", "ChangeUserInfoCb"},
      {"/createuser", "ManageUserCb"},
      {"/deleteuser", "ManageUserCb"},
      {"/upload/sub/upgrade", "UploadZipFileCb"},
      {"/upload/sub/bg", "UploadImageFileCb"},
      {"/upload/sub/bgx", "UploadImageFileCb"},
      {"/upload/sub/logo", "UploadImageFileCb"},
      {"/upload/sub/png", "UploadImageFileCb"},
      {"/upload/sub/setbgimage", "UploadImageFileCb"},
      {"/upload/sub/setbaseimage", "UploadImageFileCb"},
      {"/upload/priv", "UploadImageFileCb"},
      {"/upload/scene", "UploadTxtFileCb"},
      {"/upload/scene/x", "UploadTxtFileCb"},
      {"/upload/security", "UploadCertFileCb"},
      {"/upload/sub/security", "UploadCertFileCb"},
      {"/upload/xyte", "UploadTxtFileCb"},
      {"/log", "DownloadLogFileCb"},
      {"/download/custom", "DownloadCustomCb"},
      {"/download/custom/x", "DownloadCustomCb"},
      {"/download/scene", "DownloadSceneFileCb"},
      {"/getdevicetime", "DeviceInfoCb"},
      {"/custom_restore", "CustomRestoreCb"},
      {"/getTxRxList", "GetTxRxListCb"},
      {"/getTxRxListing", "GetTxRxListCb"},
      {"/getprivjson", "GetPrivJsonCb"},
      {"/specifypriv", "SpecifyPrivCb"},
      {"/delete_priv", "DeletePrivCb"},
      {"/preview/1", "PreviewCb"},
      {"/upload/edid", "UploadTxtFileCb"},
      {"/upload/setting", "UploadZipFileCb"},
      {"/download/edid", "DownloadEdidFileCb"},
      {"/download/setting", "DownloadSettingFileCb"},
      {"/download/logo", "DownloadImageFileCb"},
      {"/dev_info", "DeviceInfoCb"},
      {"/api/v1/fw_upload", "UpgradeCb"},
      {"/upload/bg", "UploadImageFileCb"},
      {"/upload/logo", "UploadImageFileCb"},
      {"/api/v1/security/https_setting", "UploadCertFileCb"},
      {"/api/v1/security/ieee802_1x_setting", "UploadCertFileCb"},
      {"/api/v1/settings/import", "UploadZipFileCb"},
      {"/api/v1/log", "DownloadLogFileCb"},
      {"/api/v1/settings/export", "DownloadSettingFileCb"},
      {"/stream/2", "PreviewCb"},
  };
  host().preview = [](PreviewFrame&) { return 1; };        // refused: nothing streams
  host().download = [](DownloadFileInfo&) { return -1; };  // no file
  host().downloadSetting = [](DownloadSettingInfo&) { return -1; };
  host().authQuery = [this](int* flag) { return *flag = mode().auth ? 0 : 1, 0; };
  const HttpRequest form = UploadRequest("", MultipartBody({{"f", "data", "file"}}));
  for (const Row& row : rows) {
    SCOPED_TRACE(row.target);
    const int before = host().Count(row.slot);
    const std::size_t all = host().Calls().size();
    HttpRequest request = form;
    request.target = row.target;
    Send(request);
    EXPECT_GT(host().Count(row.slot), before);
    EXPECT_EQ(host().Calls().size() - all, static_cast<std::size_t>(host().Count(row.slot) - before))
        << "no other slot";
  }
}

TEST_P(RouteTest, UrisBesideTheTableReachNoSlot) {
  for (const char* const target :
       {"/", "/logx", "/log/", "/logouts", "/iplogin/", "/change/username", "/createuser/x", "/upload/privx",
        "/upload/xyte/", "/dev_info/", "/upload/edid2", "/api/v1/fw_upload/", "/api/v1/logs", "/api/v1",
        "/download/logo/", "/download/settings", "/settings/import", "/upload/sleepimage",
        "/upload/channel"}) {
    SCOPED_TRACE(target);
    Send(HttpRequest{"GET", target, {"Connection: close"}, ""});
    EXPECT_TRUE(host().Calls().empty());
  }
}

INSTANTIATE_TEST_SUITE_P(Modes, RouteTest, AllModes(), ModeName);

class EmptyTableTest : public ServerTest, public ::testing::WithParamInterface<bool> {
 protected:
  void SetUp() override { Prepare({GetParam(), false}, {.webSocketUrl = "", .emptyTable = true}); }
};
INSTANTIATE_TEST_SUITE_P(Schemes, EmptyTableTest, ::testing::Bool());

TEST_P(EmptyTableTest, EveryRouteIsLeftToTheWebServerAndNamesItsHandler) {
  struct Row {
    const char* target;
    const char* handler;
    const char* source;
  };
  const Row rows[] = {
      {"/iplogin", "FuncNoLogin", "sdkapi"},
      {"/change/password", "FuncChangeUserInfo", "sdkapi"},
      {"/change/usrorpasswd", "FuncChangeUserInfo", "sdkapi"},
      {"/createuser", "FuncManageUser", "sdkapi"},
      {"/deleteuser", "FuncManageUser", "sdkapi"},
      {"/upload/sub/upgrade", "FuncUploadZipFile", "sdkapiupload"},
      {"/upload/logo", "FuncUploadImageFile", "sdkapiupload"},
      {"/upload/scene", "FuncUploadTxtFile", "sdkapiupload"},
      {"/upload/security", "FuncUploadCertFile", "sdkapiupload"},
      {"/api/v1/fw_upload", "FuncUpgrade", "sdkapiupload"},
      {"/log", "FuncDownloadLogFile", "sdkapidownload"},
      {"/api/v1/log", "FuncDownloadLogFile", "sdkapidownload"},
      {"/download/custom", "FuncDownloadCustom", "sdkapidownload"},
      {"/download/scene", "FuncDownloadSceneFile", "sdkapidownload"},
      {"/download/edid", "FuncDownloadEdidFile", "sdkapidownload"},
      {"/download/setting", "FuncDownloadSettingFile", "sdkapidownload"},
      {"/download/logo", "FuncDownloadImageFile", "sdkapi"},
      {"/dev_info", "FuncDeviceInfo", "sdkapi"},
      {"/getdevicetime", "FuncDeviceInfo", "sdkapi"},
      {"/custom_restore", "FuncCustomRestore", "sdkapi"},
      {"/getTxRxList", "FuncGetTxRxList", "sdkapi"},
      {"/getprivjson", "FuncGetPrivJson", "sdkapi"},
      {"/specifypriv", "FunSpecityPriv", "sdkapi"},
      {"/delete_priv", "FunDeletePriv", "sdkapi"},
      {"/preview/RX1", "FuncPreview", "sdkapi"},
      {"/stream", "FuncPreview", "sdkapi"},
      {"/api/v1/auth/login", "FuncLogin", "sdkapi"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.target);
    LogCapture::Clear();
    ExpectNotFound(Get(row.target));
    EXPECT_EQ(LogCapture::Count(4, std::string(row.handler) + " not registered!!!!", row.source), 1);
  }
}

TEST_P(EmptyTableTest, LogOutAndWebSocketDoWithoutTheirSlots) {
  ExpectNotFound(LogOut("any"));
  EXPECT_TRUE(LogCapture::Wait(4, "json api del handle fail", "sdkapi"));
  Connection socket(Server::Get().port(GetParam()), GetParam());
  ASSERT_TRUE(
      socket.Send("GET /websocket HTTP/1.1\r\nHost: a\r\nUpgrade: websocket\r\nConnection: "
                  "Upgrade\r\nSec-WebSocket-Version: 13\r\n"
                  "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Protocol: anybody\r\n\r\n"));
  EXPECT_EQ(socket.ReadToEnd(), "");
  EXPECT_NE(socket.end(), Connection::End::kTimeout);
  EXPECT_EQ(LogCapture::Count(4, "WebSocketConnectHandler not registered!!!!", "sdkapi"), 1);
}

}  // namespace
}  // namespace integration
