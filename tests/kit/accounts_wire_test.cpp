// Accounts over real sockets: logins, rights, and what ends a login.
#include <cstring>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "raw_websocket.h"
#include "sdkapi/extension.h"
#include "sdkapi/kit.h"
#include "server_test_base.h"

namespace integration {
namespace {

constexpr const char* kPassword = "Correct-Horse-7";
constexpr const char* kOther = "Other-Horse-8";
// Code 1008 and the reason.
Frame ClosedBecause(const char* why) { return {true, 8, std::string("\x03\xf0") + why}; }

std::mutex auditMutex;
std::vector<std::string> audit;

void KeepAudit(int level, const char* /*subject*/, const char* text) {
  const std::lock_guard lock(auditMutex);
  if (level == kKitAudit) audit.emplace_back(text);
}

int CountAudit(const std::string& text) {
  const std::lock_guard lock(auditMutex);
  return static_cast<int>(std::count(audit.begin(), audit.end(), text));
}

std::vector<std::string> acts;

// "user@address subject.action object target: reason"
void KeepAct(const SdkKitAuditEntry* entry) {
  const std::lock_guard lock(auditMutex);
  acts.push_back(std::string(entry->user) + "@" + entry->address + " " + entry->subject + "." +
                 entry->action + " " + entry->object + " " + entry->target +
                 (entry->outcome == kKitAuditDone ? "" : std::string(": ") + entry->reason));
}

std::vector<std::string> TakeActs() {
  const std::lock_guard lock(auditMutex);
  return std::exchange(acts, {});
}

// The value of a number or a text in a small JSON reply.
std::string Member(const Response& response, const std::string& name) {
  const std::size_t at = response.body.find('"' + name + "\":");
  if (at == std::string::npos) return "";
  std::string value = response.body.substr(at + name.size() + 3);
  value.erase(0, value.find_first_not_of("\t \""));
  return value.substr(0, value.find_first_of(",\"\n}"));
}

SdkKitAccountsOptions Options() {
  SdkKitAccountsOptions options{};
  options.size = sizeof options;
  options.path = "accounts.db";
  options.roleSize = sizeof(SdkKitRole);
  options.rightSize = sizeof(SdkKitRight);
  options.firstPassword = kPassword;
  options.firstPasswordStays = 1;
  return options;
}

class AccountsTest : public ServerTest, public ::testing::WithParamInterface<Mode> {
 protected:
  void SetUp() override {
    SdkKitLog_Set(KeepAudit);
    SdkKitAudit_Set(KeepAct);
    const std::lock_guard lock(auditMutex);
    audit.clear();
    acts.clear();
  }
  void TearDown() override { StopDevice(); }

  void StartDevice(const SdkKitAccountsOptions& options = Options()) {
    StopDevice();
    TestHost::Get().Reset();
    ASSERT_EQ(SdkKitAccounts_Start(&options), 0);
    SdkAPISerHandle table = TestHost::Table();
    SdkKitAccounts_Fill(&table);
    SdkKitAccounts_Guard(&table);
    Server::Get().Ensure({"", false, &table});
    SdkAPISer_AuthenticationSwitch_Set(options.noAuthentication != 0 ? 0 : 1);
  }
  static void StopDevice() {
    Server::Get().Stop();
    SdkKitAccounts_Stop();
    for (const char* const end : {"", "-wal", "-shm"})
      std::filesystem::remove(std::string("accounts.db") + end);
  }

  Response Ask(const std::string& method, const std::string& target, const std::string& token = "",
               const std::string& body = "", std::vector<std::string> headers = {}) {
    if (!token.empty()) headers.push_back("Authorization: Bearer " + token);
    return Exchange(GetParam(), HttpRequest{method, target, headers, body}.Bytes());
  }
  Response TryLogin(const std::string& name, const std::string& password) {
    return Ask("POST", "/api/v1/auth/login", "",
               R"({"username":")" + name + R"(","password":")" + password + R"("})");
  }
  std::string LogInAs(const std::string& name, const std::string& password = kPassword) {
    const Response response = TryLogin(name, password);
    EXPECT_EQ(Member(response, "code"), "0") << response.raw;
    return Member(response, "token");
  }
  int StatusOf(const std::string& token, const std::string& target = "/getTxRxList") {
    return Ask("GET", target, token).status();
  }
  std::string ChangePassword(const std::string& token, const std::string& name, const std::string& from,
                             const std::string& to) {
    return Member(Ask("POST", "/change/password", token,
                      R"({"username":")" + name + R"(","oldpassword":")" + from + R"(","newpassword":")" +
                          to + R"("})"),
                  "code");
  }
  // A user whose first password was changed.
  void MakeUser(const std::string& name, int role) {
    ASSERT_EQ(SdkKitAccounts_Create(name.c_str(), kOther, role), 0);
    const std::string token = LogInAs(name, kOther);
    ASSERT_EQ(ChangePassword(token, name, kOther, kPassword), "0");
    ASSERT_EQ(Ask("POST", "/logout", token).status(), 200);
  }
  static std::vector<SdkKitSession> SessionsFor(const char* token) {
    std::vector<SdkKitSession> sessions(20);
    std::size_t count = sessions.size();
    sessions[0].size = sizeof sessions[0];
    if (SdkKitAccounts_Sessions(token, sessions.data(), &count) != 0) return {};
    sessions.resize(count);
    return sessions;
  }
};

