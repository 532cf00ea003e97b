// The composed replies, byte for byte, and how they are sent.
#include "http/response.h"

#include <array>

#include "library_fixture.h"

namespace {

using sdktest::Strings;

class ResponseTest : public sdktest::LibraryTest {
 protected:
  std::array<char, 1024> out_{};
};

constexpr const char* kUnauthorized =
    "HTTP/1.1 401 Unauthorized\r\n"
    "Date: Sun, 06 Nov 1994 08:49:37 GMT\r\n"
    "Cache-Control: no-cache,no-store,must-revalidate,max-age=0\r\n"
    "Content-Security-Policy: frame-ancestors *;\r\n"
    "X-Content-Type-Options:nosniff\r\n"
    "Strict-Transport-Security: max-age=63072000; includeSubdomains; preload\r\n"
    "Content-Type: application/json; charset=utf-8;\r\n"
    "Content-Length: 0\r\n"
    "Connection: close\r\n"
    "\r\n";

TEST_F(ResponseTest, AnEmptyBodyEndsWithTheBlankLine) {
  EXPECT_EQ(GroupRespHttpMsg(401, "", 0, out_.data(), 1), 0);
  EXPECT_STREQ(out_.data(), kUnauthorized);
}

struct TypeCase {
  int type;
  const char* header;
};
class TypeTest : public ResponseTest, public testing::WithParamInterface<TypeCase> {};

TEST_P(TypeTest, SelectsTheContentType) {
  EXPECT_EQ(GroupRespHttpMsg(200, "{}", 2, out_.data(), GetParam().type), 0);
  const std::string expected =
      std::string(
          "HTTP/1.1 200 OK\r\n"
          "Date: Sun, 06 Nov 1994 08:49:37 GMT\r\n"
          "Cache-Control: no-cache,no-store,must-revalidate,max-age=0\r\n"
          "Content-Security-Policy: frame-ancestors *;\r\n"
          "X-Content-Type-Options:nosniff\r\n"
          "Strict-Transport-Security: max-age=63072000; includeSubdomains; preload\r\n") +
      GetParam().header + "\r\nContent-Length: 2\r\nConnection: close\r\n\r\n{}";
  EXPECT_EQ(std::string(out_.data()), expected);
}

INSTANTIATE_TEST_SUITE_P(Types, TypeTest,
                         testing::Values(TypeCase{1, "Content-Type: application/json; charset=utf-8;"},
                                         TypeCase{2, "Content-Type: application/xml; charset=utf-8;"},
                                         TypeCase{0, "Content-Type: text/html; charset=utf-8;"},
                                         TypeCase{7, "Content-Type: text/html; charset=utf-8;"},
                                         TypeCase{-1, "Content-Type: text/html; charset=utf-8;"}));

struct ReasonCase {
  int code;
  const char* statusLine;
};
class ReasonTest : public ResponseTest, public testing::WithParamInterface<ReasonCase> {};

TEST_P(ReasonTest, NamesTheStatus) {
  EXPECT_EQ(GroupRespHttpMsg(GetParam().code, "", 0, out_.data(), 1), 0);
  const std::string text = out_.data();
  EXPECT_EQ(text.substr(0, text.find("\r\n")), GetParam().statusLine);
}

INSTANTIATE_TEST_SUITE_P(Codes, ReasonTest,
                         testing::Values(ReasonCase{200, "HTTP/1.1 200 OK"},
                                         ReasonCase{400, "HTTP/1.1 400 Bad Request"},
                                         ReasonCase{401, "HTTP/1.1 401 Unauthorized"},
                                         ReasonCase{403, "HTTP/1.1 403 Forbidden"},
                                         ReasonCase{404, "HTTP/1.1 404 Not Found"},
                                         ReasonCase{405, "HTTP/1.1 405 Method Not Allowed"},
                                         ReasonCase{406, "HTTP/1.1 406 Not Acceptable"},
                                         ReasonCase{500, "HTTP/1.1 500 Internal Server Error"},
                                         ReasonCase{503, "HTTP/1.1 503 Service Unavailable"}));

class UnknownCodeTest : public ResponseTest, public testing::WithParamInterface<int> {};

TEST_P(UnknownCodeTest, IsRefusedAndOutIsUntouched) {
  out_.fill('x');
  EXPECT_EQ(GroupRespHttpMsg(GetParam(), "", 0, out_.data(), 1), -1);
  EXPECT_EQ(std::string(out_.data(), out_.size()), std::string(out_.size(), 'x'));
}

INSTANTIATE_TEST_SUITE_P(Codes, UnknownCodeTest,
                         testing::Values(-1, 0, 100, 199, 201, 204, 299, 402, 407, 409, 501, 504));

TEST_F(ResponseTest, BadArgumentsAreRefused) {
  out_.fill('x');
  EXPECT_EQ(GroupRespHttpMsg(200, nullptr, 0, out_.data(), 1), -1);
  EXPECT_EQ(GroupRespHttpMsg(200, "", -1, out_.data(), 1), -1);
  EXPECT_EQ(GroupRespHttpMsg(200, "", 0, nullptr, 1), -1);
  EXPECT_EQ(std::string(out_.data(), out_.size()), std::string(out_.size(), 'x'));
}

TEST_F(ResponseTest, TheLengthIsTheCallersTheBodyEndsAtItsNul) {
  EXPECT_EQ(GroupRespHttpMsg(200, "abc", 7, out_.data(), 1), 0);
  const std::string text = out_.data();
  EXPECT_NE(text.find("Content-Length: 7\r\n"), std::string::npos);
  EXPECT_EQ(text.substr(text.find("\r\n\r\n")), "\r\n\r\nabc");
}

struct DateCase {
  int64_t time;
  const char* date;
};
class DateTest : public ResponseTest, public testing::WithParamInterface<DateCase> {};

TEST_P(DateTest, IsInUtcWithEnglishNames) {
  sdktest::System().time = GetParam().time;
  GroupRespHttpMsg(200, "", 0, out_.data(), 1);
  EXPECT_NE(std::string(out_.data()).find(std::string("\r\nDate: ") + GetParam().date + "\r\n"),
            std::string::npos)
      << out_.data();
}

INSTANTIATE_TEST_SUITE_P(Dates, DateTest,
                         testing::Values(DateCase{784111777, "Sun, 06 Nov 1994 08:49:37 GMT"},
                                         DateCase{0, "Thu, 01 Jan 1970 00:00:00 GMT"},
                                         DateCase{951782400, "Tue, 29 Feb 2000 00:00:00 GMT"},
                                         DateCase{1078099199, "Sun, 29 Feb 2004 23:59:59 GMT"},
                                         DateCase{1111276800, "Sun, 20 Mar 2005 00:00:00 GMT"},
                                         DateCase{1145577600, "Fri, 21 Apr 2006 00:00:00 GMT"},
                                         DateCase{1211155200, "Mon, 19 May 2008 00:00:00 GMT"},
                                         DateCase{1276041600, "Wed, 09 Jun 2010 00:00:00 GMT"},
                                         DateCase{1342828800, "Sat, 21 Jul 2012 00:00:00 GMT"},
                                         DateCase{1408838400, "Sun, 24 Aug 2014 00:00:00 GMT"},
                                         DateCase{1473984000, "Fri, 16 Sep 2016 00:00:00 GMT"},
                                         DateCase{1539216000, "Thu, 11 Oct 2018 00:00:00 GMT"},
                                         DateCase{1609459199, "Thu, 31 Dec 2020 23:59:59 GMT"}));

TEST_F(ResponseTest, SendHttpBuffLogsAndSendsTheWholeText) {
  mg_connection conn;
  EXPECT_EQ(SendHttpBuff(&conn, "HTTP/1.1 200 OK\r\n\r\n100%s", 3), 0);
  EXPECT_EQ(conn.output, "HTTP/1.1 200 OK\r\n\r\n100%s");
  EXPECT_EQ(conn.writes.size(), 1U);
  EXPECT_EQ(Log(), Strings{"1 sdkapi send =>HTTP/1.1 200 OK\r\n\r\n100%s"});
  EXPECT_FALSE(conn.keepAlive);
}

TEST_F(ResponseTest, SendHttpBuffRefusesNull) {
  mg_connection conn;
  EXPECT_EQ(SendHttpBuff(nullptr, "text", 4), -1);
  EXPECT_EQ(SendHttpBuff(&conn, nullptr, 4), -1);
  EXPECT_EQ(conn.output, "");
  EXPECT_EQ(Log(), Strings{});
}

TEST_F(ResponseTest, SendHttpBuffSendsTextsThatAreTooLongForTheLog) {
  mg_connection conn;
  const std::string text(20000, 't');
  EXPECT_EQ(SendHttpBuff(&conn, text.c_str(), 0), 0);
  EXPECT_EQ(conn.output, text);
  EXPECT_EQ(Log(), Strings{});
}

TEST_F(ResponseTest, AReplyIsOneWriteAndEndsTheConnection) {
  mg_connection conn("POST", "/");
  conn.Body(std::string(10000, 'b'));
  EXPECT_EQ(sdkapi::Reply(&conn, 200, R"({"a":1})"), 1);
  EXPECT_EQ(conn.writes, Strings{sdktest::JsonReply(200, R"({"a":1})")});
  EXPECT_EQ(Log(), Strings{"1 sdkapi send =>" + sdktest::JsonReply(200, R"({"a":1})")});
  EXPECT_EQ(conn.bodyRead, 10000U) << "the unread body is drained";
  EXPECT_FALSE(conn.keepAlive);
}

TEST_F(ResponseTest, ALongReplyArrivesWhole) {
  mg_connection conn;
  const std::string body(100000, 'b');
  EXPECT_EQ(sdkapi::Reply(&conn, 200, body.c_str()), 1);
  EXPECT_EQ(conn.output, sdktest::JsonReply(200, body));
}

TEST_F(ResponseTest, AReplyWithoutMemoryForItsBodyIsAServerError) {
  mg_connection conn;
  EXPECT_EQ(sdkapi::ReplyJson(&conn, 200, nullptr), 1);
  EXPECT_EQ(conn.output, sdktest::JsonReply(500));
}

TEST_F(ResponseTest, TheDrainStopsAtAFailedRead) {
  mg_connection conn("POST", "/");
  conn.Body(std::string(100000, 'b'));
  conn.failReadFrom = 3;
  sdkapi::EndConnection(&conn);
  EXPECT_EQ(conn.readCalls, 3);
  EXPECT_FALSE(conn.keepAlive);
}

TEST_F(ResponseTest, TheDrainStopsAt64MiB) {
  constexpr std::size_t kMiB = 1024 * 1024;
  mg_connection conn("POST", "/");
  conn.Body(std::string(65 * kMiB, 'b'));
  sdkapi::EndConnection(&conn);
  EXPECT_EQ(conn.readCalls, 64 * kMiB / 8192);
  EXPECT_FALSE(conn.keepAlive);
}

TEST_F(ResponseTest, TheDrainStopsTenSecondsAfterItsFirstBytes) {
  sdktest::System().monotonicStep = 4;
  mg_connection conn("POST", "/");
  conn.Body(std::string(1000000, 'b'));
  sdkapi::EndConnection(&conn);
  EXPECT_EQ(conn.readCalls, 4) << "after 0, 4, 8 and 12 seconds";
}

TEST_F(ResponseTest, TheDrainStopsWithTheTenthSecond) {
  sdktest::System().monotonicStep = 5;
  mg_connection conn("POST", "/");
  conn.Body(std::string(1000000, 'b'));
  sdkapi::EndConnection(&conn);
  EXPECT_EQ(conn.readCalls, 3) << "after 0, 5 and 10 seconds";
}

}  // namespace
