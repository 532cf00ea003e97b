// Who asks, as every slot and host function can learn it.
#include <civetweb.h>

#include <algorithm>
#include <mutex>
#include <set>
#include <thread>
#include <utility>

#include "raw_websocket.h"
#include "sdkapi/extension.h"
#include "server_test_base.h"

namespace integration {
namespace {

constexpr const char* kProbe =
    "User-Agent: probe/7\r\nOrigin: http://a.example\r\nSec-Fetch-Site: cross-site";

// What a slot was told, with the texts copied.
struct Seen {
  std::string slot;
  int result;
  std::string method;
  std::string path;
  std::string query;
  std::string userAgent;
  std::string browser;  // host, origin and how the browser sees it
  std::string route;
  std::string address;
  int tls;
  int port;
  int64_t contentLength;
};

Hook<int(const char*)> note;

int Serve(mg_connection* conn, CustomReqInfo*) {
  note("get/post");
  return SendReponseInfo(conn, 200, 1, "{}", 2);
}
int Upload(mg_connection*, UploadCustomCtx* ctx) {
  return note(ctx->endFlag == 1 ? "final" : ctx->pieceState == 0 ? "found" : "piece");
}
int FindFile(mg_connection*, CustomDownloadInfo*) { return note("download") - 1; }

class RequestScopeTest : public ModeTest {
 protected:
  void SetUp() override {
    ModeTest::SetUp();
    note = [this](const char* slot) { return Note(slot); };
    ASSERT_EQ(SdkAPISer_Custom_Get_Post_Api_Add("/own/api", Serve), 0);
    ASSERT_EQ(SdkAPISer_Custom_Upload_Api_Add("/own/upload$", Upload), 0);
    ASSERT_EQ(SdkAPISer_Custom_Download_Api_Add("/own/file$", FindFile), 0);
    NoteEverySlot();
  }

  void TearDown() override {
    note = nullptr;
    ModeTest::TearDown();
  }

  int Note(const std::string& slot) {
    SdkAPIExtRequest request{};
    request.size = sizeof request;
    const int result = SdkAPIExt_Request_Get(&request);
    const std::lock_guard lock(mutex_);
    if (result != 0) {
      seen_.push_back({slot, result, "", "", "", "", "", "", "", 0, 0, 0});
      return 0;
    }
    seen_.push_back({slot, result, request.method, request.path, request.query, request.userAgent,
                     std::string(request.host) + " " + request.origin + " " + request.fetchSite,
                     request.route, request.address, request.tls, request.port, request.contentLength});
    return 0;
  }

  void NoteEverySlot() {
    TestHost& all = host();
    all.authQuery = [this](int*) { return Note("AuthQueryCb"); };
    all.login = [this](LoginInfo&) { return Note("LoginCb") - 1; };
    all.logOut = [this] { return Note("LogOutCb"); };
    all.changeUser = [this](ChangeUserRequest&) { return Note("ChangeUserInfoCb"); };
    all.manageUser = [this](ManageUserRequest&) { return Note("ManageUserCb"); };
    all.deviceInfo = [this](DeviceInfo&) { return Note("DeviceInfoCb"); };
    all.customRestore = [this](CustomRestoreArg&) { return Note("CustomRestoreCb"); };
    all.download = [this](DownloadFileInfo&) { return Note("download slot") - 1; };
    all.downloadSetting = [this](DownloadSettingInfo&) { return Note("DownloadSettingFileCb") - 1; };
    all.preview = [this](PreviewFrame& frame) { return Note("PreviewCb") - (frame.state == 1 ? 1 : 0); };
    all.txRxList = [this](char*) { return Note("GetTxRxListCb"); };
    all.privJson = [this](PrivList&) { return Note("GetPrivJsonCb"); };
    all.specifyPriv = [this](const std::string&, const std::string&) { return Note("SpecifyPrivCb"); };
    all.deletePriv = [this](const std::string&) { return Note("DeletePrivCb"); };
    all.upload = [this](const UploadStep& step, UploadFileCtx&) {
      return Note(step.endFlag == 1 ? "final" : step.pieceState == 0 ? "found" : "piece");
    };
    all.webSocket = [this](int event, const std::string&, const std::string&) {
      return Note("event " + std::to_string(event));
    };
  }

