// Changing one's own name or password, creating and deleting users.
#include <cstring>

#include "http/handlers.h"
#include "library_fixture.h"

namespace {

using sdktest::JsonReply;
using sdktest::LogCapture;
using sdktest::Strings;
using sdktest::TestHost;

class ChangeUserTest : public sdktest::LibraryTest {};

struct ChangePath {
  const char* path;
  int changeType;
};
class ChangePathTest : public ChangeUserTest, public testing::WithParamInterface<ChangePath> {};

TEST_P(ChangePathTest, AllFourTextsReachTheHostWithTheType) {
  TestHost::Get().changeUser = [](ChangeUserRequest& request) {
    EXPECT_STREQ(request.username, "u");
    EXPECT_STREQ(request.newusername, "nu");
    EXPECT_STREQ(request.newpassword, "np");
    EXPECT_STREQ(request.oldpassword, "op");
    EXPECT_EQ(request.changeType, GetParam().changeType);
    EXPECT_EQ(request.code, 0);
    request.code = -7;
    return 0;
  };
  mg_connection conn("POST", GetParam().path);
  conn.Token("tok").Body(R"({"username":"u","newusername":"nu","newpassword":"np","oldpassword":"op"})");
  EXPECT_EQ(FuncChangeUserInfo(&conn, nullptr), 1);
  EXPECT_EQ(conn.output, JsonReply(200, "{\n\t\"code\":\t-7\n}"));
  EXPECT_EQ(TestHost::Get().Lines(), Strings{"ChangeUserInfoCb(tok)"});
  EXPECT_FALSE(conn.keepAlive);
}

INSTANTIATE_TEST_SUITE_P(Paths, ChangePathTest,
                         testing::Values(ChangePath{"/change/username", 0}, ChangePath{"/change/password", 1},
                                         ChangePath{"/change/usrorpasswd", 2}));

TEST_F(ChangeUserTest, MissingTextsStayEmptyAndLongOnesAreCut) {
  TestHost::Get().changeUser = [](ChangeUserRequest& request) {
    EXPECT_EQ(std::string(request.username), std::string(31, 'u'));
    EXPECT_STREQ(request.newusername, "");
    EXPECT_EQ(std::string(request.newpassword), std::string(255, 'n'));
    EXPECT_STREQ(request.oldpassword, "");
    EXPECT_EQ(request.changeType, 1);
    return 0;
  };
  mg_connection conn("POST", "/change/password");
  conn.Body(R"({"username":")" + std::string(60, 'u') + R"(","newpassword":")" + std::string(300, 'n') +
            "\"}");
  EXPECT_EQ(FuncChangeUserInfo(&conn, nullptr), 1);
  EXPECT_EQ(TestHost::Get().Lines().size(), 1U);
}

TEST_F(ChangeUserTest, ABodyThatDoesNotParseReachesTheHostAsEmptyTexts) {
  TestHost::Get().changeUser = [](ChangeUserRequest& request) {
    ChangeUserRequest expected{};
    expected.changeType = 2;
    EXPECT_EQ(std::memcmp(&request, &expected, sizeof expected), 0);
    return 0;
  };
  mg_connection conn("POST", "/change/usrorpasswd");
  conn.Body("{broken");
  EXPECT_EQ(FuncChangeUserInfo(&conn, nullptr), 1);
  EXPECT_EQ(TestHost::Get().Lines().size(), 1U);
}

TEST_F(ChangeUserTest, NotAuthorisedByTheHost) {
  TestHost::Get().changeUser = [](ChangeUserRequest&) { return -2; };
  mg_connection conn("POST", "/change/password");
  EXPECT_EQ(FuncChangeUserInfo(&conn, nullptr), 1);
  EXPECT_EQ(conn.output, JsonReply(401));
}

class ChangeFailureTest : public ChangeUserTest, public testing::WithParamInterface<int> {};

TEST_P(ChangeFailureTest, SendsAnEmptyReply) {
  TestHost::Get().changeUser = [](ChangeUserRequest&) { return GetParam(); };
  mg_connection conn("POST", "/change/password");
  EXPECT_EQ(FuncChangeUserInfo(&conn, nullptr), 1);
  EXPECT_EQ(conn.output, "");
  EXPECT_EQ(Log(), Strings{"1 sdkapi send =>"});
  EXPECT_FALSE(conn.keepAlive) << "the worker is released at once";
}

TEST_F(ChangeUserTest, AFailureReadsTheRestOfTheBodyAway) {
  TestHost::Get().changeUser = [](ChangeUserRequest&) { return -1; };
  mg_connection conn("POST", "/change/password");
  conn.Body(std::string(20000, ' '));
  EXPECT_EQ(FuncChangeUserInfo(&conn, nullptr), 1);
  EXPECT_EQ(conn.bodyRead, 20000U);
}

INSTANTIATE_TEST_SUITE_P(Results, ChangeFailureTest, testing::Values(-1, 1, 5, -3));

class UnknownPathTest : public ChangeUserTest, public testing::WithParamInterface<const char*> {};

TEST_P(UnknownPathTest, IsLeftToTheWebServer) {
  for (const auto handler : {FuncChangeUserInfo, FuncManageUser}) {
    mg_connection conn("POST", GetParam());
    conn.Body(R"({"username":"u"})");
    EXPECT_EQ(handler(&conn, nullptr), 0);
    EXPECT_EQ(conn.output, "");
    EXPECT_EQ(TestHost::Get().Lines(), Strings{});
  }
}

TEST_F(ChangeUserTest, ARequestWithoutAPathIsLeftToTheWebServer) {
  for (const auto handler : {FuncChangeUserInfo, FuncManageUser}) {
    mg_connection conn("POST");
    conn.uri.reset();
    EXPECT_EQ(handler(&conn, nullptr), 0);
    EXPECT_EQ(TestHost::Get().Lines(), Strings{});
  }
}