INSTANTIATE_TEST_SUITE_P(Schemes, AccountsTest, BothSchemes(), ModeName);

TEST_P(AccountsTest, ARightPasswordGivesAToken) {
  StartDevice();
  const std::string token = LogInAs("admin");
  EXPECT_EQ(token.size(), 43U);
  EXPECT_EQ(token.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_"),
            std::string::npos);
  EXPECT_EQ(StatusOf(token), 200);
  ExpectReply(TryLogin("admin", "wrong"), 200, R"({"code":1})");
  ExpectReply(TryLogin("nobody", kPassword), 200, R"({"code":1})");
  ExpectReply(TryLogin("", ""), 200, R"({"code":1})");
  SdkKitUser user{};
  user.size = sizeof user;
  ASSERT_EQ(SdkKitAccounts_Who(token.c_str(), &user), 0);
  EXPECT_STREQ(user.name, "admin");
  EXPECT_STREQ(user.roleName, "administrator");
  EXPECT_EQ(SdkKitAccounts_Who("no token", &user), -1);
  EXPECT_EQ(SdkKitAccounts_Who(nullptr, &user), -1);
  EXPECT_EQ(CountAudit("admin from 127.0.0.1 has logged in"), 1);
  EXPECT_EQ(CountAudit("wrong password for admin from 127.0.0.1"), 1);
  EXPECT_EQ(Ask("POST", "/logout", token).status(), 200);
  EXPECT_TRUE(Eventually([] { return SessionsFor(nullptr).empty(); }));
}

TEST_P(AccountsTest, AFirstPasswordOpensOnlyItsChange) {
  SdkKitAccountsOptions options = Options();
  options.firstPasswordStays = 0;
  StartDevice(options);
  host().deviceInfo = [](DeviceInfo&) { return 0; };
  const std::string token = LogInAs("admin");
  EXPECT_EQ(StatusOf(token), 401);
  EXPECT_EQ(StatusOf(token, "/download/edid"), 401);
  ExpectReply(Ask("GET", "/dev_info", token), 200, R"({"timeout":"1800"})");
  EXPECT_EQ(
      CountAudit("refused GET /getTxRxList to admin from 127.0.0.1: the first password was not changed"), 1);
  RawWebSocket socket(GetParam());
  ASSERT_TRUE(socket.Open(token));
  EXPECT_EQ(socket.Read(), (Frame{true, 8, "\x03\xf0not authorised"}));
  EXPECT_EQ(host().Count("WebSocketCb"), 0);
  const std::string again = LogInAs("admin");
  EXPECT_EQ(ChangePassword(again, "admin", kPassword, "weak"), "2");
  EXPECT_EQ(ChangePassword(again, "admin", kPassword, "Aa1!aaa"), "2");
  EXPECT_EQ(ChangePassword(again, "admin", kPassword, kOther), "0");
  EXPECT_EQ(StatusOf(again), 200);
  EXPECT_EQ(Member(TryLogin("admin", kOther), "firstlogin"), "0");
}

TEST_P(AccountsTest, RightsFollowTheRoleAndTheRoute) {
  const SdkKitRight own[] = {{"/download/edid", nullptr, kKitRole2, 0}, {"/stream", nullptr, kKitNobody, 0}};
  SdkKitAccountsOptions options = Options();
  options.rights = own;
  options.rightCount = 2;
  StartDevice(options);
  MakeUser("kim", 2);
  MakeUser("eve", 3);
  const std::map<std::string, std::string> tokens = {
      {"admin", LogInAs("admin")}, {"kim", LogInAs("kim")}, {"eve", LogInAs("eve")}};
  struct Row {
    const char* method;
    const char* target;
    const char* slot;
    std::string who;  // for whom the slot is called
  };
  for (const Row& row : {Row{"GET", "/getTxRxList", "GetTxRxListCb", "admin eve kim "},
                         Row{"GET", "/log", "DownloadLogFileCb", "admin eve kim "},
                         Row{"GET", "/download/edid", "DownloadEdidFileCb", "kim "},
                         Row{"GET", "/api/v1/settings/export", "DownloadSettingFileCb", "admin "},
                         Row{"GET", "/custom_restore", "CustomRestoreCb", "admin "},
                         Row{"GET", "/delete_priv?file=a", "DeletePrivCb", "admin kim "},
                         Row{"GET", "/specifypriv?file=a", "SpecifyPrivCb", "admin kim "}}) {
    for (const auto& [name, token] : tokens) {
      host().ForgetCalls();
      const Response response = Ask(row.method, row.target, token);
      const bool may = row.who.find(name + ' ') != std::string::npos;
      EXPECT_EQ(host().Count(row.slot), may ? 1 : 0) << row.target << " for " << name;
      if (!may && row.slot != std::string("DownloadSettingFileCb")) {
        EXPECT_EQ(response.status(), 401) << row.target << " for " << name;
      }
    }
  }
  EXPECT_EQ(Ask("GET", "/stream").status(), 404);
  EXPECT_EQ(host().Count("PreviewCb"), 0);
  EXPECT_EQ(SdkKitAccounts_May(tokens.at("eve").c_str(), "command", "POST"), -1);
  EXPECT_EQ(SdkKitAccounts_May(tokens.at("kim").c_str(), "command", "POST"), 0);
  EXPECT_EQ(SdkKitAccounts_May("no token", "command", nullptr), -1);
}

