// Logins, log-outs, tokens, the authentication switch and device information over real sockets.
#include <atomic>
#include <cstring>
#include <memory>

#include "chunked.h"
#include "server_test_base.h"

namespace integration {
namespace {

constexpr char kLogin[] = "/api/v1/auth/login";

class SessionTest : public ModeTest {
 protected:
  int UsedSessions() const { return mode().auth ? 1 : 0; }

  Response DeviceInfoAs(const std::string& token, const std::string& target = "/dev_info") {
    return SendBare({"GET", target, {"Authorization: Bearer " + token}, ""});
  }
};

INSTANTIATE_TEST_SUITE_P(Modes, SessionTest, AllModes(), ModeName);

struct LoginRow {
  const char* what;
  int result = 0;
  uint32_t code = 0;
  const char* token = "";
  int firstlogin = 0;
  const char* wizard = "";
  uint64_t lockTime = 0;
  const char* body = nullptr;  // left to the web server
};

TEST_P(SessionTest, LoginAnswersByTheHostsCode) {
  const LoginRow rows[] = {
      {.what = "refused", .code = 1, .body = R"({"code":1})"},
      {.what = "refused, other fields ignored",
       .code = 1,
       .token = "t",
       .firstlogin = 1,
       .wizard = "w",
       .lockTime = 9,
       .body = R"({"code":1})"},
      {.what = "locked", .code = 2, .lockTime = 37, .body = R"({"code":2,"lockTime":37})"},
      {.what = "locked for long",
       .code = 2,
       .lockTime = 4294967296,
       .body = R"({"code":2,"lockTime":4294967296})"},
      {.what = "no token", .firstlogin = 1, .body = R"({"token":"","firstlogin":1,"code":0})"},
      {.what = "no token, wizard",
       .firstlogin = -3,
       .wizard = "step 2",
       .body = R"({"token":"","firstlogin":-3,"code":0,"wizard":"step 2"})"},
      {.what = "result positive", .result = 7, .code = 1, .body = R"({"code":1})"},
      {.what = "code unknown", .code = 3, .token = "t"},
      {.what = "code far away", .code = 4294967295, .token = "t"},
      {.what = "result negative", .result = -1, .token = "t"},
      {.what = "result -2", .result = -2, .code = 1},
  };
  const int freeBefore = FreeSessions();
  for (const LoginRow& row : rows) {
    SCOPED_TRACE(row.what);
    LogCapture::Clear();
    host().login = [row](LoginInfo& info) {
      std::strcpy(info.token, row.token);
      std::strcpy(info.wizard, row.wizard);
      info.firstlogin = row.firstlogin;
      info.lockTime = row.lockTime;
      info.code = row.code;
      return row.result;
    };
    const Response response = Post(kLogin, R"({"username":"ann","password":"pw"})");
    if (row.body != nullptr) {
      ExpectReply(response, 200, row.body);
    } else {
      ExpectNotFound(response);
    }
    EXPECT_EQ(LogCapture::Count(1, "iretCode = " + std::to_string(row.result), "sdkapi"), 1);
    EXPECT_EQ(host().Calls("LoginCb").back().args, (std::vector<std::string>{"ann", "pw"}));
  }
  EXPECT_EQ(FreeSessions(), freeBefore);  // none of these registered anything
}

TEST_P(SessionTest, LoginRegistersATokenAndLogOutRemovesIt) {
  host().login = [](LoginInfo& info) {
    std::strcpy(info.token, "fresh \"quoted\" token");
    std::strcpy(info.wizard, "w");
    info.firstlogin = 1;
    return 0;
  };
  ExpectReply(Post(kLogin, "{}"), 200,
              R"({"token":"fresh \"quoted\" token","firstlogin":1,"code":0,"wizard":"w"})");
  EXPECT_EQ(FreeSessions(), 19 - UsedSessions());
  ExpectReply(DeviceInfoAs("fresh \"quoted\" token"), 200, "{}");
  SdkAPISer_AuthenticationSwitch_Set(1);
  ExpectReply(LogOut("fresh \"quoted\" token"), 200, R"({"code":"0"})");
  EXPECT_EQ(host().Count("LogOutCb"), 1);
  EXPECT_EQ(FreeSessions(), 20 - UsedSessions());
  ExpectReply(DeviceInfoAs("fresh \"quoted\" token"), 401);
}

// A body of this size, a JSON object whose padding makes it so long.
std::string PaddedLogin(std::size_t size) {
  const std::string start = R"({"username":"ann","password":"pw","pad":")";
  return start + std::string(size - start.size() - 2, 'x') + "\"}";
}

