// The reason text of every status code.
#include <gtest/gtest.h>

#include "sdkapi/http.h"

namespace {

struct Row {
  int code;
  const char* text;
};
class StatusTextTest : public testing::TestWithParam<Row> {};

TEST_P(StatusTextTest, IsTheStandardText) {
  EXPECT_STREQ(CT_status_code_to_str(GetParam().code), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Codes, StatusTextTest,
    testing::Values(
        Row{100, "Continue"}, Row{101, "Switching Protocols"}, Row{102, "Processing"}, Row{200, "OK"},
        Row{201, "Created"}, Row{202, "Accepted"}, Row{203, "Non-Authoritative Information"},
        Row{204, "No Content"}, Row{205, "Reset Content"}, Row{206, "Partial Content"},
        Row{207, "Multi-Status"}, Row{208, "Already Reported"}, Row{226, "IM Used"},
        Row{300, "Multiple Choices"}, Row{301, "Moved Permanently"}, Row{302, "Found"}, Row{303, "See Other"},
        Row{304, "Not Modified"}, Row{305, "Use Proxy"}, Row{306, "Switch Proxy"},
        Row{307, "Temporary Redirect"}, Row{308, "Permanent Redirect"}, Row{400, "Bad Request"},
        Row{401, "Unauthorized"}, Row{402, "Payment Required"}, Row{403, "Forbidden"}, Row{404, "Not Found"},
        Row{405, "Method Not Allowed"}, Row{406, "Not Acceptable"}, Row{407, "Proxy Authentication Required"},
        Row{408, "Request Timeout"}, Row{409, "Conflict"}, Row{410, "Gone"}, Row{411, "Length Required"},
        Row{412, "Precondition Failed"}, Row{413, "Payload Too Large"}, Row{414, "URI Too Long"},
        Row{415, "Unsupported Media Type"}, Row{416, "Requested Range Not Satisfiable"},
        Row{417, "Expectation Failed"}, Row{418, "I'm a teapot"}, Row{422, "Unprocessable Entity"},
        Row{423, "Locked"}, Row{424, "Failed Dependency"}, Row{426, "Upgrade Required"},
        Row{428, "Precondition Required"}, Row{429, "Too Many Requests"},
        Row{431, "Request Header Fields Too Large"}, Row{451, "Unavailable For Legal Reasons"},
        Row{500, "Internal Server Error"}, Row{501, "Not Implemented"}, Row{502, "Bad Gateway"},
        Row{503, "Service Unavailable"}, Row{504, "Gateway Timeout"}, Row{505, "HTTP Version Not Supported"},
        Row{506, "Variant Also Negotiates"}, Row{507, "Insufficient Storage"}, Row{508, "Loop Detected"},
        Row{510, "Not Extended"}, Row{511, "Network Authentication Required"}));

TEST(StatusText, OtherCodesAreServerErrors) {
  for (const int code :
       {-1, 0, 1, 99, 103, 199, 209, 227, 299, 309, 419, 420, 425, 427, 430, 450, 509, 512, 999}) {
    EXPECT_STREQ(CT_status_code_to_str(code), "Server Error") << code;
  }
}

}  // namespace