TEST_P(AccountsTest, UploadsAreJudgedBeforeTheHostSeesAByte) {
  StartDevice();
  MakeUser("kim", 2);
  MakeUser("eve", 3);
  const std::map<std::string, std::string> tokens = {
      {"admin", LogInAs("admin")}, {"kim", LogInAs("kim")}, {"eve", LogInAs("eve")}};
  struct Row {
    const char* target;
    std::string who;
    const char* method = "POST";
  };
  // A form may come by any method: it is an upload all the same.
  for (const Row& row :
       {Row{"/upload/logo", "admin kim "}, Row{"/upload/logo", "admin kim ", "GET"},
        Row{"/upload/edid", "admin kim ", "HEAD"}, Row{"/upload/sub/upgrade/anything", "admin "},
        Row{"/api/v1/fw_upload", "admin "}, Row{"/api/v1/settings/import", "admin "},
        Row{"/api/v1/security/ieee802_1x_setting", "admin "}, Row{"/upload/edid", "admin kim "}}) {
    for (const auto& [name, token] : tokens) {
      host().ForgetCalls();
      HttpRequest request = UploadRequest(row.target, MultipartBody({{"f", "content", "a.bin"}}));
      request.method = row.method;
      request.headers.push_back("Authorization: Bearer " + token);
      request.headers.push_back("Port: no number");
      const bool may = row.who.find(name + ' ') != std::string::npos;
      EXPECT_EQ(Exchange(GetParam(), request.Bytes()).status(), may ? 200 : 401)
          << row.target << " for " << name;
      EXPECT_EQ(host().Uploads().empty(), !may) << row.target << " for " << name;
    }
  }
}

TEST_P(AccountsTest, OfManyGuessesAtOnceFiveAreJudged) {
  StartDevice();
  std::atomic<int> judged{0};
  std::atomic<int> locked{0};
  std::vector<std::thread> guesses;
  for (int i = 0; i < 46; ++i) {
    guesses.emplace_back([&] {
      const std::string code = Member(TryLogin("admin", "guess"), "code");
      if (code == "1") ++judged;
      if (code == "2") ++locked;
    });
  }
  for (std::thread& guess : guesses) guess.join();
  EXPECT_EQ(judged, 5);
  EXPECT_EQ(locked, 41);
  const Response response = TryLogin("admin", kPassword);
  EXPECT_EQ(Member(response, "code"), "2") << "the right password must not tell itself while it is locked";
  EXPECT_GT(std::stoi(Member(response, "lockTime")), 0);
}

TEST_P(AccountsTest, OldPasswordsAreGuessesToo) {
  StartDevice();
  MakeUser("kim", 2);
  const std::string token = LogInAs("kim");
  for (int i = 0; i < 5; ++i) EXPECT_EQ(ChangePassword(token, "kim", "guess", kOther), "1");
  EXPECT_EQ(ChangePassword(token, "kim", kPassword, kOther), "8");
  EXPECT_EQ(Member(TryLogin("kim", kPassword), "code"), "2");
  EXPECT_EQ(Ask("POST", "/change/password", token, R"({"username":"admin","oldpassword":"x"})").status(),
            401);
}

TEST_P(AccountsTest, AChangedPasswordEndsTheOtherLogins) {
  StartDevice();
  const std::string own = LogInAs("admin");
  const std::string other = LogInAs("admin");
  RawWebSocket socket(GetParam());
  ASSERT_TRUE(socket.Open(other));
  EXPECT_EQ(ChangePassword(own, "admin", kPassword, kOther), "0");
  EXPECT_EQ(StatusOf(own), 200);
  EXPECT_EQ(StatusOf(other), 401);
  EXPECT_EQ(socket.Read(), ClosedBecause("account changed"));
  EXPECT_EQ(Member(TryLogin("admin", kPassword), "code"), "1");
}