TEST_P(SessionTest, LoginReadsItsBodyWithinBounds) {
  const std::string head = std::string("POST ") + kLogin + " HTTP/1.1\r\nHost: a\r\n";
  const auto sized = [&](const std::string& body) {
    return head + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
  };
  const auto chunked = [&](const std::string& body, std::size_t chunk) {
    return head + "Transfer-Encoding: chunked\r\n\r\n" + sdktest::Chunked(body, chunk);
  };
  const std::string plain = R"({"username":"ann","password":"pw"})";
  struct Row {
    const char* what;
    std::string bytes;
    std::vector<std::string> credentials;
  };
  const std::vector<std::string> annsOwn{"ann", "pw"};
  const std::vector<std::string> none{"", ""};
  const Row rows[] = {
      {"plain", sized(plain), annsOwn},
      {"names in other case", sized(R"({"USERNAME":"ann","PassWord":"pw"})"), annsOwn},
      {"other order and members", sized(R"({"x":[1,{}],"password":"pw","y":null,"username":"ann"})"),
       annsOwn},
      {"0 bytes", sized(""), none},
      {"511 bytes", sized(PaddedLogin(511)), annsOwn},
      {"512 bytes: cut, so no JSON any more", sized(PaddedLogin(512)), none},
      {"100000 bytes", sized(PaddedLogin(100000)), none},
      {"100000 bytes, JSON within the bound", sized(plain + std::string(100000, ' ')), annsOwn},
      {"no Content-Length", head + "\r\n", none},
      {"chunked", chunked(plain, 5), annsOwn},
      {"chunked, 511 bytes", chunked(PaddedLogin(511), 100), annsOwn},
      {"chunked, 100000 bytes", chunked(PaddedLogin(100000), 4096), none},
      {"broken JSON", sized(R"({"username":"ann",)"), none},
      {"not an object", sized(R"(["username","ann"])"), none},
      {"members of other types", sized(R"({"username":5,"password":null})"), none},
      {"only a name", sized(R"({"username":"ann"})"), {"ann", ""}},
      {"long texts",
       sized(R"({"username":")" + std::string(40, 'u') + R"(","password":")" + std::string(300, 'p') +
             R"("})"),
       {std::string(31, 'u'), std::string(255, 'p')}},
      {"NUL in the body", sized(std::string("{\"username\":\"ann\"\0,\"password\":\"pw\"}", 36)), none},
  };
  host().login = [](LoginInfo& info) {
    info.code = 1;
    return 0;
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    ExpectReply(Send(row.bytes), 200, R"({"code":1})");
    EXPECT_EQ(host().Calls("LoginCb").back().args, row.credentials);
  }
  EXPECT_EQ(host().Count("LoginCb"), static_cast<int>(std::size(rows)));
}

TEST_P(SessionTest, ANegativeContentLengthNeverReachesTheHost) {
  const Response response =
      Send(std::string("POST ") + kLogin + " HTTP/1.1\r\nHost: a\r\nContent-Length: -5\r\n\r\nhello");
  EXPECT_EQ(response.status(), 411) << response.raw;
  EXPECT_EQ(host().Count("LoginCb"), 0);
}

TEST_P(SessionTest, AuthQuerySwitchesTheTokenCheck) {
  struct Row {
    int written;
    const char* body;
    int switchAfter;
  };
  for (const Row& row :
       {Row{1, R"({"result":"off"})", 1}, Row{0, R"({"result":"on"})", 0}, Row{1, R"({"result":"off"})", 1},
        Row{-1, R"({"result":"on"})", 0}, Row{2, R"({"result":"on"})", 0}}) {
    SCOPED_TRACE(row.written);
    host().authQuery = [row](int* flag) {
      *flag = row.written;
      return 5;  // not looked at
    };
    ExpectReply(SendBare({"GET", "/iplogin", {}, ""}), 200, row.body);
    EXPECT_EQ(SdkAPISer_AuthenticationSwitch_Get(), row.switchAfter);
    EXPECT_EQ(host().Calls("AuthQueryCb").back().args, std::vector<std::string>{"-1"});
  }
}

