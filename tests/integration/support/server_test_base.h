// The frame of a test against the running server: fresh host scripts, authentication as asked for, a login.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "client.h"
#include "server.h"
#include "shared.h"
#include "workspace.h"

namespace integration {

// What stands behind the program's name, without the options of GoogleTest.
const std::vector<std::string>& Arguments();

class ServerTest : public ::testing::Test {
 protected:
  void Prepare(const Mode& mode, const ServerSetup& setup = {});
  void TearDown() override;

  // Logs in on the host's side with this token; true when the client got it.
  bool LogIn(const std::string& token);
  Response LogOut(const std::string& token);
  // Waits until the server has forgotten every WebSocket, and ended their logins: a close is over only then.
  static bool NoWebSocketIsLeft();

  TestHost& host() { return TestHost::Get(); }
  const Mode& mode() const { return mode_; }
  // The token of the login that Prepare made; with authentication off a text that nobody knows.
  const std::string& token() const { return token_; }
  std::string Authorization() const { return "Authorization: Bearer " + token_; }

  Response Send(const std::string& bytes) { return Exchange(mode_, bytes); }
  // Sends with the Authorization header.
  Response Send(HttpRequest request);
  // Sends without it.
  Response SendBare(const HttpRequest& request) { return Exchange(mode_, request.Bytes()); }
  Response Get(const std::string& target) { return Send(HttpRequest{"GET", target, {}, ""}); }
  Response Post(const std::string& target, const std::string& body) {
    return Send(HttpRequest{"POST", target, {}, body});
  }

  // A reply is exactly this JSON reply, Date apart.
  void ExpectReply(const Response& response, int status, const std::string& body = "");
  // The web server answered by itself.
  void ExpectNotFound(const Response& response);

 private:
  Mode mode_{};
  std::string token_;
};

// The same for tests that run over both schemes and both positions of the authentication switch.
class ModeTest : public ServerTest, public ::testing::WithParamInterface<Mode> {
 protected:
  void SetUp() override { Prepare(GetParam()); }
};

inline auto AllModes() {
  return ::testing::Values(Mode{false, false}, Mode{false, true}, Mode{true, false}, Mode{true, true});
}
inline auto BothSchemes() { return ::testing::Values(Mode{false, true}, Mode{true, true}); }
inline std::string ModeName(const ::testing::TestParamInfo<Mode>& info) { return NameOf(info.param); }

}  // namespace integration