TEST_P(AccountsTest, ANewNameKeepsTheOwnLoginOnly) {
  StartDevice();
  MakeUser("kim", 2);
  const std::string own = LogInAs("kim");
  const std::string other = LogInAs("kim");
  const auto rename = [&](const std::string& to) {
    return Member(Ask("POST", "/change/usrorpasswd", own,
                      R"({"username":"kim","newusername":")" + to + R"(","oldpassword":")" + kPassword +
                          R"(","newpassword":")" + kOther + R"("})"),
                  "code");
  };
  EXPECT_EQ(rename("admin"), "3");
  EXPECT_EQ(rename("a b"), "6");
  EXPECT_EQ(rename("pat"), "0");
  EXPECT_EQ(StatusOf(own), 200);
  EXPECT_EQ(StatusOf(other), 401);
  EXPECT_EQ(SessionsFor(own.c_str()).size(), 1U);
  EXPECT_STREQ(SessionsFor(own.c_str())[0].name, "pat");
  EXPECT_EQ(Member(TryLogin("kim", kPassword), "code"), "1");
}

TEST_P(AccountsTest, ADeletedUserIsOutAtOnce) {
  StartDevice();
  MakeUser("kim", 2);
  const std::string admin = LogInAs("admin");
  const std::string kim = LogInAs("kim");
  RawWebSocket socket(GetParam());
  ASSERT_TRUE(socket.Open(kim));
  ExpectReply(Ask("POST", "/deleteuser", admin, R"({"username":"kim"})"), 200, R"({"code":0})");
  EXPECT_EQ(StatusOf(kim), 401);
  EXPECT_EQ(socket.Read(), ClosedBecause("user deleted"));
  ExpectReply(Ask("POST", "/deleteuser", admin, R"({"username":"kim"})"), 200, R"({"code":4})");
  ExpectReply(Ask("POST", "/deleteuser", admin, R"({"username":"admin"})"), 200, R"({"code":5})");
  EXPECT_EQ(CountAudit("admin from 127.0.0.1: deletion of kim gave code 0"), 1);
}

TEST_P(AccountsTest, AnActSaysWhoAskedAndFromWhere) {
  StartDevice();
  MakeUser("kim", 3);
  const std::string kim = LogInAs("kim");
  const std::string admin = LogInAs("admin");
  host().deviceInfo = [](DeviceInfo&) {
    SdkKitAuditEntry entry{};
    entry.size = sizeof entry;
    entry.subject = "host";
    entry.action = "look";
    return SdkKitAudit_Write(&entry);
  };
  TakeActs();
  TryLogin("admin", "wrong");
  EXPECT_EQ(Ask("GET", "/dev_info", kim).status(), 200);
  EXPECT_EQ(Ask("GET", "/dev_info", admin).status(), 200);
  EXPECT_EQ(Ask("POST", "/deleteuser", kim, R"({"username":"admin"})").status(), 401);
  EXPECT_EQ(Ask("POST", "/deleteuser", admin, R"({"username":"admin"})").status(), 200);
  EXPECT_EQ(Ask("POST", "/deleteuser", admin, R"({"username":"My-Secret 1"})").status(), 200);
  EXPECT_EQ(Ask("POST", "/deleteuser", admin, R"({"username":"kim"})").status(), 200);
  LogInAs("admin");
  EXPECT_EQ(TakeActs(), (std::vector<std::string>{
                            "@127.0.0.1 accounts.password admin : wrong password",
                            "kim@127.0.0.1 host.look  ",
                            "admin@127.0.0.1 host.look  ",
                            "kim@127.0.0.1 accounts.request POST /deleteuser$: the role has no right to it",
                            "admin@127.0.0.1 accounts.delete admin : the last administrator stays one",
                            "admin@127.0.0.1 accounts.delete (no possible name) : there is no such user",
                            "admin@127.0.0.1 accounts.delete kim ",
                            "admin@127.0.0.1 accounts.log-in admin ",
                        }));
}

TEST(AccountsCodeTest, EachCodeHasWords) {
  const std::vector<std::pair<int, std::string>> words{
      {kKitUserDone, ""},
      {kKitUserWrongPassword, "wrong password"},
      {kKitUserUnknown, "there is no such user"},
      {kKitUserLastAdministrator, "the last administrator stays one"},
      {kKitUserTooMany, "too many users"},
      {kKitUserTooMany + 1, "it failed"},
      {-1, "it failed"},
      {-2, "the role has no right to it"},
  };
  for (const auto& [code, text] : words) EXPECT_EQ(SdkKitAccounts_CodeText(code), text) << code;
}

