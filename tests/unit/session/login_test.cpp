// Login, log-out and the question whether a login is required: replies, host calls and log lines.
#include <cstring>

#include "base/text.h"
#include "http/handlers.h"
#include "library_fixture.h"
#include "session/login_registry.h"
#include "session/user_stack.h"

namespace {

using sdktest::JsonReply;
using sdktest::LogCapture;
using sdktest::Strings;
using sdktest::TestHost;

class LoginTest : public sdktest::LibraryTest {
 protected:
  static Strings Sessions() {
    Strings ids;
    for (const sdkapi::UserEntry& entry : sdkapi::UserTableSnapshot().entries) {
      if (entry.id[0] != '\0') ids.emplace_back(entry.id);
    }
    return ids;
  }

  // A host that hands out this token.
  static void Grant(const std::string& token) {
    TestHost::Get().login = [token](LoginInfo& info) {
      sdkapi::CopyText(info.token, token.c_str());
      return 0;
    };
  }

  mg_connection conn_{"POST", "/api/v1/auth/login"};
};

TEST_F(LoginTest, ASuccessfulLoginReportsTokenFirstLoginAndCode) {
  TestHost::Get().login = [](LoginInfo& info) {
    sdkapi::CopyText(info.token, "tok");
    info.firstlogin = 1;
    return 0;
  };
  conn_.Body(R"({"username":"admin","password":"secret"})");
  EXPECT_EQ(FuncLogin(&conn_, nullptr), 1);
  EXPECT_EQ(conn_.output, JsonReply(200, R"({"token":"tok","firstlogin":1,"code":0})"));
  EXPECT_EQ(TestHost::Get().Lines(), Strings{"LoginCb(admin, secret)"});
  EXPECT_EQ(Log(), (Strings{"1 sdkapi iretCode = 0", "1 sdkapi send =>" + conn_.output}));
  EXPECT_EQ(sdkapi::LoginCount(), 1);
  EXPECT_EQ(Sessions(), Strings{"tok"});
  EXPECT_FALSE(conn_.keepAlive);
}

TEST_F(LoginTest, TheWizardTextComesLast) {
  TestHost::Get().login = [](LoginInfo& info) {
    sdkapi::CopyText(info.token, "tok");
    sdkapi::CopyText(info.wizard, "step \"2\"");
    info.firstlogin = -3;
    return 0;
  };
  EXPECT_EQ(FuncLogin(&conn_, nullptr), 1);
  EXPECT_EQ(conn_.output,
            JsonReply(200, R"({"token":"tok","firstlogin":-3,"code":0,"wizard":"step \"2\""})"));
}

TEST_F(LoginTest, WithoutATokenNothingIsRegistered) {
  TestHost::Get().login = [](LoginInfo& info) {
    info.firstlogin = 7;
    return 0;
  };
  EXPECT_EQ(FuncLogin(&conn_, nullptr), 1);
  EXPECT_EQ(conn_.output, JsonReply(200, R"({"token":"","firstlogin":7,"code":0})"));
  EXPECT_EQ(sdkapi::LoginCount(), 0);
  EXPECT_EQ(Sessions(), Strings{});
}

struct CodeCase {
  uint32_t code;
  uint64_t lockTime;
  const char* body;
};
class RefusedTest : public LoginTest, public testing::WithParamInterface<CodeCase> {};

TEST_P(RefusedTest, ReportsTheCodeAndRegistersNothing) {
  TestHost::Get().login = [](LoginInfo& info) {
    info.code = GetParam().code;
    info.lockTime = GetParam().lockTime;
    sdkapi::CopyText(info.token, "tok");
    return 0;
  };
  EXPECT_EQ(FuncLogin(&conn_, nullptr), 1);
  EXPECT_EQ(conn_.output, JsonReply(200, GetParam().body));
  EXPECT_EQ(sdkapi::LoginCount(), 0);
}

INSTANTIATE_TEST_SUITE_P(Codes, RefusedTest,
                         testing::Values(CodeCase{1, 0, R"({"code":1})"}, CodeCase{1, 60, R"({"code":1})"},
                                         CodeCase{2, 0, R"({"code":2,"lockTime":0})"},
                                         CodeCase{2, 300, R"({"code":2,"lockTime":300})"},
                                         CodeCase{2, 4294967296ULL, R"({"code":2,"lockTime":4294967296})"}));

class UnknownLoginCodeTest : public LoginTest, public testing::WithParamInterface<uint32_t> {};

TEST_P(UnknownLoginCodeTest, GivesNoReply) {
  TestHost::Get().login = [](LoginInfo& info) {
    info.code = GetParam();
    sdkapi::CopyText(info.token, "tok");
    return 0;
  };
  EXPECT_EQ(FuncLogin(&conn_, nullptr), 0);
  EXPECT_EQ(conn_.output, "");
  EXPECT_EQ(Log(), Strings{"1 sdkapi iretCode = 0"});
  EXPECT_EQ(sdkapi::LoginCount(), 0);
}

INSTANTIATE_TEST_SUITE_P(Codes, UnknownLoginCodeTest, testing::Values(3U, 100U, 4294967295U));

class NegativeResultTest : public LoginTest, public testing::WithParamInterface<int> {};

TEST_P(NegativeResultTest, GivesNoReply) {
  TestHost::Get().login = [](LoginInfo& info) {
    sdkapi::CopyText(info.token, "tok");
    return GetParam();
  };
  EXPECT_EQ(FuncLogin(&conn_, nullptr), 0);
  EXPECT_EQ(conn_.output, "");
  EXPECT_EQ(Log(), Strings{"1 sdkapi iretCode = " + std::to_string(GetParam())});
  EXPECT_EQ(sdkapi::LoginCount(), 0);
}

INSTANTIATE_TEST_SUITE_P(Results, NegativeResultTest, testing::Values(-1, -2, -2147483647));

TEST_F(LoginTest, APositiveResultCountsAsSuccess) {
  TestHost::Get().login = [](LoginInfo& info) {
    sdkapi::CopyText(info.token, "tok");
    return 5;
  };
  EXPECT_EQ(FuncLogin(&conn_, nullptr), 1);
  EXPECT_EQ(conn_.output, JsonReply(200, R"({"token":"tok","firstlogin":0,"code":0})"));
  EXPECT_EQ(LogCapture::Lines()[0], "1 sdkapi iretCode = 5");
}

TEST_F(LoginTest, AnEmptySlotLeavesTheRequestToTheWebServer) {
  SdkAPISerHandle table = TestHost::Table();
  table.LoginCb = nullptr;
  Install(table);
  EXPECT_EQ(FuncLogin(&conn_, nullptr), 0);
  EXPECT_EQ(conn_.output, "");
  EXPECT_EQ(Log(), Strings{"4 sdkapi FuncLogin not registered!!!!"});
}

struct BodyCase {
  const char* name;
  std::string body;
  std::string call;
};
class BodyTest : public LoginTest, public testing::WithParamInterface<BodyCase> {};

TEST_P(BodyTest, FillsTheRecord) {
  TestHost::Get().login = [](LoginInfo& info) {
    LoginInfo others = info;
    std::memset(others.username, 0, sizeof others.username);
    std::memset(others.password, 0, sizeof others.password);
    const LoginInfo zero{};
    EXPECT_EQ(std::memcmp(&others, &zero, sizeof zero), 0) << "the outputs are zeroed";
    info.code = 1;
    return 0;
  };
  conn_.Body(GetParam().body);
  EXPECT_EQ(FuncLogin(&conn_, nullptr), 1);
  EXPECT_EQ(TestHost::Get().Lines(), Strings{GetParam().call});
  EXPECT_EQ(conn_.bodyRead, conn_.body.size()) << "the rest of the body is drained";
}

INSTANTIATE_TEST_SUITE_P(
    Bodies, BodyTest,
    testing::Values(
        BodyCase{"Empty", "", "LoginCb(, )"}, BodyCase{"NotJson", "username=admin", "LoginCb(, )"},
        BodyCase{"Broken", R"({"username":"admin")", "LoginCb(, )"},
        BodyCase{"OnlyName", R"({"username":"admin"})", "LoginCb(admin, )"},
        BodyCase{"OtherCase", R"({"UserName":"admin","PASSWORD":"p"})", "LoginCb(admin, p)"},
        BodyCase{"Numbers", R"({"username":1,"password":2})", "LoginCb(, )"},
        BodyCase{"Array", R"([{"username":"admin"}])", "LoginCb(, )"},
        BodyCase{
            "LongFields",
            R"({"username":")" + std::string(40, 'u') + R"(","password":")" + std::string(300, 'p') + "\"}",
            "LoginCb(" + std::string(31, 'u') + ", " + std::string(255, 'p') + ")"},
        BodyCase{"Exactly511",
                 R"({"username":"admin","password":"p","x":")" + std::string(511 - 42, 'x') + "\"}",
                 "LoginCb(admin, p)"},
        BodyCase{"Exactly512",
                 R"({"username":"admin","password":"p","x":")" + std::string(512 - 42, 'x') + "\"}",
                 "LoginCb(, )"},
        BodyCase{"Far", R"({"username":"admin","password":"p","x":")" + std::string(100000, 'x') + "\"}",
                 "LoginCb(, )"}),
    sdktest::ByName{});

