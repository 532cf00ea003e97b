// One request for every handler: the requests and the host's answers.
#include "scenarios.h"

#include <unistd.h>

#include <cstring>
#include <fstream>

#include "base/text.h"
#include "extension_lists.h"
#include "http/handlers.h"
#include "sdkapi/device.h"
#include "sdkapi/extension.h"
#include "server/lifecycle.h"
#include "websocket/connections.h"

namespace sdktest {
namespace {

std::string& DownloadPath() {
  static std::string path;
  return path;
}

void Request(mg_connection& conn, const char* method, const char* uri) {
  conn.method = method;
  conn.uri = uri;
  conn.Token("tok");
}

void Post(mg_connection& conn, const char* uri, const char* body) {
  Request(conn, "POST", uri);
  conn.Body(body);
}

void Upload(mg_connection& conn, const char* uri) {
  Request(conn, "POST", uri);
  conn.Header("Port", "eth0");
  conn.Multipart({{FormField{"file", "a.bin", {{"abc", "d"}, {"def"}}}, FormField{"note", "", {{"text"}}}}});
  conn.Body("twenty bytes of body");
}

template <std::size_t kName, std::size_t kPath>
int Offer(char (&name)[kName], char (&path)[kPath]) {
  sdkapi::CopyText(name, "f.bin");
  sdkapi::CopyText(path, DownloadPath().c_str());
  return 0;
}

void Download(mg_connection& conn, const char* uri) {
  Request(conn, "GET", uri);
  TestHost& host = TestHost::Get();
  host.download = [](DownloadFileInfo& info) { return Offer(info.name, info.path); };
  host.downloadSetting = [](DownloadSettingInfo& info) { return Offer(info.name, info.path); };
  host.customDownload = [](mg_connection*, CustomDownloadInfo& info) {
    return Offer(info.downloadName, info.filePath);
  };
}

void GrantLogin(mg_connection& conn) {
  Post(conn, "/api/v1/auth/login", R"({"username":"admin","password":"secret"})");
  TestHost::Get().login = [](LoginInfo& info) {
    sdkapi::CopyText(info.token, "new");
    sdkapi::CopyText(info.wizard, "step");
    return 0;
  };
}

void LockLogin(mg_connection& conn) {
  GrantLogin(conn);
  TestHost::Get().login = [](LoginInfo& info) {
    info.code = 2;
    info.lockTime = 60;
    return 0;
  };
}

void FillDeviceInfo(mg_connection& conn) {
  Request(conn, "GET", "/dev_info");
  TestHost::Get().deviceInfo = [](DeviceInfo& info) {
    sdkapi::CopyText(info.model, "M1");
    sdkapi::CopyText(info.security, "high");
    info.timeout = 300;
    sdkapi::CopyText(info.devicetime, "now");
    return 0;
  };
}

void FillPrivileges(mg_connection& conn) {
  Request(conn, "GET", "/getprivjson");
  TestHost::Get().privJson = [](PrivList& list) {
    list.entries = AllocatePrivEntries(2);
    if (list.entries == nullptr) return -1;
    list.count = 2;
    for (int i = 0; i < 2; ++i) {
      list.entries[i].hostcount = 2;
      sdkapi::CopyText(list.entries[i].hostname[0], "RX01");
      sdkapi::CopyText(list.entries[i].hostname[1], "RX02");
      sdkapi::CopyText(list.entries[i].picname, "a.png");
    }
    return 0;
  };
}

void ShowTwoPictures(mg_connection& conn) {
  Request(conn, "GET", "/preview/RX01");
  TestHost::Get().preview = [left = 2](PreviewFrame& frame) mutable {
    if (frame.state != 1) return 0;
    frame.length = 1000;
    return left-- > 0 ? 0 : 1;
  };
}

void OpenWebSocket(mg_connection& conn) {
  conn.Header("Sec-WebSocket-Protocol", "tok");
  TestHost::Get().webSocket = [](int event, const std::string& token, const std::string&) {
    if (event == 0) WebSocketSendData(token.c_str(), "early", 5);
    return 0;
  };
}

// A whole life: connect, waiting frame, ready, text, sends, close.
int LiveWebSocket(mg_connection& conn) {
  if (WebSocketConnectHandler(&conn, nullptr) != 0) return 1;
  WebSocketReadyHandler(&conn, nullptr);
  char text[] = "hello";
  const int received = WebsocketDataHandler(&conn, 0x81, text, 5, nullptr);
  EXPECT_TRUE(received == 0 || received == 1);
  WebSocketSendData("tok", "one", 3);
  WebSocketSendDataALL("all", 3);
  WebSocketCloseHandler(&conn, nullptr);
  return 1;
}

// The login that is there ends in favour of the new one.
void DisplaceLogin(mg_connection& conn) {
  GrantLogin(conn);
  SdkAPIExtLoginLimits limits{};
  limits.size = sizeof limits;
  limits.most = 1;
  limits.ended = [](const char* token, int reason) {
    EXPECT_STREQ(token, "tok");
    EXPECT_EQ(reason, kExtLoginNoRoom);
  };
  EXPECT_EQ(SdkAPIExt_Login_Limits_Set(&limits), 0);
}

void GovernUpload(mg_connection& conn) {
  Upload(conn, "/upload/logo");
  EXPECT_EQ(SdkAPIExt_Upload_Limit_Set(kExtUploadImage, 100000), 0);
  SdkAPIExt_UploadEnd_Set([](const SdkAPIExtUpload* upload) {
    EXPECT_EQ(upload->family, kExtUploadImage);
    EXPECT_STREQ(upload->token, "tok");
  });
}

void AskWhoAsks(mg_connection& conn) {
  Post(conn, "/own", "body");
  EXPECT_EQ(SdkAPIExt_SilentFailure_Set(500), 0);
  TestHost::Get().customGetPost = [](mg_connection*, CustomReqInfo&) {
    SdkAPIExtRequest request{};
    request.size = sizeof request;
    EXPECT_EQ(SdkAPIExt_Request_Get(&request), 0);
    EXPECT_STREQ(request.path, "/own");
    EXPECT_EQ(Logins().size(), 1U);
    return -1;
  };
}

void GovernWebSocket(mg_connection& conn) {
  conn.Header("Sec-WebSocket-Protocol", "tok");
  SdkAPIExtWebSocketSlots slots{};
  slots.size = sizeof slots;
  slots.message = [](uint64_t id, const char*, int frame, const char* data, size_t length) {
    EXPECT_EQ(std::string(data, length), std::string(1000, 'm') + "end");
    SdkAPIExt_WebSocket_Send(id, frame, data, length);
    return 0;
  };
  EXPECT_EQ(SdkAPIExt_WebSocket_Slots_Set(&slots), 0);
  TestHost::Get().webSocket = [](int event, const std::string&, const std::string&) {
    if (event == 0) SdkAPIExt_WebSocket_Send(SdkAPIExt_WebSocket_Current(), kExtBinary, "early", 5);
    return 0;
  };
}

// A message in two frames, sends of all kinds, and a close.
int LiveGovernedWebSocket(mg_connection& conn) {
  if (WebSocketConnectHandler(&conn, nullptr) != 0) return 1;
  const uint64_t id = Sockets().front().id;
  WebSocketReadyHandler(&conn, nullptr);
  std::string first(1000, 'm');
  std::string last("end");
  if (WebsocketDataHandler(&conn, 0x01, first.data(), first.size(), nullptr) == 1) {
    WebsocketDataHandler(&conn, 0x80, last.data(), last.size(), nullptr);
  }
  SdkAPIExt_WebSocket_Send_Token("tok", kExtText, "token", 5);
  SdkAPIExt_WebSocket_Send_Valid(kExtText, "valid", 5);
  SdkAPIExt_WebSocket_Close(id, 1000, "bye");
  WebSocketCloseHandler(&conn, nullptr);
  return 1;
}

template <int (*kHandler)(mg_connection*, void*)>
int Run(mg_connection& conn) {
  return kHandler(&conn, nullptr);
}

template <int (*kHandler)(mg_connection*, void*), auto kHostFunction>
int RunCustom(mg_connection& conn) {
  sdkapi::BeginRequest(&conn);
  const int result = kHandler(&conn, reinterpret_cast<void*>(kHostFunction));
  sdkapi::EndRequest(&conn, 200);
  return result;
}

}  // namespace

const std::vector<Scenario>& Scenarios() {
  static const std::vector<Scenario> scenarios = {
      {"Login", GrantLogin, Run<FuncLogin>},
      {"LoginLocked", LockLogin, Run<FuncLogin>},
      {"LogOut", [](mg_connection& conn) { Request(conn, "POST", "/logout"); }, Run<FuncLogOut>},
      {"NoLogin", [](mg_connection& conn) { Request(conn, "GET", "/iplogin"); }, Run<FuncNoLogin>},
      {"ChangeUser",
       [](mg_connection& conn) { Post(conn, "/change/password", R"({"username":"u","newpassword":"p"})"); },
       Run<FuncChangeUserInfo>},
      {"ManageUser", [](mg_connection& conn) { Post(conn, "/createuser", R"({"username":"u","role":1})"); },
       Run<FuncManageUser>},
      {"DeviceInfo", FillDeviceInfo, Run<FuncDeviceInfo>},
      {"DeviceStatus", [](mg_connection& conn) { Request(conn, "GET", "/status"); }, Run<FunDeviceStatus>},
      {"TxRxList", [](mg_connection& conn) { Request(conn, "GET", "/getTxRxList"); }, Run<FuncGetTxRxList>},
      {"PrivJson", FillPrivileges, Run<FuncGetPrivJson>},
      {"SpecifyPriv", [](mg_connection& conn) { Request(conn, "GET", "/specifypriv"); }, Run<FunSpecityPriv>},
      {"DeletePriv", [](mg_connection& conn) { Request(conn, "GET", "/delete_priv"); }, Run<FunDeletePriv>},
      {"CustomRestore", [](mg_connection& conn) { Request(conn, "POST", "/custom_restore"); },
       Run<FuncCustomRestore>},
      {"UploadImage", [](mg_connection& conn) { Upload(conn, "/upload/logo"); }, Run<FuncUploadImageFile>},
      {"UploadText", [](mg_connection& conn) { Upload(conn, "/upload/edid"); }, Run<FuncUploadTxtFile>},
      {"UploadArchive", [](mg_connection& conn) { Upload(conn, "/upload/setting"); }, Run<FuncUploadZipFile>},
      {"UploadCertificate", [](mg_connection& conn) { Upload(conn, "/api/v1/security/ieee802_1x_setting"); },
       Run<FuncUploadCertFile>},
      {"Upgrade", [](mg_connection& conn) { Upload(conn, "/api/v1/fw_upload"); }, Run<FuncUpgrade>},
      {"DownloadLog", [](mg_connection& conn) { Download(conn, "/log"); }, Run<FuncDownloadLogFile>},
      {"DownloadCustom", [](mg_connection& conn) { Download(conn, "/download/custom"); },
       Run<FuncDownloadCustom>},
      {"DownloadScene", [](mg_connection& conn) { Download(conn, "/download/scene"); },
       Run<FuncDownloadSceneFile>},
      {"DownloadEdid", [](mg_connection& conn) { Download(conn, "/download/edid"); },
       Run<FuncDownloadEdidFile>},
      {"DownloadSetting", [](mg_connection& conn) { Download(conn, "/download/setting"); },
       Run<FuncDownloadSettingFile>, true},
      {"DownloadLogo", [](mg_connection& conn) { Download(conn, "/download/logo"); },
       Run<FuncDownloadImageFile>, true},
      {"Preview", ShowTwoPictures, Run<FuncPreview>},
      {"WebSocket", OpenWebSocket, LiveWebSocket},
      {"CustomGetPost", [](mg_connection& conn) { Post(conn, "/own", "body"); },
       RunCustom<FuncCustomGetPost, TestHost::CustomGetPost>},
      {"CustomUpload", [](mg_connection& conn) { Upload(conn, "/own/upload"); },
       RunCustom<FuncUploadCustomHandle, TestHost::CustomUpload>},
      {"CustomDownload", [](mg_connection& conn) { Download(conn, "/own/download"); },
       RunCustom<FuncDownloadCustomHandle, TestHost::CustomDownload>},
      {"LoginThatDisplaces", DisplaceLogin, Run<FuncLogin>},
      {"GovernedUpload", GovernUpload, Run<FuncUploadImageFile>},
      {"SilentFailure", AskWhoAsks, RunCustom<FuncCustomGetPost, TestHost::CustomGetPost>},
      {"GovernedWebSocket", GovernWebSocket, LiveGovernedWebSocket},
  };
  return scenarios;
}

void PrintTo(const Scenario& scenario, std::ostream* out) { *out << scenario.name; }

ScenarioTest::ScenarioTest() {
  char pattern[] = "/tmp/sdkapi-scenario-XXXXXX";
  close(mkstemp(pattern));
  DownloadPath() = pattern;
  std::ofstream(DownloadPath()) << std::string(40000, 'f');
}

ScenarioTest::~ScenarioTest() { unlink(DownloadPath().c_str()); }

void ScenarioTest::StartScenario(const Scenario& scenario, mg_connection& conn) {
  StartAfresh();
  SdkAPISer_Init();
  const SdkAPISerHandle table = TestHost::Table();
  EXPECT_EQ(SdkAPISer_Start(&table), 0);
  RequireLogin();
  LogIn("tok");
  scenario.prepare(conn);
}

void ScenarioTest::EndScenario() {
  EXPECT_EQ(HandleManageGetUsrCount(sdkapi::WebSocketLink()), 0);
  EXPECT_EQ(Server().context.depth, 0);
  SdkAPISer_Stop(nullptr);
  sdkapi::UsrManageTask();  // drops the logins
}

}  // namespace sdktest