TEST_P(AccountsTest, AnotherRoleNeedsAnotherLogin) {
  StartDevice();
  MakeUser("kim", 2);
  const std::string kim = LogInAs("kim");
  EXPECT_EQ(SdkKitAccounts_SetRole("kim", 9), 7);
  EXPECT_EQ(SdkKitAccounts_SetRole("admin", 2), 5);
  EXPECT_EQ(StatusOf(kim), 200);
  EXPECT_EQ(SdkKitAccounts_SetRole("kim", 1), 0);
  EXPECT_EQ(StatusOf(kim), 401);
  EXPECT_EQ(SdkKitAccounts_SetRole("admin", 2), 0);
}

TEST_P(AccountsTest, AForgottenPasswordBecomesAFirstOne) {
  StartDevice();
  MakeUser("kim", 2);
  const std::string kim = LogInAs("kim");
  EXPECT_EQ(SdkKitAccounts_SetPassword("nobody", kPassword), 4);
  EXPECT_EQ(SdkKitAccounts_SetPassword("kim", "weak"), 2);
  EXPECT_EQ(SdkKitAccounts_SetPassword(nullptr, kPassword), -1);
  EXPECT_EQ(SdkKitAccounts_SetPassword("kim", nullptr), -1);
  EXPECT_EQ(StatusOf(kim), 200);
  EXPECT_EQ(SdkKitAccounts_SetPassword("kim", "Another-Horse-9"), 0);
  EXPECT_EQ(StatusOf(kim), 401);
  ExpectReply(TryLogin("kim", kPassword), 200, R"({"code":1})");
  EXPECT_EQ(StatusOf(LogInAs("kim", "Another-Horse-9")), 401) << "it has to be changed first";
}

TEST_P(AccountsTest, AFloodOfLoginsPushesOutItsOwnOnly) {
  StartDevice();
  MakeUser("eve", 3);
  const std::string admin = LogInAs("admin");
  std::vector<std::string> tokens;
  for (int i = 0; i < 60; ++i) tokens.push_back(LogInAs("eve"));
  EXPECT_EQ(StatusOf(admin), 200);
  EXPECT_EQ(SessionsFor(nullptr).size(), 9U);
  EXPECT_EQ(StatusOf(tokens.back()), 200);
  EXPECT_EQ(StatusOf(tokens.front()), 401);
}

TEST_P(AccountsTest, ALoginThatHasLoggedOutTakesNoPlace) {
  SdkKitAccountsOptions options = Options();
  options.mostLoginsEach = 2;
  StartDevice(options);
  const std::string kept = LogInAs("admin");
  for (int i = 0; i < 4; ++i) {
    ASSERT_EQ(StatusOf(kept), 200) << i;
    ASSERT_EQ(Ask("POST", "/logout", LogInAs("admin")).status(), 200);
  }
  EXPECT_EQ(SessionsFor(kept.c_str()).size(), 1U);
}

TEST_P(AccountsTest, AnAdministratorAlwaysGetsIn) {
  StartDevice();
  for (int i = 0; i < 13; ++i) MakeUser("user" + std::to_string(i), 3);
  for (int i = 0; i < 12; ++i) LogInAs("user" + std::to_string(i));
  ExpectReply(TryLogin("user12", kPassword), 200, R"({"code":2,"lockTime":30})");
  const std::string first = LogInAs("admin");
  for (int i = 0; i < 7; ++i) LogInAs("admin");
  EXPECT_EQ(SessionsFor(nullptr).size(), 20U);
  LogInAs("admin");
  EXPECT_EQ(StatusOf(first), 401);
  EXPECT_EQ(SessionsFor(nullptr).size(), 20U);
}

TEST_P(AccountsTest, WhoHasSeveralLoginsMakesRoom) {
  StartDevice();
  for (int i = 0; i < 5; ++i) MakeUser("user" + std::to_string(i), 3);
  for (int i = 0; i < 12; ++i) LogInAs("user" + std::to_string(i / 3));
  LogInAs("user4");
  EXPECT_EQ(SessionsFor(nullptr).size(), 12U);
}

TEST_P(AccountsTest, UsersSeeAndEndTheirOwnLogins) {
  StartDevice();
  MakeUser("eve", 3);
  const std::string admin = LogInAs("admin");
  const std::string eve = LogInAs("eve");
  const std::string other = LogInAs("eve");
  EXPECT_EQ(SessionsFor(admin.c_str()).size(), 3U);
  EXPECT_TRUE(SessionsFor("no token").empty());
  const std::vector<SdkKitSession> sessions = SessionsFor(eve.c_str());
  ASSERT_EQ(sessions.size(), 2U);
  EXPECT_EQ(sessions[0].own, 1);
  EXPECT_EQ(sessions[1].own, 0);
  EXPECT_STREQ(sessions[1].address, "127.0.0.1");
  EXPECT_EQ(SdkKitAccounts_EndSession(eve.c_str(), SessionsFor(admin.c_str())[0].id), -1);
  EXPECT_EQ(SdkKitAccounts_EndSession(eve.c_str(), sessions[1].id), 0);
  EXPECT_EQ(SdkKitAccounts_EndSession(eve.c_str(), sessions[1].id), -1);
  EXPECT_EQ(StatusOf(other), 401);
  RawWebSocket socket(GetParam());
  ASSERT_TRUE(socket.Open(eve));
  EXPECT_EQ(SdkKitAccounts_EndSession(admin.c_str(), sessions[0].id), 0);
  EXPECT_EQ(StatusOf(eve), 401);
  EXPECT_EQ(socket.Read(), ClosedBecause("ended on request"));
}