INSTANTIATE_TEST_SUITE_P(Paths, UnknownPathTest,
                         testing::Values("/change", "/change/password/", "/CHANGE/PASSWORD", "/createuser/",
                                         "/", "/change/password-and-a-tail-that-is-far-too-long",
                                         "/deleteuserdeleteuserdeleteuserdeleteuser"));

struct Handler {
  const char* name;
  int (*handle)(mg_connection*, void*);
  const char* path;
};
class UserHandlerTest : public ChangeUserTest, public testing::WithParamInterface<Handler> {};

TEST_P(UserHandlerTest, AnUnknownTokenIsNotAuthorised) {
  RequireLogin();
  mg_connection conn("POST", GetParam().path);
  conn.Token("nobody");
  EXPECT_EQ(GetParam().handle(&conn, nullptr), 1);
  EXPECT_EQ(conn.output, JsonReply(401));
  EXPECT_EQ(Log(), (Strings{"1 sdkapi req http token nobody", "4 sdkapi token err!!!!",
                            "1 sdkapi send =>" + JsonReply(401)}));
  EXPECT_EQ(TestHost::Get().Lines(), Strings{});
}

TEST_P(UserHandlerTest, AnEmptySlotIsLeftToTheWebServer) {
  SdkAPISerHandle table = TestHost::Table();
  table.ChangeUserInfoCb = nullptr;
  table.ManageUserCb = nullptr;
  Install(table);
  mg_connection conn("POST", GetParam().path);
  EXPECT_EQ(GetParam().handle(&conn, nullptr), 0);
  EXPECT_EQ(conn.output, "");
  EXPECT_EQ(Log(), Strings{std::string("4 sdkapi ") + GetParam().name + " not registered!!!!"});
}

INSTANTIATE_TEST_SUITE_P(Handlers, UserHandlerTest,
                         testing::Values(Handler{"FuncChangeUserInfo", FuncChangeUserInfo,
                                                 "/change/password"},
                                         Handler{"FuncManageUser", FuncManageUser, "/createuser"}),
                         sdktest::ByName{});

class ManageUserTest : public sdktest::LibraryTest {};

TEST_F(ManageUserTest, CreateTakesNamePasswordAndRole) {
  TestHost::Get().manageUser = [](ManageUserRequest& request) {
    EXPECT_EQ(request.role, 2);
    EXPECT_STREQ(request.username, "u");
    EXPECT_STREQ(request.password, "p");
    EXPECT_EQ(request.action, 0);
    request.code = 3000000000U;
    return 0;
  };
  mg_connection conn("POST", "/createuser");
  conn.Token("tok").Body(R"({"username":"u","password":"p","role":2})");
  EXPECT_EQ(FuncManageUser(&conn, nullptr), 1);
  EXPECT_EQ(conn.output, JsonReply(200, R"({"code":3000000000})"));
  EXPECT_EQ(TestHost::Get().Lines(), Strings{"ManageUserCb(tok)"});
}

TEST_F(ManageUserTest, DeleteTakesTheNameOnly) {
  TestHost::Get().manageUser = [](ManageUserRequest& request) {
    ManageUserRequest expected{};
    std::strcpy(expected.username, "u");
    expected.action = 1;
    EXPECT_EQ(std::memcmp(&request, &expected, sizeof expected), 0);
    return 0;
  };
  mg_connection conn("POST", "/deleteuser");
  conn.Body(R"({"username":"u","password":"p","role":2})");
  EXPECT_EQ(FuncManageUser(&conn, nullptr), 1);
  EXPECT_EQ(conn.output, JsonReply(200, R"({"code":0})"));
}

TEST_F(ManageUserTest, ABodyThatDoesNotParseReachesTheHostEmpty) {
  TestHost::Get().manageUser = [](ManageUserRequest& request) {
    const ManageUserRequest expected{};
    EXPECT_EQ(std::memcmp(&request, &expected, sizeof expected), 0);
    return 0;
  };
  mg_connection conn("POST", "/createuser");
  EXPECT_EQ(FuncManageUser(&conn, nullptr), 1);
  EXPECT_EQ(TestHost::Get().Lines().size(), 1U);
}

TEST_F(ManageUserTest, LongTextsAreCut) {
  TestHost::Get().manageUser = [](ManageUserRequest& request) {
    EXPECT_EQ(std::string(request.username), std::string(31, 'u'));
    EXPECT_EQ(std::string(request.password), std::string(255, 'p'));
    return 0;
  };
  mg_connection conn("POST", "/createuser");
  conn.Body(R"({"username":")" + std::string(40, 'u') + R"(","password":")" + std::string(300, 'p') + "\"}");
  FuncManageUser(&conn, nullptr);
  EXPECT_EQ(TestHost::Get().Lines().size(), 1U);
}

struct ResultCase {
  int result;
  int status;
};
class ManageResultTest : public ManageUserTest, public testing::WithParamInterface<ResultCase> {};

TEST_P(ManageResultTest, GivesTheStatus) {
  TestHost::Get().manageUser = [](ManageUserRequest&) { return GetParam().result; };
  for (const char* const path : {"/createuser", "/deleteuser"}) {
    mg_connection conn("POST", path);
    EXPECT_EQ(FuncManageUser(&conn, nullptr), 1);
    EXPECT_EQ(conn.output, JsonReply(GetParam().status));
  }
}

INSTANTIATE_TEST_SUITE_P(Results, ManageResultTest,
                         testing::Values(ResultCase{-2, 401}, ResultCase{-1, 500}, ResultCase{1, 500},
                                         ResultCase{5, 500}));

}  // namespace