TEST_F(LoginTest, TheBodyLengthsOfTheTableAreRight) {
  EXPECT_EQ((R"({"username":"admin","password":"p","x":")" + std::string(511 - 42, 'x') + "\"}").size(),
            511U);
}

TEST_F(LoginTest, The21stLoginIsAServerErrorButItsTokenResolves) {
  RequireLogin();
  for (int number = 1; number <= 20; ++number) {
    Grant("tok" + std::to_string(number));
    mg_connection conn("POST", "/api/v1/auth/login");
    EXPECT_EQ(FuncLogin(&conn, nullptr), 1);
    EXPECT_EQ(conn.output,
              JsonReply(200, R"({"token":"tok)" + std::to_string(number) + R"(","firstlogin":0,"code":0})"));
  }
  LogCapture::Clear();
  Grant("tok21");
  EXPECT_EQ(FuncLogin(&conn_, nullptr), 1);
  EXPECT_EQ(conn_.output, JsonReply(500));
  EXPECT_EQ(LogCapture::LinesWithoutReplies(),
            (Strings{"1 sdkapi iretCode = 0", "4 user The maximum number of users exceeded."}));
  EXPECT_NE(GetLoginHandle("tok21"), nullptr);
  EXPECT_EQ(Sessions().size(), 20U);
}