TEST_P(AccountsTest, AnIdleLoginEndsWithoutAnybodyAsking) {
  SdkKitAccountsOptions options = Options();
  options.idleSeconds = 1;
  StartDevice(options);
  std::string token;
  std::optional<RawWebSocket> socket;
  // On a slow machine the login may have ended before its WebSocket opens.
  ASSERT_TRUE(Eventually([&] {
    token = LogInAs("admin");
    return socket.emplace(GetParam()).Open(token);
  }));
  EXPECT_EQ(socket->Read(), ClosedBecause("login idle"));
  EXPECT_EQ(StatusOf(token), 401);
  EXPECT_TRUE(
      Eventually([] { return CountAudit("the login of admin from 127.0.0.1 was idle for too long") > 0; }));
}

TEST_P(AccountsTest, WithoutAuthenticationForeignPagesChangeNothingAndReadWhatIsForAll) {
  const SdkKitRight log[] = {{"/log", nullptr, kKitRole1, 0}};
  SdkKitAccountsOptions options = Options();
  options.noAuthentication = 1;
  options.rights = log;
  options.rightCount = 1;
  StartDevice(options);
  struct Row {
    const char* method;
    const char* target;
    std::vector<std::string> headers;
    const char* slot;
    bool isServed;
  };
  const std::string evil = "Origin: http://evil.example";
  const std::string own = "Origin: http://127.0.0.1";
  const std::string cross = "Sec-Fetch-Site: cross-site";
  const std::string browser = "User-Agent: Mozilla/5.0";
  for (const Row& row :
       {Row{"POST", "/createuser", {evil}, "", false}, Row{"POST", "/createuser", {own}, "", true},
        Row{"POST", "/createuser", {}, "", true},
        Row{"POST", "/custom_restore", {evil}, "CustomRestoreCb", false},
        Row{"POST", "/custom_restore", {own}, "CustomRestoreCb", true},
        Row{"GET", "/custom_restore", {}, "CustomRestoreCb", false},
        Row{"HEAD", "/custom_restore", {}, "CustomRestoreCb", false},
        Row{"GET", "/delete_priv?file=a", {cross}, "DeletePrivCb", false},
        Row{"GET", "/delete_priv?file=a", {browser}, "DeletePrivCb", false},
        Row{"HEAD", "/delete_priv?file=a", {browser}, "DeletePrivCb", false},
        Row{"POST", "/delete_priv?file=a", {browser, own}, "DeletePrivCb", true},
        Row{"GET", "/delete_priv?file=a", {}, "DeletePrivCb", true},
        Row{"GET", "/log", {evil}, "DownloadLogFileCb", false},
        Row{"GET", "/delete_priv?file=a", {"Sec-Fetch-Site: same-origin"}, "DeletePrivCb", true},
        Row{"GET", "/getTxRxList", {evil}, "GetTxRxListCb", true}}) {
    host().ForgetCalls();
    const Response response = Ask(row.method, row.target, "", "{}", row.headers);
    EXPECT_EQ(response.status(), row.isServed ? 200 : 401) << row.method << row.target;
    if (row.slot[0] != '\0') {
      EXPECT_EQ(host().Count(row.slot), row.isServed ? 1 : 0) << row.target;
    }
  }
}

TEST_P(AccountsTest, WithoutAuthenticationForeignNamesChangeNothing) {
  SdkKitAccountsOptions options = Options();
  options.noAuthentication = 1;
  options.hostNames = "device.lan, other.lan,";
  StartDevice(options);
  const auto ask = [&](const char* method, const char* target, const std::string& name) {
    std::string bytes = HttpRequest{method, target, {"Origin: http://" + name}, "{}"}.Bytes();
    return Exchange(GetParam(), bytes.replace(bytes.find("127.0.0.1"), 9, name)).status();
  };
  const std::pair<const char*, int> rows[] = {
      {"evil.example", 401},   {"evil.example:8080", 401}, {"device.lan", 200},      {"other.lan:80", 200},
      {"localhost:8080", 200}, {"[::1]:8080", 200},        {"device.lan.evil", 401}, {"127.0.0.1.evil", 401}};
  for (const auto& [name, status] : rows) {
    EXPECT_EQ(ask("POST", "/custom_restore", name), status) << name;
    EXPECT_EQ(ask("GET", "/getTxRxList", name), 200) << name;
  }
  EXPECT_EQ(CountAudit("refused POST /custom_restore to admin from 127.0.0.1: it was asked for under a name "
                       "that is not this device's"),
            4);
}

