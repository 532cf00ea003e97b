// Headers, token, body, length, method, URL and query parameters of a request.
#include "http/accessors.h"

#include <array>

#include "library_fixture.h"

namespace {

using sdktest::Strings;

class AccessorsTest : public sdktest::LibraryTest {};

TEST_F(AccessorsTest, HeadersAreReadWithoutRegardToCase) {
  const mg_connection conn;
  EXPECT_EQ(GetHttpHeadValue(&conn, "Host"), nullptr);
  mg_connection withHost("GET", "/");
  withHost.Header("Host", "device").Header("X-Empty", "");
  EXPECT_STREQ(GetHttpHeadValue(&withHost, "host"), "device");
  EXPECT_STREQ(GetHttpHeadValue(&withHost, "X-Empty"), "");
  EXPECT_STREQ(SdkAPISer_Get_Head_Param(&withHost, "HOST"), "device");
  EXPECT_EQ(SdkAPISer_Get_Head_Param(&withHost, "Port"), nullptr);
}

struct TokenCase {
  const char* name;
  std::string header;
  std::string token;
};
class TokenTest : public AccessorsTest, public testing::WithParamInterface<TokenCase> {};

TEST_P(TokenTest, IsTheHeaderBehindSevenCharacters) {
  mg_connection conn;
  conn.Header("Authorization", GetParam().header);
  std::array<char, 2048> room{};
  EXPECT_EQ(GetHttpToken(&conn, room.data()), 0);
  EXPECT_EQ(std::string(room.data()), GetParam().token);
  EXPECT_EQ(Log(), Strings{"1 sdkapi req http token " + GetParam().token});
}

INSTANTIATE_TEST_SUITE_P(
    Headers, TokenTest,
    testing::Values(TokenCase{"Bearer", "Bearer abc", "abc"}, TokenCase{"AnyScheme", "Token abc", "bc"},
                    TokenCase{"SchemeOnly", "Basic", ""}, TokenCase{"SevenCharacters", "Bearer ", ""},
                    TokenCase{"Empty", "", ""}, TokenCase{"BlanksStay", "Bearer  a b ", " a b "},
                    TokenCase{"LongestWhole", "Bearer " + std::string(1024, 't'), std::string(1024, 't')},
                    TokenCase{"Cut", "Bearer " + std::string(1025, 't'), std::string(1024, 't')},
                    TokenCase{"FarTooLong", "Bearer " + std::string(5000, 't'), std::string(1024, 't')}),
    sdktest::ByName{});

TEST_F(AccessorsTest, WithoutTheHeaderTheTokenStaysUntouchedAndNothingIsLogged) {
  const mg_connection conn;
  char room[8] = "before";
  EXPECT_EQ(GetHttpToken(&conn, room), 0);
  EXPECT_STREQ(room, "before");
  EXPECT_EQ(Log(), Strings{});
}

TEST_F(AccessorsTest, TheTokenIsWrittenWithoutATerminator) {
  mg_connection conn;
  conn.Token("ab");
  char room[8] = "xxxxxxx";
  GetHttpToken(&conn, room);
  EXPECT_STREQ(room, "abxxxxx");
}

// The room that callers give ends there; what stands behind it is not theirs to log.
TEST_F(AccessorsTest, TheLineOfTheLongestTokenEndsWithIt) {
  mg_connection conn;
  conn.Token(std::string(1024, 't'));
  std::string room(1040, 'x');
  GetHttpToken(&conn, room.data());
  EXPECT_EQ(room, std::string(1024, 't') + std::string(16, 'x'));
  EXPECT_EQ(Log(), Strings{"1 sdkapi req http token " + std::string(1024, 't')});
}

TEST_F(AccessorsTest, TheBoundedFormStopsAtTheArraysLastByte) {
  mg_connection conn;
  conn.Token(std::string(300, 't'));
  char room[256] = {};
  sdkapi::ReadToken(&conn, room);
  EXPECT_EQ(std::string(room), std::string(255, 't'));
  EXPECT_EQ(Log(), Strings{"1 sdkapi req http token " + std::string(255, 't')});
}

TEST_F(AccessorsTest, TheBodyIsReadInPieces) {
  mg_connection conn("POST", "/");
  conn.Body("hello");
  char room[4] = {};
  EXPECT_EQ(GetHttpBody(&conn, room, 3), 3);
  EXPECT_EQ(std::string(room, 3), "hel");
  EXPECT_EQ(GetHttpBody(&conn, room, 3), 2);
  EXPECT_EQ(std::string(room, 2), "lo");
  EXPECT_EQ(GetHttpBody(&conn, room, 3), 0);
}

TEST_F(AccessorsTest, TheBodyIsNotReadWithoutConnectionOrBuffer) {
  mg_connection conn("POST", "/");
  conn.Body("hello");
  char room[8] = {};
  EXPECT_EQ(GetHttpBody(&conn, nullptr, 5), -1);
  EXPECT_EQ(GetHttpBody(nullptr, room, 5), -1);
  EXPECT_EQ(conn.readCalls, 0);
}

TEST_F(AccessorsTest, ANegativeLengthReadsNothing) {
  mg_connection conn("POST", "/");
  conn.Body("hello");
  char room[8] = {};
  EXPECT_EQ(GetHttpBody(&conn, room, -1), 0);
  EXPECT_EQ(conn.bodyRead, 0U);
}

TEST_F(AccessorsTest, AFailedReadIsReported) {
  mg_connection conn("POST", "/");
  conn.Body("hello");
  conn.failReadFrom = 1;
  char room[8] = {};
  EXPECT_EQ(GetHttpBody(&conn, room, 5), -1);
}

TEST_F(AccessorsTest, LengthMethodAndUrlAreTheRequests) {
  mg_connection conn("PATCH", "/some/where");
  EXPECT_EQ(GetHttpLen(&conn), -1);
  conn.contentLength = 5000000000LL;
  EXPECT_EQ(GetHttpLen(&conn), 5000000000LL);
  EXPECT_STREQ(GetHttpRepMethod(&conn), "PATCH");
  EXPECT_STREQ(GetHttpUrl(&conn), "/some/where");
  conn.uri.reset();
  EXPECT_EQ(GetHttpUrl(&conn), nullptr);
}

using UrlParamFunction = int (*)(const mg_connection*, const char*, char*, size_t);
class UrlParamTest : public testing::TestWithParam<UrlParamFunction> {};

TEST_P(UrlParamTest, DecodesTheValue) {
  mg_connection conn("GET", "/");
  conn.Query("a=1&file=a%20b%2Fc+d&empty=");
  char room[32] = {};
  EXPECT_EQ(GetParam()(&conn, "file", room, sizeof room), 7);
  EXPECT_STREQ(room, "a b/c d");
  EXPECT_EQ(GetParam()(&conn, "a", room, sizeof room), 1);
  EXPECT_STREQ(room, "1");
  EXPECT_EQ(GetParam()(&conn, "empty", room, sizeof room), 0);
  EXPECT_STREQ(room, "");
}

TEST_P(UrlParamTest, ReportsAnAbsentParameter) {
  mg_connection conn("GET", "/");
  char room[8] = {};
  EXPECT_EQ(GetParam()(&conn, "file", room, sizeof room), -1) << "no query at all";
  conn.Query("a=1");
  EXPECT_EQ(GetParam()(&conn, "file", room, sizeof room), -1);
  conn.Query("");
  EXPECT_EQ(GetParam()(&conn, "file", room, sizeof room), -1);
}

TEST_P(UrlParamTest, ReportsABufferThatIsTooSmall) {
  mg_connection conn("GET", "/");
  conn.Query("file=12345678");
  char room[8] = {};
  EXPECT_EQ(GetParam()(&conn, "file", room, sizeof room), -2);
  EXPECT_STREQ(room, "1234567");
}

INSTANTIATE_TEST_SUITE_P(BothNames, UrlParamTest, testing::Values(GetHttpUrlParam, SdkAPISer_Get_Url_Param));

struct JsonBodyCase {
  const char* name;
  std::string body;
  bool parses;
};
class JsonBodyTest : public AccessorsTest, public testing::WithParamInterface<JsonBodyCase> {};

// {"a":"<filler>"}: 8 characters and the filler
std::string JsonOfLength(std::size_t length) { return R"({"a":")" + std::string(length - 8, 'x') + "\"}"; }

