// The host's composer, byte for byte.
#include "library_fixture.h"

namespace {

class SendResponseInfoTest : public sdktest::LibraryTest {};

constexpr const char* kSecurity =
    "Cache-Control: no-cache,no-store,must-revalidate,max-age=0\r\n"
    "Content-Security-Policy: frame-ancestors *;\r\n"
    "X-Content-Type-Options:nosniff\r\n"
    "Strict-Transport-Security: max-age=63072000; includeSubdomains; preload\r\n";
constexpr const char* kDate = "Date: Sun, 06 Nov 1994 08:49:37 GMT\r\n";

struct InfoCase {
  const char* name;
  int status;
  int type;
  const char* body;
  int bodyLen;
  std::string expected;
};
class ReplyTest : public SendResponseInfoTest, public testing::WithParamInterface<InfoCase> {};

TEST_P(ReplyTest, IsWrittenToTheConnection) {
  mg_connection conn;
  EXPECT_EQ(SendReponseInfo(&conn, GetParam().status, GetParam().type, GetParam().body, GetParam().bodyLen),
            0);
  EXPECT_EQ(conn.output, GetParam().expected);
  EXPECT_FALSE(conn.keepAlive);
}

std::string Typed(const char* statusLine, const char* type, const char* tail) {
  return std::string(statusLine) + kDate + "Content-Type: " + type + "; charset=utf-8;\r\n" + kSecurity +
         tail;
}

INSTANTIATE_TEST_SUITE_P(
    Replies, ReplyTest,
    testing::Values(InfoCase{"Html", 200, 0, "<p>", 3,
                             Typed("HTTP/1.1 200 OK\r\n", "text/html",
                                   "Content-Length: 3\r\nConnection: close\r\n\r\n<p>")},
                    InfoCase{"Json", 201, 1, "{}", 2,
                             Typed("HTTP/1.1 201 Created\r\n", "application/json",
                                   "Content-Length: 2\r\nConnection: close\r\n\r\n{}")},
                    InfoCase{"Xml", 404, 2, "<a/>", 4,
                             Typed("HTTP/1.1 404 Not Found\r\n", "application/xml",
                                   "Content-Length: 4\r\nConnection: close\r\n\r\n<a/>")},
                    InfoCase{"NoType", 200, 7, "abc", 3,
                             std::string("HTTP/1.1 200 OK\r\n") + kDate +
                                 "Content-Length: 3\r\nConnection: close\r\n\r\nabc"},
                    InfoCase{"NegativeType", 200, -1, "abc", 3,
                             std::string("HTTP/1.1 200 OK\r\n") + kDate +
                                 "Content-Length: 3\r\nConnection: close\r\n\r\nabc"},
                    InfoCase{"LengthZeroSendsNoBody", 200, 1, "abc", 0,
                             Typed("HTTP/1.1 200 OK\r\n", "application/json",
                                   "Content-Length: 0\r\nConnection: close\r\n\r\n")},
                    InfoCase{"NullBody", 204, 1, nullptr, 0,
                             std::string("HTTP/1.1 204 No Content\r\n") + kDate +
                                 "Content-Length: 0\r\nConnection: close\r\n\r\n"},
                    InfoCase{"NullBodyWithALength", 500, 1, nullptr, 12,
                             std::string("HTTP/1.1 500 Internal Server Error\r\n") + kDate +
                                 "Content-Length: 0\r\nConnection: close\r\n\r\n"},
                    InfoCase{"UnknownStatus", 299, 7, "", 0,
                             std::string("HTTP/1.1 299 Server Error\r\n") + kDate +
                                 "Content-Length: 0\r\nConnection: close\r\n\r\n"}),
    sdktest::ByName{});

TEST_F(SendResponseInfoTest, ANegativeLengthIsRefused) {
  mg_connection conn;
  EXPECT_EQ(SendReponseInfo(&conn, 200, 1, "abc", -1), -1);
  EXPECT_EQ(conn.output, "");
}

TEST_F(SendResponseInfoTest, ALongBodyArrivesWhole) {
  mg_connection conn;
  const std::string body(50000, 'b');
  EXPECT_EQ(SendReponseInfo(&conn, 200, 1, body.c_str(), 50000), 0);
  EXPECT_EQ(conn.output, Typed("HTTP/1.1 200 OK\r\n", "application/json",
                               "Content-Length: 50000\r\nConnection: close\r\n\r\n") +
                             body);
}

TEST_F(SendResponseInfoTest, NothingIsLogged) {
  mg_connection conn;
  SendReponseInfo(&conn, 200, 1, "abc", 3);
  EXPECT_EQ(Log(), sdktest::Strings{});
}

}  // namespace