TEST_P(AccountsTest, ForeignPagesGetNoWebSocketWithoutAuthentication) {
  SdkKitAccountsOptions options = Options();
  options.noAuthentication = 1;
  StartDevice(options);
  for (const char* const foreign : {"127.0.0.1\r\nOrigin: http://evil.example",
                                    "evil.example\r\nOrigin: http://evil.example", "evil.example"}) {
    RawWebSocket socket(GetParam());
    std::string request = RawWebSocket::Request("/websocket", "any");
    request.replace(request.find("127.0.0.1"), 9, foreign);
    ASSERT_TRUE(socket.ShakeWith(request).starts_with("HTTP/1.1 101 ")) << foreign;
    socket.SkipReceived();
    EXPECT_EQ(host().Count("WebSocketCb"), 0) << foreign;
  }
  RawWebSocket other(GetParam());
  ASSERT_TRUE(other.Open("any"));
  EXPECT_TRUE(host().WaitForCount("WebSocketCb", 1));
}

int ServeOwn(mg_connection* conn, CustomReqInfo*) { return SendReponseInfo(conn, 200, 1, "{}", 2); }
int TakeOwn(mg_connection*, UploadCustomCtx*) { return 0; }
int OfferOwn(mg_connection*, CustomDownloadInfo*) { return -1; }

TEST_P(AccountsTest, OwnRoutesAreJudgedInTheSameWay) {
  const SdkKitRight own[] = {{"/own/secret", nullptr, kKitRole1, 0}};
  SdkKitAccountsOptions options = Options();
  options.rights = own;
  options.rightCount = 1;
  StartDevice(options);
  MakeUser("eve", 3);
  ASSERT_EQ(SdkKitAccounts_Get_Post_Add("/own/api", ServeOwn), 0);
  ASSERT_EQ(SdkKitAccounts_Get_Post_Add("/own/secret$", ServeOwn), 0);
  ASSERT_EQ(SdkKitAccounts_Upload_Add("/own/upload$", TakeOwn), 0);
  ASSERT_EQ(SdkKitAccounts_Download_Add("/own/file$", OfferOwn), 0);
  EXPECT_EQ(SdkKitAccounts_Get_Post_Add(nullptr, ServeOwn), -1);
  EXPECT_EQ(SdkKitAccounts_Get_Post_Add("/own/none", nullptr), -1);
  EXPECT_EQ(SdkKitAccounts_Get_Post_Add(std::string(128, '/').c_str(), ServeOwn), -1);
  const std::string eve = LogInAs("eve");
  const std::string admin = LogInAs("admin");
  EXPECT_EQ(Ask("GET", "/own/api/deep", eve).status(), 200);
  EXPECT_EQ(Ask("GET", "/own/file", eve).status(), 500);
  for (const Response& refusal : {Ask("POST", "/own/api", eve, "{}"), Ask("GET", "/own/secret", eve)}) {
    EXPECT_EQ(refusal.status(), 401);
    EXPECT_EQ(refusal.body, R"({"error":"not authorised"})");
  }
  EXPECT_EQ(Ask("GET", "/own/secret", admin).status(), 200);
  for (const char* const method : {"POST", "GET"}) {
    for (const auto& [token, status] : {std::pair{eve, 401}, std::pair{admin, 200}}) {
      HttpRequest request = UploadRequest("/own/upload", MultipartBody({{"f", "content", "a.bin"}}));
      request.method = method;
      request.headers.push_back("Authorization: Bearer " + token);
      EXPECT_EQ(Exchange(GetParam(), request.Bytes()).status(), status) << method;
    }
  }
}