TEST_P(SessionTest, LogOutOfAnUnknownToken) {
  const Response response = LogOut("nobody's token");
  if (mode().auth) {
    ExpectReply(response, 401);
    EXPECT_EQ(host().Count("LogOutCb"), 0);
    EXPECT_TRUE(LogCapture::Wait(4, "token err!!!!", "sdkapi"));
  } else {
    ExpectNotFound(response);  // the global table is no login that could be removed
    EXPECT_EQ(host().Count("LogOutCb"), 1);
    EXPECT_TRUE(LogCapture::Wait(4, "json api del handle fail", "sdkapi"));
  }
}

TEST_P(SessionTest, DeviceInformationReportsWhatTheHostSet) {
  struct Row {
    const char* what;
    std::function<void(DeviceInfo&)> fill;
    int result;
    int status;
    const char* body;
  };
  const Row rows[] = {
      {"nothing", [](DeviceInfo&) {}, 0, 200, "{}"},
      {"time-out", [](DeviceInfo& i) { i.timeout = 300; }, 0, 200, R"({"timeout":"300"})"},
      {"time-out 0", [](DeviceInfo& i) { i.timeout = 0; }, 0, 200, R"({"timeout":"0"})"},
      {"all",
       [](DeviceInfo& i) {
         std::strcpy(i.model, "M \"1\"");
         std::strcpy(i.security, "high");
         i.timeout = -7;
         std::strcpy(i.devicetime, "2026-11-20 22:29");
       },
       0, 200, R"({"model":"M \"1\"","security":"high","timeout":"-7","devicetime":"2026-11-20 22:29"})"},
      {"not authorised", [](DeviceInfo& i) { i.timeout = 1; }, -2, 401, ""},
      {"failure", [](DeviceInfo& i) { i.timeout = 1; }, -1, 500, ""},
      {"positive failure", [](DeviceInfo&) {}, 3, 500, ""},
  };
  for (const Row& row : rows) {
    for (const char* const target : {"/dev_info", "/getdevicetime"}) {
      SCOPED_TRACE(std::string(row.what) + " " + target);
      host().deviceInfo = [row](DeviceInfo& info) {
        row.fill(info);
        return row.result;
      };
      ExpectReply(Get(target), row.status, row.body);
      EXPECT_EQ(host().Calls("DeviceInfoCb").back(), (Call{"DeviceInfoCb", token(), {"-1"}}));
    }
  }
}

TEST_P(SessionTest, DeviceInformationSurvivesAHostThatForgetsTheNul) {
  host().deviceInfo = [](DeviceInfo& info) {
    std::memset(info.model, 'm', sizeof info.model);
    std::memset(info.devicetime, 'd', sizeof info.devicetime);
    return 0;
  };
  ExpectReply(
      Get("/dev_info"), 200,
      R"({"model":")" + std::string(31, 'm') + R"(","devicetime":")" + std::string(323, 'd') + R"("})");
}

TEST_P(SessionTest, DeviceStatusThroughARouteOfTheHost) {
  ASSERT_EQ(
      SdkAPISer_Custom_Get_Post_Api_Add(
          "/status$", [](mg_connection* conn, CustomReqInfo*) { return FunDeviceStatus(conn, nullptr); }),
      0);
  host().deviceStatus = [](char* uptime) {
    std::strcpy(uptime, "5 days");
    return 0;
  };
  ExpectReply(Get("/status"), 200, R"({"device_status":{"uptime":"5 days"}})");
  host().deviceStatus = nullptr;
  ExpectReply(Get("/status"), 200, R"({"device_status":{"uptime":""}})");
  for (const int result : {-1, -2, 4}) {
    host().deviceStatus = [result](char*) { return result; };
    ExpectReply(Get("/status"), 500, "{}");
  }
}

struct TokenRow {
  const char* header;
  const char* token;
};

TEST_P(SessionTest, TheTokenIsTheHeaderBehindSevenCharacters) {
  const TokenRow rows[] = {{"Authorization: Bearer abc", "abc"},
                           {"Authorization: Token abc", "bc"},
                           {"Authorization: Basic", ""},
                           {"authorization: Bearer", ""},
                           {"AUTHORIZATION: 1234567", ""},
                           {"Authorization: 12345678", "8"},
                           {"Authorization:", ""},
                           {"X-Other: Bearer abc", ""}};
  for (const TokenRow& row : rows) {
    SCOPED_TRACE(row.header);
    LogCapture::Clear();
    const Response response = SendBare({"GET", "/dev_info", {row.header}, ""});
    if (mode().auth) {
      ExpectReply(response, 401);
      EXPECT_EQ(host().Count("DeviceInfoCb"), 0);
      EXPECT_TRUE(LogCapture::Wait(4, "token err!!!!", "sdkapi"));
    } else {
      ExpectReply(response, 200, "{}");
      EXPECT_EQ(host().Calls("DeviceInfoCb").back().token, row.token);
    }
    const bool present = row.header[0] != 'X';
    EXPECT_EQ(LogCapture::Count(1, std::string("req http token ") + row.token, "sdkapi"), present ? 1 : 0);
  }
}