TEST_P(JsonBodyTest, IsReadUpTo511Bytes) {
  mg_connection announced("POST", "/");
  announced.Body(GetParam().body);
  EXPECT_EQ(sdkapi::ReadJsonBody(&announced) != nullptr, GetParam().parses);
  EXPECT_LE(announced.bodyRead, 511U);

  mg_connection chunked("POST", "/");
  chunked.ChunkedBody(GetParam().body);
  EXPECT_EQ(sdkapi::ReadJsonBody(&chunked) != nullptr, GetParam().parses);
  EXPECT_LE(chunked.bodyRead, 511U);
}

INSTANTIATE_TEST_SUITE_P(Bodies, JsonBodyTest,
                         testing::Values(JsonBodyCase{"Empty", "", false}, JsonBodyCase{"Small", "{}", true},
                                         JsonBodyCase{"NotJson", "hello", false},
                                         JsonBodyCase{"Broken", R"({"a":)", false},
                                         JsonBodyCase{"Exactly511", JsonOfLength(511), true},
                                         JsonBodyCase{"Exactly512", JsonOfLength(512), false},
                                         JsonBodyCase{"Far", JsonOfLength(100000), false}),
                         sdktest::ByName{});

TEST_F(AccessorsTest, UrlParametersAreCutToTheArray) {
  mg_connection conn("GET", "/");
  conn.Query("file=1234567%38");
  char small[8] = "before";
  sdkapi::ReadUrlParam(&conn, "file", small);
  EXPECT_STREQ(small, "1234567");
  char enough[9] = {};
  sdkapi::ReadUrlParam(&conn, "file", enough);
  EXPECT_STREQ(enough, "12345678");
}

TEST_F(AccessorsTest, AnAbsentUrlParameterLeavesNothingOfTheArraysContent) {
  mg_connection conn("GET", "/");
  char room[8] = "before";
  sdkapi::ReadUrlParam(&conn, "file", room);
  EXPECT_EQ(std::string(room, sizeof room), std::string(8, '\0'));
}

}  // namespace