TEST_P(AccountsTest, AnImportIsTakenAsAWholeOrNotAtAll) {
  StartDevice();
  MakeUser("kim", 2);
  char* exported = nullptr;
  ASSERT_EQ(SdkKitAccounts_Export(&exported), 0);
  const std::string good = exported;
  free(exported);
  MakeUser("eve", 3);
  const std::string admin = LogInAs("admin");
  const std::string kim = LogInAs("kim");
  const std::string eve = LogInAs("eve");
  const auto with = [&](const std::string& from, const std::string& to) {
    std::string text = good;
    return text.replace(text.find(from), from.size(), to);
  };
  struct Row {
    std::string text;
    std::string why;
  };
  for (const Row& row :
       {Row{"{}", "it is no list"}, Row{"[]", "no administrator is among them"},
        Row{"[1]", "a user lacks name or hash"}, Row{with("\"kim\"", "\"k m\""), "a name is none"},
        Row{with("\"kim\"", "\"admin\""), "admin is there twice"},
        Row{with("m=12288", "m=4000000"), "the hash of admin is of another kind"},
        Row{with("\"role\":2", "\"role\":4"), "the role of kim is unknown"},
        Row{with("\"role\":2", "\"role\":4294967297"), "the role of kim is unknown"},
        Row{with("\"role\":1", "\"role\":2"), "no administrator is among them"},
        Row{with("\"firstlogin\":0", "\"firstlogin\":7"), "firstlogin of admin is not 0 or 1"}}) {
    char why[128] = "";
    EXPECT_EQ(SdkKitAccounts_Check(row.text.data(), row.text.size(), why, sizeof why), -1);
    EXPECT_EQ(why, row.why);
    EXPECT_EQ(SdkKitAccounts_Import(row.text.data(), row.text.size(), nullptr, 0), -1);
  }
  const std::string deep(100000, '[');
  EXPECT_EQ(SdkKitAccounts_Import(deep.data(), deep.size(), nullptr, 0), -1);
  EXPECT_EQ(StatusOf(eve), 200);
  EXPECT_EQ(SdkKitAccounts_Import(good.data(), good.size(), nullptr, 0), 0);
  EXPECT_EQ(StatusOf(eve), 401);
  EXPECT_EQ(StatusOf(kim), 200);
  EXPECT_EQ(StatusOf(admin), 200);
  ASSERT_EQ(SdkKitAccounts_Factory(&exported), 0);
  EXPECT_EQ(SdkKitAccounts_Import(exported, std::strlen(exported), nullptr, 0), 0);
  free(exported);
  EXPECT_EQ(StatusOf(admin), 401);
  EXPECT_EQ(StatusOf(LogInAs("admin")), 200);
  EXPECT_EQ(SdkKitAccounts_Reset(), 0);
  EXPECT_EQ(LogInAs("admin").size(), 43U);
  EXPECT_EQ(Member(TryLogin("kim", kPassword), "code"), "1");
}

TEST_P(AccountsTest, UsersOutliveTheDevice) {
  SdkKitAccountsOptions options = Options();
  options.path = "kept.db";
  StartDevice(options);
  MakeUser("kim", 2);
  const std::string token = LogInAs("kim");
  StartDevice(options);
  EXPECT_EQ(StatusOf(token), 401);
  LogInAs("kim");
  StopDevice();
  for (const char* const end : {"", "-wal", "-shm"}) std::filesystem::remove(std::string("kept.db") + end);
}

TEST_P(AccountsTest, OptionsThatMakeNoSenseAreRefused) {
  const auto isRefused = [](auto change) {
    SdkKitAccountsOptions options = Options();
    change(options);
    return SdkKitAccounts_Start(&options) == -1;
  };
  static constexpr SdkKitRole kRoles[] = {{1, 0, "boss"}, {31, 0, "none"}};
  static constexpr SdkKitRight kNoRoute[] = {{nullptr, nullptr, 0, 0}};
  EXPECT_EQ(SdkKitAccounts_Start(nullptr), -1);
  EXPECT_TRUE(isRefused([](auto& options) { options.size -= 8; }));
  EXPECT_TRUE(isRefused([](auto& options) { options.path = nullptr; }));
  EXPECT_TRUE(isRefused([](auto& options) { options.path = "no/such/folder/accounts.db"; }));
  EXPECT_TRUE(isRefused([](auto& options) { options.roles = kRoles, options.roleCount = 2; }));
  EXPECT_TRUE(isRefused([](auto& options) { options.administrator = 4; }));
  EXPECT_TRUE(isRefused([](auto& options) { options.rightCount = 1; }));
  EXPECT_TRUE(isRefused([](auto& options) { options.roleCount = 1; }));
  EXPECT_TRUE(isRefused([](auto& options) { options.rightCount = 1001; }));
  EXPECT_TRUE(
      isRefused([](auto& options) { options.roles = kRoles, options.roleCount = 1, options.roleSize = 8; }));
  EXPECT_TRUE(isRefused([](auto& options) { options.rights = kNoRoute, options.rightCount = 1; }));
  EXPECT_TRUE(isRefused([](auto& options) { options.firstName = "a b"; }));
  EXPECT_TRUE(isRefused([](auto& options) { options.mostLogins = 21; }));
  EXPECT_TRUE(isRefused([](auto& options) { options.mostLoginsEach = 11; }));
  SdkKitUser user{};
  user.size = sizeof user;
  EXPECT_EQ(SdkKitAccounts_Who("", &user), -1);
  EXPECT_EQ(SdkKitAccounts_Reset(), -1);
  StartDevice();
  EXPECT_TRUE(isRefused([](auto&) {}));
}

}  // namespace
}  // namespace integration