TEST_P(SessionTest, AnOverlongAuthorizationHeaderIsCut) {
  const std::string longToken(5000, 'k');
  const Response json = SendBare({"GET", "/dev_info", {"Authorization: Bearer " + longToken}, ""});
  HttpRequest upload = UploadRequest("/upload/logo", MultipartBody({{"f", "data", "f.png"}}));
  upload.headers.push_back("Authorization: Bearer " + longToken);
  const Response file = SendBare(upload);
  if (mode().auth) {
    ExpectReply(json, 401);
    ExpectReply(file, 401);
    EXPECT_EQ(host().Calls().size(), 0U);
    return;
  }
  ExpectReply(json, 200, "{}");
  ExpectReply(file, 200);
  EXPECT_EQ(host().Calls("DeviceInfoCb").back().token, std::string(1023, 'k'));
  EXPECT_EQ(host().Calls("UploadImageFileCb").back().token, std::string(255, 'k'));
}

class AuthenticatedTest : public SessionTest {};
INSTANTIATE_TEST_SUITE_P(Schemes, AuthenticatedTest, BothSchemes(), ModeName);

TEST_P(AuthenticatedTest, TokensUpToTheirLimitWork) {
  struct Row {
    std::size_t length;
    int json;      // handlers with 1024-byte token buffers
    int transfer;  // handlers with 256-byte token buffers
  };
  for (const Row& row : {Row{1, 200, 500}, Row{255, 200, 500}, Row{256, 200, 401}, Row{1023, 200, 401}}) {
    SCOPED_TRACE(row.length);
    const std::string text(row.length, 't');
    host().Reset();
    ASSERT_TRUE(LogIn(text));
    host().download = [](DownloadFileInfo&) { return -1; };
    EXPECT_EQ(FreeSessions(), 18);
    ExpectReply(DeviceInfoAs(text), row.json, "{}");
    ExpectReply(DeviceInfoAs(text, "/download/scene"), row.transfer);
    ExpectReply(DeviceInfoAs(text + "x"), row.length == 1023 ? 200 : 401, row.length == 1023 ? "{}" : "");
    ExpectReply(LogOut(text), 200, R"({"code":"0"})");
    EXPECT_EQ(FreeSessions(), 19);
    ExpectReply(DeviceInfoAs(text), 401);
  }
}

TEST_P(AuthenticatedTest, ATokenWithoutItsNulIsCutToTheField) {
  host().login = [](LoginInfo& info) {
    std::memset(info.token, 'z', sizeof info.token);
    return 0;
  };
  const std::string stored(1023, 'z');
  ExpectReply(Post(kLogin, "{}"), 200, R"({"token":")" + stored + R"(","firstlogin":0,"code":0})");
  ExpectReply(DeviceInfoAs(stored), 200, "{}");
  ExpectReply(DeviceInfoAs(std::string(1024, 'z')), 200, "{}");
  ExpectReply(LogOut(stored), 200, R"({"code":"0"})");
}

TEST_P(AuthenticatedTest, TwentySessionsAndTheTwentyFirstLogin) {
  // The login of the frame is the first.
  for (int i = 2; i <= 20; ++i) ASSERT_TRUE(LogIn("session-" + std::to_string(i)));
  LogCapture::Clear();
  host().login = [](LoginInfo& info) {
    std::strcpy(info.token, "session-21");
    return 0;
  };
  ExpectReply(Post(kLogin, "{}"), 500);
  EXPECT_EQ(LogCapture::Count(4, "The maximum number of users exceeded.", "user"), 1);
  ExpectReply(DeviceInfoAs("session-21"), 200, "{}");  // its table stays registered on purpose

  ExpectReply(LogOut("session-5"), 200, R"({"code":"0"})");
  ASSERT_TRUE(LogIn("session-5 again"));
  for (const char* const extra : {"session-21", "session-5 again"}) {
    ExpectReply(LogOut(extra), 200, R"({"code":"0"})");
  }
  for (int i = 2; i <= 20; ++i) {
    const std::string name = "session-" + std::to_string(i);
    ExpectReply(DeviceInfoAs(name), i == 5 ? 401 : 200, i == 5 ? "" : "{}");
    ExpectReply(LogOut(name), i == 5 ? 401 : 200, i == 5 ? "" : R"({"code":"0"})");
  }
  EXPECT_EQ(FreeSessions(), 19);
}