class TokenLengthTest : public LoginTest, public testing::WithParamInterface<std::size_t> {};

TEST_P(TokenLengthTest, ResolvesAfterLogin) {
  RequireLogin();
  const std::string token(GetParam(), 't');
  LogIn(token);
  EXPECT_NE(GetLoginHandle(token.c_str()), nullptr);
  EXPECT_EQ(GetLoginHandle(token.substr(1).c_str()), nullptr);
}

INSTANTIATE_TEST_SUITE_P(Lengths, TokenLengthTest, testing::Values(2U, 255U, 256U, 1023U));

TEST_F(LoginTest, ATokenWithoutATerminatorIsCutAtTheRecordsEnd) {
  RequireLogin();
  TestHost::Get().login = [](LoginInfo& info) {
    std::memset(info.token, 't', sizeof info.token);
    return 0;
  };
  EXPECT_EQ(FuncLogin(&conn_, nullptr), 1);
  EXPECT_EQ(conn_.output,
            JsonReply(200, R"({"token":")" + std::string(1023, 't') + R"(","firstlogin":0,"code":0})"));
  EXPECT_NE(GetLoginHandle(std::string(1023, 't').c_str()), nullptr);
}

class LogOutTest : public LoginTest {};

TEST_F(LogOutTest, EndsTheLoginOfTheToken) {
  RequireLogin();
  LogIn("tok");
  LogIn("other");
  mg_connection conn("POST", "/logout");
  conn.Token("tok");
  EXPECT_EQ(FuncLogOut(&conn, nullptr), 1);
  EXPECT_EQ(conn.output, JsonReply(200, R"({"code":"0"})"));
  EXPECT_EQ(TestHost::Get().Lines(), Strings{"LogOutCb()"});
  EXPECT_EQ(Log(), (Strings{"1 sdkapi req http token tok", "1 sdkapi send =>" + conn.output}));
  EXPECT_EQ(GetLoginHandle("tok"), nullptr);
  EXPECT_NE(GetLoginHandle("other"), nullptr);
  EXPECT_EQ(Sessions(), Strings{"other"});
}

TEST_F(LogOutTest, AnUnknownTokenIsNotAuthorised) {
  RequireLogin();
  LogIn("tok");
  mg_connection conn("POST", "/logout");
  conn.Token("nobody");
  EXPECT_EQ(FuncLogOut(&conn, nullptr), 1);
  EXPECT_EQ(conn.output, JsonReply(401));
  EXPECT_EQ(Log(), (Strings{"1 sdkapi req http token nobody", "4 sdkapi token err!!!!",
                            "1 sdkapi send =>" + JsonReply(401)}));
  EXPECT_EQ(TestHost::Get().Lines(), Strings{});
}