  std::vector<Seen> TakeSeen() {
    Rendezvous();
    const std::lock_guard lock(mutex_);
    return std::exchange(seen_, {});
  }

  bool WaitForSlot(const std::string& slot) {
    return Eventually([&] {
      const std::lock_guard lock(mutex_);
      return std::ranges::any_of(seen_, [&](const Seen& one) { return one.slot == slot; });
    });
  }

  void ExpectSeen(const std::string& method, const std::string& target, const std::string& route,
                  const std::set<std::string>& slots) {
    std::set<std::string> found;
    const std::string path = target.substr(0, target.find('?'));
    for (const Seen& one : TakeSeen()) {
      SCOPED_TRACE(one.slot);
      found.insert(one.slot);
      EXPECT_EQ(one.result, 0);
      EXPECT_EQ(one.method, method);
      EXPECT_EQ(one.path, path);
      EXPECT_EQ(one.query, target == path ? "" : target.substr(path.size() + 1));
      EXPECT_EQ(one.userAgent, "probe/7");
      EXPECT_TRUE(one.browser.ends_with(" http://a.example cross-site")) << one.browser;
      EXPECT_EQ(one.route, route);
      EXPECT_EQ(one.address, "127.0.0.1");
      EXPECT_EQ(one.tls, mode().https ? 1 : 0);
      EXPECT_GT(one.port, 0);
    }
    EXPECT_EQ(found, slots);
  }