TEST_P(AuthenticatedTest, TwoLoginsWithOneTokenEndOneByOne) {
  ASSERT_TRUE(LogIn("shared"));
  ASSERT_TRUE(LogIn("shared"));
  EXPECT_EQ(FreeSessions(), 17);
  ExpectReply(LogOut("shared"), 200, R"({"code":"0"})");
  EXPECT_EQ(FreeSessions(), 18);
  ExpectReply(DeviceInfoAs("shared"), 200, "{}");
  ExpectReply(LogOut("shared"), 200, R"({"code":"0"})");
  EXPECT_EQ(FreeSessions(), 19);
  ExpectReply(DeviceInfoAs("shared"), 401);
  ExpectReply(LogOut("shared"), 401);
  EXPECT_EQ(host().Count("LogOutCb"), 2);
}

TEST_P(AuthenticatedTest, TokensAreComparedWholeAndWithCase) {
  for (const std::string& wrong : {token() + "x", token().substr(1), std::string("TOKEN-OF-THE-TEST"),
                                   " " + token(), token().substr(0, token().size() - 1), std::string()}) {
    SCOPED_TRACE(wrong);
    ExpectReply(DeviceInfoAs(wrong), 401);
  }
  EXPECT_EQ(host().Count("DeviceInfoCb"), 0);
  ExpectReply(DeviceInfoAs(token()), 200, "{}");
}

TEST_P(AuthenticatedTest, LogOutDuringARequestLeavesThatRequestItsTable) {
  std::atomic<bool> entered{false};
  std::atomic<bool> release{false};
  ASSERT_TRUE(LogIn("busy"));
  host().deviceInfo = [&](DeviceInfo& info) {
    entered.store(true);
    Eventually([&] { return release.load(); });
    info.timeout = 1;
    return 0;
  };
  Connection slow(Server::Get().port(mode().https), mode().https);
  ASSERT_TRUE(slow.Send("GET /dev_info HTTP/1.1\r\nHost: a\r\nAuthorization: Bearer busy\r\n\r\n"));
  ASSERT_TRUE(Eventually([&] { return entered.load(); }));
  ExpectReply(LogOut("busy"), 200, R"({"code":"0"})");
  release.store(true);
  ExpectReply(ParseResponse(slow.ReadToEnd()), 200, R"({"timeout":"1"})");
  ExpectReply(DeviceInfoAs("busy"), 401);
}

// The whole body of a refused request is taken from the client, so that the answer arrives and the stream
// ends cleanly instead of with a reset.
TEST_P(AuthenticatedTest, ARefusedRequestIsReadToItsEnd) {
  for (const char* const target : {"/dev_info", "/upload/logo", "/createuser", "/log", "/api/v1/fw_upload"}) {
    SCOPED_TRACE(target);
    Connection client(Server::Get().port(mode().https), mode().https);
    const HttpRequest request{"POST", target, {"Authorization: Bearer wrong"}, std::string(3000000, 'b')};
    EXPECT_TRUE(client.Send(request.Bytes()));
    ExpectReply(ParseResponse(client.ReadToEnd()), 401);
    EXPECT_EQ(client.end(), Connection::End::kEof);
  }
}

// No request may be left waiting on a connection whose reply said "close", pipelined ones included.
TEST_P(SessionTest, AReplyThatSaysCloseEndsTheConnection) {
  const std::string one = HttpRequest{"GET", "/dev_info", {Authorization()}, ""}.Bytes();
  Connection client(Server::Get().port(mode().https), mode().https);
  ASSERT_TRUE(client.Send(one + one));
  ExpectReply(ParseResponse(client.ReadToEnd()), 200, "{}");
  EXPECT_NE(client.end(), Connection::End::kTimeout);
}

TEST_P(SessionTest, SixtyConnectionsInARowFindAWorkerEach) {
  std::vector<std::unique_ptr<Connection>> clients;
  for (int i = 0; i < 60; ++i) {
    clients.push_back(std::make_unique<Connection>(Server::Get().port(mode().https), mode().https));
    ASSERT_TRUE(clients.back()->Send(HttpRequest{"GET", "/dev_info", {Authorization()}, ""}.Bytes()));
    ExpectReply(ParseResponse(clients.back()->ReadToEnd()), 200, "{}");
  }
}

}  // namespace
}  // namespace integration