TEST_F(LogOutTest, WithoutATokenNothingIsTraced) {
  RequireLogin();
  mg_connection conn("POST", "/logout");
  EXPECT_EQ(FuncLogOut(&conn, nullptr), 1);
  EXPECT_EQ(conn.output, JsonReply(401));
  EXPECT_EQ(Log(), (Strings{"4 sdkapi token err!!!!", "1 sdkapi send =>" + JsonReply(401)}));
}

TEST_F(LogOutTest, AnEmptySlotIsPassedOver) {
  SdkAPISerHandle table = TestHost::Table();
  table.LogOutCb = nullptr;
  Install(table);
  RequireLogin();
  LogIn("tok");
  mg_connection conn("POST", "/logout");
  conn.Token("tok");
  EXPECT_EQ(FuncLogOut(&conn, nullptr), 1);
  EXPECT_EQ(conn.output, JsonReply(200, R"({"code":"0"})"));
  EXPECT_EQ(GetLoginHandle("tok"), nullptr);
}

TEST_F(LogOutTest, WithAuthenticationOffTheHostIsToldButNothingIsRemoved) {
  LogIn("tok");
  mg_connection conn("POST", "/logout");
  conn.Token("tok");
  EXPECT_EQ(FuncLogOut(&conn, nullptr), 0);
  EXPECT_EQ(conn.output, "");
  EXPECT_EQ(TestHost::Get().Lines(), Strings{"LogOutCb()"});
  EXPECT_EQ(Log(), (Strings{"1 sdkapi req http token tok", "4 sdkapi json api del handle fail"}));
  EXPECT_EQ(sdkapi::LoginCount(), 1);
  EXPECT_EQ(Sessions(), Strings{"tok"});
}

TEST_F(LogOutTest, TwoLoginsWithOneTokenNeedTwoLogOuts) {
  RequireLogin();
  LogIn("tok");
  LogIn("tok");
  for (const int left : {1, 0}) {
    mg_connection conn("POST", "/logout");
    conn.Token("tok");
    EXPECT_EQ(FuncLogOut(&conn, nullptr), 1);
    EXPECT_EQ(sdkapi::LoginCount(), left);
    EXPECT_EQ(Sessions().size(), static_cast<std::size_t>(left));
  }
  mg_connection conn("POST", "/logout");
  conn.Token("tok");
  FuncLogOut(&conn, nullptr);
  EXPECT_EQ(conn.output, JsonReply(401));
}

struct QueryCase {
  int written;
  bool writes;
  const char* body;
  int off;
};
class NoLoginTest : public LoginTest, public testing::WithParamInterface<QueryCase> {};

TEST_P(NoLoginTest, TheHostsAnswerSwitchesAuthentication) {
  TestHost::Get().authQuery = [](int* flag) {
    if (GetParam().writes) *flag = GetParam().written;
    return -1;  // the result is ignored
  };
  for (const int before : {0, 1}) {
    SdkAPISer_AuthenticationSwitch_Set(before);
    mg_connection conn("GET", "/iplogin");
    EXPECT_EQ(FuncNoLogin(&conn, nullptr), 1);
    EXPECT_EQ(conn.output, JsonReply(200, GetParam().body));
    EXPECT_EQ(SdkAPISer_AuthenticationSwitch_Get(), GetParam().off);
  }
  EXPECT_EQ(TestHost::Get().Lines(), (Strings{"AuthQueryCb(-1)", "AuthQueryCb(-1)"}));
}

INSTANTIATE_TEST_SUITE_P(Answers, NoLoginTest,
                         testing::Values(QueryCase{1, true, R"({"result":"off"})", 1},
                                         QueryCase{0, true, R"({"result":"on"})", 0},
                                         QueryCase{0, false, R"({"result":"on"})", 0},
                                         QueryCase{2, true, R"({"result":"on"})", 0}));

TEST_F(LoginTest, AnEmptyQuerySlotLeavesTheRequestToTheWebServer) {
  SdkAPISerHandle table = TestHost::Table();
  table.AuthQueryCb = nullptr;
  Install(table);
  mg_connection conn("GET", "/iplogin");
  EXPECT_EQ(FuncNoLogin(&conn, nullptr), 0);
  EXPECT_EQ(conn.output, "");
  EXPECT_EQ(Log(), Strings{"4 sdkapi FuncNoLogin not registered!!!!"});
  EXPECT_EQ(SdkAPISer_AuthenticationSwitch_Get(), 1);
}

}  // namespace