  std::mutex mutex_;
  std::vector<Seen> seen_;
};

INSTANTIATE_TEST_SUITE_P(Modes, RequestScopeTest, AllModes(), ModeName);

TEST_P(RequestScopeTest, EverySlotLearnsItsRequest) {
  struct Row {
    const char* method;
    const char* target;
    const char* body;
    const char* route;
    const char* slot;
  };
  const Row rows[] = {
      {"GET", "/iplogin", "", "/iplogin$", "AuthQueryCb"},
      {"POST", "/api/v1/auth/login", R"({"username":"u","password":"p"})", "/api/v1/auth/login$", "LoginCb"},
      {"POST", "/change/password", R"({"username":"u"})", "/change/password$", "ChangeUserInfoCb"},
      {"POST", "/createuser", R"({"username":"u"})", "/createuser$", "ManageUserCb"},
      {"GET", "/dev_info?a=%20b&c", "", "/dev_info$", "DeviceInfoCb"},
      {"GET", "/getdevicetime", "", "/getdevicetime$", "DeviceInfoCb"},
      {"GET", "/custom_restore", "", "/custom_restore", "CustomRestoreCb"},
      {"GET", "/custom_restore/any/where", "", "/custom_restore", "CustomRestoreCb"},
      {"GET", "/log", "", "/log$", "download slot"},
      {"GET", "/api/v1/log", "", "/api/v1/log$", "download slot"},
      {"GET", "/api/v1/settings/export", "", "/api/v1/settings/export$", "DownloadSettingFileCb"},
      {"GET", "/stream?name=x", "", "/stream", "PreviewCb"},
      {"GET", "/previews", "", "/preview", "PreviewCb"},
      {"GET", "/getTxRxList", "", "/getTxRxList", "GetTxRxListCb"},
      {"GET", "/getprivjson", "", "/getprivjson$", "GetPrivJsonCb"},
      {"GET", "/own/api/%41b?x", "", "/own/api", "get/post"},
      {"GET", "/own/file", "", "/own/file$", "download"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.target);
    TakeSeen();
    Send(HttpRequest{row.method, row.target, {kProbe}, row.body});
    ExpectSeen(row.method, row.target, row.route, {row.slot});
    SdkAPISer_AuthenticationSwitch_Set(mode().auth ? 1 : 0);  // as it was before AuthQueryCb
  }
}

TEST_P(RequestScopeTest, EveryCallOfAnUploadLearnsIt) {
  struct Row {
    const char* target;
    const char* route;
  };
  // One slot serves the first three: the route tells an update from settings.
  const Row rows[] = {
      {"/upload/sub/upgrade", "/upload/sub/upgrade"},
      {"/upload/sub/upgrade/no/such", "/upload/sub/upgrade"},
      {"/api/v1/settings/import", "/api/v1/settings/import$"},
      {"/upload/logo?x=1", "/upload/logo$"},
      {"/api/v1/fw_upload", "/api/v1/fw_upload$"},
      {"/own/upload", "/own/upload$"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.target);
    TakeSeen();
    HttpRequest request = UploadRequest(row.target, MultipartBody({{"f", "content", "a.bin"}}));
    request.headers.push_back(kProbe);
    EXPECT_EQ(Send(request).status(), 200);
    const std::vector<Seen> seen = seen_;
    for (const Seen& one : seen) EXPECT_EQ(one.contentLength, static_cast<int64_t>(request.body.size()));
    ExpectSeen("POST", row.target, row.route, {"found", "piece", "final"});
  }
}

TEST_P(RequestScopeTest, AWebSocketIsItsHandshakeToTheEnd) {
  if (!mode().auth) return;  // without a login its end ends none
  TakeSeen();
  {
    RawWebSocket socket(mode());
    std::string request = RawWebSocket::Request("/websocket/deep?x=1", token());
    request.insert(request.find("\r\n") + 2, std::string(kProbe) + "\r\n");
    ASSERT_TRUE(socket.ShakeWith(request).starts_with("HTTP/1.1 101 "));
    ASSERT_TRUE(WaitForSlot("event 0"));
    ASSERT_TRUE(socket.SendText("hello"));
    ASSERT_TRUE(WaitForSlot("event 1"));
  }
  ASSERT_TRUE(WaitForSlot("LogOutCb"));
  ASSERT_TRUE(WaitForSlot("event 2"));
  ExpectSeen("GET", "/websocket/deep?x=1", "/websocket", {"event 0", "event 1", "event 2", "LogOutCb"});
}

TEST_P(RequestScopeTest, ACustomRouteThatHidesABuiltInOneIsTheRoute) {
  ASSERT_EQ(SdkAPISer_Custom_Get_Post_Api_Add("/api/v1", Serve), 0);
  EXPECT_EQ(Send(HttpRequest{"GET", "/api/v1/log", {kProbe}, ""}).status(), 200);
  ExpectSeen("GET", "/api/v1/log", "/api/v1", {"get/post"});
  Server::Get().Stop();
}

TEST_P(RequestScopeTest, ARequestWithoutTheseHeadersHasEmptyTexts) {
  EXPECT_EQ(Get("/dev_info").status(), 200);
  const std::vector<Seen> seen = TakeSeen();
  ASSERT_EQ(seen.size(), 1U);
  EXPECT_EQ(seen[0].userAgent, "");
  EXPECT_EQ(seen[0].browser, "127.0.0.1  ");
  EXPECT_EQ(seen[0].query, "");
  EXPECT_EQ(seen[0].contentLength, -1);
}

TEST_P(RequestScopeTest, OtherThreadsServeNoRequest) {
  SdkAPIExtRequest request{};
  request.size = sizeof request;
  request.port = 7;
  LogCapture::Clear();
  EXPECT_EQ(SdkAPIExt_Request_Get(&request), -1);
  EXPECT_EQ(request.port, 7);
  EXPECT_EQ(LogCapture::Count(4, "SdkAPIExt_Request_Get: no request is being served here!!!!", "sdkapiext"),
            1);
  int result = 0;
  host().deviceInfo = [&result](DeviceInfo&) {
    std::thread([&result] {
      SdkAPIExtRequest other{};
      other.size = sizeof other;
      result = SdkAPIExt_Request_Get(&other);
    }).join();
    return 0;
  };
  EXPECT_EQ(Get("/dev_info").status(), 200);
  Rendezvous();
  EXPECT_EQ(result, -1);
}

TEST_P(RequestScopeTest, AnUnknownSizeIsRefused) {
  host().deviceInfo = [](DeviceInfo&) {
    for (const uint32_t size : {0U, 8U, 127U, 129U, 4096U}) {
      SdkAPIExtRequest request{};
      request.size = size;
      request.port = 7;
      EXPECT_EQ(SdkAPIExt_Request_Get(&request), -1);
      EXPECT_EQ(request.port, 7);
    }
    EXPECT_EQ(SdkAPIExt_Request_Get(nullptr), -1);
    return 0;
  };
  LogCapture::Clear();
  EXPECT_EQ(Get("/dev_info").status(), 200);
  EXPECT_EQ(LogCapture::Count(4, "SdkAPIExt_Request_Get: no record, or its size is unknown!!!!", "sdkapiext"),
            6);
}

}  // namespace
}  // namespace integration
