// Requests of the host's own get/post routes.
#include "http/handlers.h"
#include "library_fixture.h"
#include "sdkapi/extension.h"

namespace {

using sdktest::JsonReply;
using sdktest::Strings;
using sdktest::TestHost;

void* const kHost = reinterpret_cast<void*>(TestHost::CustomGetPost);

class CustomGetPostTest : public sdktest::LibraryTest {};

TEST_F(CustomGetPostTest, ABodyReachesTheHost) {
  TestHost::Get().customGetPost = [](mg_connection* conn, CustomReqInfo& request) {
    EXPECT_EQ(std::string(request.body, static_cast<std::size_t>(request.bodyLength)),
              std::string("a\0b\r\n", 5));
    EXPECT_EQ(request.reserved, 0);
    return SendReponseInfo(conn, 200, 7, "mine", 4);
  };
  mg_connection conn("POST", "/own");
  conn.Body(std::string("a\0b\r\n", 5));
  EXPECT_EQ(FuncCustomGetPost(&conn, kHost), 1);
  EXPECT_EQ(TestHost::Get().Lines(), Strings{"CustomGetPost(body, 5, 1)"});
  EXPECT_EQ(conn.output,
            "HTTP/1.1 200 OK\r\nDate: Sun, 06 Nov 1994 08:49:37 GMT\r\nContent-Length: 4\r\nConnection: "
            "close\r\n\r\nmine");
}

struct MethodCase {
  const char* text;
  int method;
};
class MethodTest : public CustomGetPostTest, public testing::WithParamInterface<MethodCase> {};

TEST_P(MethodTest, IsReadWithoutRegardToCase) {
  mg_connection conn(GetParam().text, "/own");
  EXPECT_EQ(FuncCustomGetPost(&conn, kHost), 1);
  EXPECT_EQ(TestHost::Get().Lines(),
            Strings{"CustomGetPost(NULL, 0, " + std::to_string(GetParam().method) + ")"});
}

INSTANTIATE_TEST_SUITE_P(Methods, MethodTest,
                         testing::Values(MethodCase{"GET", 0}, MethodCase{"get", 0}, MethodCase{"POST", 1},
                                         MethodCase{"post", 1}, MethodCase{"PUT", 2}, MethodCase{"DELETE", 2},
                                         MethodCase{"GETX", 2}, MethodCase{"", 2}));

struct LengthCase {
  const char* name;
  long long length;
};
class NoBodyTest : public CustomGetPostTest, public testing::WithParamInterface<LengthCase> {};

TEST_P(NoBodyTest, CallsTheHostWithoutABody) {
  mg_connection conn("POST", "/own");
  conn.Body("unread");
  conn.contentLength = GetParam().length;
  EXPECT_EQ(FuncCustomGetPost(&conn, kHost), 1);
  EXPECT_EQ(TestHost::Get().Lines(), Strings{"CustomGetPost(NULL, 0, 1)"});
}

INSTANTIATE_TEST_SUITE_P(Lengths, NoBodyTest,
                         testing::Values(LengthCase{"Unknown", -1}, LengthCase{"Zero", 0},
                                         LengthCase{"NegativeAs32Bits", 0x80000000LL},
                                         LengthCase{"ZeroAs32Bits", 0x100000000LL}),
                         sdktest::ByName{});

TEST_F(CustomGetPostTest, ARequestWithoutAMethodIsOfAnotherKind) {
  mg_connection conn("GET", "/own");
  conn.method.reset();
  EXPECT_EQ(FuncCustomGetPost(&conn, kHost), 1);
  EXPECT_EQ(TestHost::Get().Lines(), Strings{"CustomGetPost(NULL, 0, 2)"});
}

TEST_F(CustomGetPostTest, AShortBodyReportsWhatWasRead) {
  mg_connection conn("POST", "/own");
  conn.Body("abc");
  conn.contentLength = 100;
  EXPECT_EQ(FuncCustomGetPost(&conn, kHost), 1);
  EXPECT_EQ(TestHost::Get().Lines(), Strings{"CustomGetPost(body, 3, 1)"});
}

TEST_F(CustomGetPostTest, AFailedReadIsReported) {
  mg_connection conn("POST", "/own");
  conn.Body("abc");
  conn.failReadFrom = 1;
  EXPECT_EQ(FuncCustomGetPost(&conn, kHost), 1);
  EXPECT_EQ(TestHost::Get().Lines(), Strings{"CustomGetPost(body, -1, 1)"});
}

TEST_F(CustomGetPostTest, ALargeBodyArrivesWhole) {
  const std::string body(1000000, 'b');
  TestHost::Get().customGetPost = [&body](mg_connection*, CustomReqInfo& request) {
    EXPECT_TRUE(std::string(request.body, static_cast<std::size_t>(request.bodyLength)) == body);
    return 0;
  };
  mg_connection conn("POST", "/own");
  conn.Body(body);
  EXPECT_EQ(FuncCustomGetPost(&conn, kHost), 1);
  EXPECT_EQ(TestHost::Get().Lines(), Strings{"CustomGetPost(body, 1000000, 1)"});
}

TEST_F(CustomGetPostTest, ABodyThatTheHostLeftIsReadAway) {
  mg_connection conn("POST", "/own");
  conn.ChunkedBody(std::string(20000, 'c'));
  EXPECT_EQ(FuncCustomGetPost(&conn, kHost), 1);
  EXPECT_EQ(TestHost::Get().Lines(), Strings{"CustomGetPost(NULL, 0, 1)"}) << "its length is unknown";
  EXPECT_EQ(conn.bodyRead, 20000U) << "the next request on the connection does not begin within it";
}

TEST_F(CustomGetPostTest, AnUnknownTokenIsNotAuthorised) {
  RequireLogin();
  mg_connection conn("GET", "/own");
  conn.Token("nobody");
  EXPECT_EQ(FuncCustomGetPost(&conn, kHost), 1);
  EXPECT_EQ(conn.output, JsonReply(401));
  EXPECT_EQ(Log(), (Strings{"1 sdkapi req http token nobody", "4 sdkapicustom token err!!!!",
                            "1 sdkapi send =>" + JsonReply(401)}));
  EXPECT_EQ(TestHost::Get().Lines(), Strings{});
}

TEST_F(CustomGetPostTest, AnyLoginReachesTheHost) {
  RequireLogin();
  LogIn("tok");
  mg_connection conn("GET", "/own");
  conn.Token("tok");
  EXPECT_EQ(FuncCustomGetPost(&conn, kHost), 1);
  EXPECT_EQ(TestHost::Get().Lines(), Strings{"CustomGetPost(NULL, 0, 0)"});
}

TEST_F(CustomGetPostTest, WithoutAHostFunctionItIsAServerError) {
  mg_connection conn("GET", "/own");
  EXPECT_EQ(FuncCustomGetPost(&conn, nullptr), 1);
  EXPECT_EQ(conn.output, JsonReply(500));
  EXPECT_EQ(Log(), (Strings{"4 sdkapicustom no server func", "1 sdkapi send =>" + JsonReply(500)}));
}

TEST_F(CustomGetPostTest, WithoutAHostFunctionTheTokenIsCheckedFirst) {
  RequireLogin();
  mg_connection conn("GET", "/own");
  EXPECT_EQ(FuncCustomGetPost(&conn, nullptr), 1);
  EXPECT_EQ(conn.output, JsonReply(401));
}

TEST_F(CustomGetPostTest, TheHostsRefusalSendsNothingAndEndsTheConnection) {
  TestHost::Get().customGetPost = [](mg_connection*, CustomReqInfo&) { return -2; };
  mg_connection conn("GET", "/own");
  EXPECT_EQ(FuncCustomGetPost(&conn, kHost), 1);
  EXPECT_EQ(conn.output, "");
  EXPECT_EQ(Log(), Strings{});
  EXPECT_FALSE(conn.keepAlive);
}

TEST_F(CustomGetPostTest, AnyOtherResultLeavesTheReplyToTheHost) {
  for (const int result : {0, -1, 1, 500}) {
    TestHost::Get().customGetPost = [result](mg_connection*, CustomReqInfo&) { return result; };
    mg_connection conn("GET", "/own");
    EXPECT_EQ(FuncCustomGetPost(&conn, kHost), 1);
    EXPECT_EQ(conn.output, "") << result;
  }
}

TEST_F(CustomGetPostTest, ASilentFailureGetsTheStatusThatWasSet) {
  ASSERT_EQ(SdkAPIExt_SilentFailure_Set(503), 0);
  TestHost::Get().customGetPost = [](mg_connection*, CustomReqInfo&) { return -1; };
  mg_connection conn("POST", "/own");
  conn.Body("abc");
  EXPECT_EQ(FuncCustomGetPost(&conn, kHost), 1);
  EXPECT_EQ(conn.output, JsonReply(503));
  EXPECT_FALSE(conn.keepAlive);
  EXPECT_EQ(Log(), Strings{"1 sdkapi send =>" + JsonReply(503)});
}

TEST_F(CustomGetPostTest, AStatusOfZeroTakesTheSetOneBack) {
  ASSERT_EQ(SdkAPIExt_SilentFailure_Set(503), 0);
  EXPECT_EQ(SdkAPIExt_SilentFailure_Set(0), 0);
  TestHost::Get().customGetPost = [](mg_connection*, CustomReqInfo&) { return -1; };
  mg_connection conn("GET", "/own");
  EXPECT_EQ(FuncCustomGetPost(&conn, kHost), 1);
  EXPECT_EQ(conn.output, "");
  EXPECT_EQ(Log(), Strings{});
}

TEST_F(CustomGetPostTest, AnAnswerBeforeAFailureStands) {
  ASSERT_EQ(SdkAPIExt_SilentFailure_Set(503), 0);
  TestHost::Get().customGetPost = [](mg_connection* conn, CustomReqInfo&) {
    mg_write(conn, "x", 1);
    return -1;
  };
  mg_connection conn("GET", "/own");
  EXPECT_EQ(FuncCustomGetPost(&conn, kHost), 1);
  EXPECT_EQ(conn.output, "x");
}

TEST_F(CustomGetPostTest, AStatusThatCannotBeSentLeavesTheEarlierOne) {
  ASSERT_EQ(SdkAPIExt_SilentFailure_Set(406), 0);
  EXPECT_EQ(SdkAPIExt_SilentFailure_Set(418), -1);
  EXPECT_EQ(Log(), Strings{"4 sdkapiext SdkAPIExt_SilentFailure_Set: status unknown!!!!"});
  TestHost::Get().customGetPost = [](mg_connection*, CustomReqInfo&) { return 1; };
  mg_connection conn("GET", "/own");
  EXPECT_EQ(FuncCustomGetPost(&conn, kHost), 1);
  EXPECT_EQ(conn.output, JsonReply(406));
}

}  // namespace
