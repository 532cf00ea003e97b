// The frame of a test against the running server: fresh host scripts, authentication as asked for, a login.
#include "server_test_base.h"

#include <cstring>

#include "extension_lists.h"

namespace integration {
namespace {

Response LogInWith(const Mode& mode, const std::string& token) {
  TestHost::Get().login = [token](LoginInfo& info) {
    std::strncpy(info.token, token.c_str(), sizeof info.token - 1);
    return 0;
  };
  return Exchange(
      mode, HttpRequest{"POST", "/api/v1/auth/login", {}, R"({"username":"u","password":"p"})"}.Bytes());
}

}  // namespace

void ServerTest::Prepare(const Mode& mode, const ServerSetup& setup) {
  mode_ = mode;
  Server::Get().Ensure(setup);
  TestHost::Get().Reset();
  token_ = "token-of-the-test";
  SdkAPISer_AuthenticationSwitch_Set(1);
  if (mode.auth) {
    ASSERT_TRUE(LogIn(token_));
  } else {
    SdkAPISer_AuthenticationSwitch_Set(0);
  }
  TestHost::Get().Reset();
  LogCapture::Clear();
}

void ServerTest::TearDown() {
  TestHost::Get().Reset();
  if (!Server::Get().running()) return;
  // The end of a WebSocket is told to the host and ends the login of its token; the next test has the same
  // one.
  EXPECT_TRUE(NoWebSocketIsLeft());
  if (!mode_.auth) return;
  SdkAPISer_AuthenticationSwitch_Set(1);
  LogOut(token_);
}

bool ServerTest::NoWebSocketIsLeft() {
  return Eventually([] { return sdktest::Sockets().empty(); });
}

bool ServerTest::LogIn(const std::string& token) {
  const Response response = LogInWith(mode_, token);
  EXPECT_EQ(WithoutDate(response.raw),
            JsonReply(200, R"({"token":")" + token + R"(","firstlogin":0,"code":0})"));
  return response.status() == 200;
}

Response ServerTest::LogOut(const std::string& token) {
  return Exchange(mode_, HttpRequest{"POST", "/logout", {"Authorization: Bearer " + token}, ""}.Bytes());
}

Response ServerTest::Send(HttpRequest request) {
  request.headers.push_back(Authorization());
  return Exchange(mode_, request.Bytes());
}

void ServerTest::ExpectReply(const Response& response, int status, const std::string& body) {
  EXPECT_EQ(WithoutDate(response.raw), JsonReply(status, body));
}

void ServerTest::ExpectNotFound(const Response& response) {
  EXPECT_TRUE(response.raw.starts_with("HTTP/1.1 404 Not Found\r\n")) << response.raw.substr(0, 200);
}

}  // namespace integration
