// Which of many patterns takes a URI: all built-in rows, and every sign of the pattern language.
#include <civetweb.h>

#include <cctype>
#include <cstring>
#include <string>
#include <vector>

#include "client.h"
#include "connection.h"
#include "server.h"
#include "server_test_base.h"
#include "workspace.h"

namespace integration {
namespace {

// Answers with the pattern that it was registered for.
int AnswerPattern(mg_connection* conn, void* cbdata) {
  const char* const pattern = static_cast<const char*>(cbdata);
  mg_printf(conn, "HTTP/1.1 200 OK\r\nContent-Length: %zu\r\nConnection: close\r\n\r\n%s",
            std::strlen(pattern), pattern);
  mg_disable_connection_keep_alive(conn);
  return 1;
}

// A server with these patterns alone.
class PatternServer {
 public:
  explicit PatternServer(const std::vector<const char*>& patterns) : port_(FreePort()) {
    const std::string port = "127.0.0.1:" + std::to_string(port_);
    const std::string root = Workspace::Get().Path("");
    const char* options[] = {"listening_ports",
                             port.c_str(),
                             "num_threads",
                             "2",
                             "document_root",
                             root.c_str(),
                             "error_log_file",
                             "",
                             "enable_directory_listing",
                             "no",
                             nullptr};
    const mg_callbacks callbacks{};
    context_ = mg_start(&callbacks, nullptr, options);
    EXPECT_NE(context_, nullptr);
    for (const char* const pattern : patterns) {
      mg_set_request_handler(context_, pattern, AnswerPattern, const_cast<char*>(pattern));
    }
  }
  ~PatternServer() { mg_stop(context_); }
  PatternServer(const PatternServer&) = delete;
  PatternServer& operator=(const PatternServer&) = delete;

  // The pattern that took the URI; empty when none did.
  std::string Taker(const std::string& uri) const {
    Connection client(port_, false);
    EXPECT_TRUE(client.Send("GET " + uri + " HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n"));
    const Response response = ParseResponse(client.ReadToEnd());
    return response.status() == 200 ? response.body : "";
  }

  void Remove(const char* pattern) { mg_set_request_handler(context_, pattern, nullptr, nullptr); }

 private:
  int port_;
  mg_context* context_;
};

const std::vector<const char*> kRows = {"/iplogin$",
                                        "/logout$",
                                        "/change/password$",
                                        "/change/usrorpasswd$",
                                        "/createuser$",
                                        "/deleteuser$",
                                        "/upload/sub/upgrade",
                                        "/upload/sub/bg",
                                        "/upload/sub/logo",
                                        "/upload/sub/png",
                                        "/upload/sub/setbgimage",
                                        "/upload/sub/setbaseimage",
                                        "/upload/priv$",
                                        "/upload/scene",
                                        "/upload/security",
                                        "/upload/sub/security",
                                        "/upload/xyte$",
                                        "/log$",
                                        "/download/custom",
                                        "/download/scene",
                                        "/getdevicetime$",
                                        "/custom_restore",
                                        "/getTxRxList",
                                        "/getprivjson$",
                                        "/specifypriv$",
                                        "/delete_priv$",
                                        "/preview",
                                        "/upload/edid$",
                                        "/upload/setting$",
                                        "/download/edid$",
                                        "/download/setting$",
                                        "/download/logo$",
                                        "/api/v1/auth/login$",
                                        "/dev_info$",
                                        "/api/v1/fw_upload$",
                                        "/upload/bg$",
                                        "/upload/logo$",
                                        "/api/v1/security/https_setting$",
                                        "/api/v1/security/ieee802_1x_setting$",
                                        "/api/v1/settings/import$",
                                        "/api/v1/log$",
                                        "/api/v1/settings/export$",
                                        "/stream"};

std::string Upper(std::string text) {
  for (char& letter : text) letter = static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
  return text;
}

TEST(RoutesTest, EveryRowTakesItsOwnUrisAndNoOthers) {
  ASSERT_EQ(kRows.size(), 43U);
  const PatternServer server(kRows);
  for (const std::string pattern : kRows) {
    SCOPED_TRACE(pattern);
    const bool exact = pattern.ends_with('$');
    const std::string uri = exact ? pattern.substr(0, pattern.size() - 1) : pattern;
    EXPECT_EQ(server.Taker(uri), pattern);
    EXPECT_EQ(server.Taker(uri + "?a=1"), pattern);
    EXPECT_EQ(server.Taker(Upper(uri)), pattern);
    EXPECT_EQ(server.Taker(uri.substr(0, uri.size() - 1)), "");
    for (const char* const more : {"x", "/", "/x"})
      EXPECT_EQ(server.Taker(uri + more), exact ? "" : pattern) << more;
    EXPECT_EQ(server.Taker(uri + "%24"), pattern) << "the text of the pattern itself";
  }
}

TEST(RoutesTest, AllRowsAreTriedInTheirOrder) {
  const PatternServer server(kRows);
  EXPECT_EQ(server.Taker("/upload/sub/bgimage"), "/upload/sub/bg");
  EXPECT_EQ(server.Taker("/upload/SUB/bg"), "/upload/sub/bg");
  EXPECT_EQ(server.Taker("/streaming"), "/stream");
  EXPECT_EQ(server.Taker("/"), "");
}

struct Case {
  const char* name;
  std::vector<const char*> patterns;                        // in the order of their registration
  std::vector<std::pair<const char*, const char*>> takers;  // URI and pattern, empty for none
};

std::string CaseName(const testing::TestParamInfo<Case>& test) { return test.param.name; }

class PatternTest : public testing::TestWithParam<Case> {};

TEST_P(PatternTest, TakesTheseUris) {
  const PatternServer server(GetParam().patterns);
  for (const auto& [uri, taker] : GetParam().takers) EXPECT_EQ(server.Taker(uri), taker) << uri;
}

INSTANTIATE_TEST_SUITE_P(
    Patterns, PatternTest,
    testing::Values(
        Case{"QuestionMark",
             {"/a?c$", "/b?", "/c??$"},
             {{"/abc", "/a?c$"},
              {"/aBC", "/a?c$"},
              {"/a/c", ""},
              {"/ac", ""},
              {"/abbc", ""},
              {"/abcd", ""},
              {"/a%3Fc", "/a?c$"},
              {"/bx", "/b?"},
              {"/bxyz", "/b?"},
              {"/b", ""},
              {"/b/", ""},
              {"/cxy", "/c??$"},
              {"/cx", ""},
              {"/cxyz", ""}}},
        Case{"Star",
             {"/a*c$", "/d/*$", "/e*"},
             {{"/ac", "/a*c$"},
              {"/abbbc", "/a*c$"},
              {"/ab/c", ""},
              {"/acx", ""},
              {"/d/", "/d/*$"},
              {"/d/file", "/d/*$"},
              {"/d/file/x", ""},
              {"/e", "/e*"},
              {"/eee/f", "/e*"}}},
        Case{"TwoStars",
             {"/a**c$", "/d/**$"},
             {{"/ac", "/a**c$"}, {"/a/b/c", "/a**c$"}, {"/a/b/cd", ""}, {"/d/x/y/z", "/d/**$"}, {"/d", ""}}},
        Case{"Bar",
             {"/a$|/bb$|/ccc", "/d|e$"},
             {{"/a", "/a$|/bb$|/ccc"},
              {"/ax", ""},
              {"/bb", "/a$|/bb$|/ccc"},
              {"/bbb", ""},
              {"/cccc", "/a$|/bb$|/ccc"},
              {"/cc", ""},
              {"/dx", "/d|e$"},
              {"/e", ""}}},
        // Nothing behind the first "$" counts.
        Case{"DollarInside",
             {"/a$b$", "/c$*", "/e?$f", "/g$h"},
             {{"/a", "/a$b$"},
              {"/ab", ""},
              {"/a%24b", ""},
              {"/a$b$", "/a$b$"},
              {"/c", "/c$*"},
              {"/cx", ""},
              {"/ex", "/e?$f"},
              {"/exf", ""},
              {"/g", "/g$h"},
              {"/g$h", "/g$h"},
              {"/g$h/x", "/g$h"},
              {"/gh", ""}}},
        Case{"DollarAlone", {"$", "/$"}, {{"/", "/$"}, {"/x", ""}, {"/$", "/$"}}},
        Case{"TextBeforeFolderBeforePattern",
             {"/api*", "/api/v1/x$", "/api", "/api/v1", "/api/v1/x"},
             {{"/api/v1/x", "/api/v1/x"},
              {"/api/v1/y", "/api"},
              {"/api", "/api"},
              {"/apis", "/api*"},
              {"/API/v1", "/api*"}}},
        Case{"TheFirstOfEqualKind",
             {"/x*$", "/x1$", "/x?$", "/y/a", "/y", "/y/a/b"},
             {{"/x1", "/x*$"}, {"/y/a/b/c", "/y/a"}, {"/y/b", "/y"}, {"/y/a/b", "/y/a/b"}}},
        Case{"Letters", {"/caSe$"}, {{"/CASE", "/caSe$"}, {"/case", "/caSe$"}, {"/cas", ""}}}),
    CaseName);

TEST(RoutesTest, OneOfAThousandIsFound) {
  std::vector<std::string> texts;
  for (int i = 0; i < 1000; ++i) texts.push_back("/route/" + std::to_string(i) + "$");
  std::vector<const char*> patterns;
  for (const std::string& text : texts) patterns.push_back(text.c_str());
  PatternServer server(patterns);
  for (const int i : {0, 9, 10, 99, 100, 500, 999}) {
    EXPECT_EQ(server.Taker("/route/" + std::to_string(i)), texts[static_cast<std::size_t>(i)]);
  }
  EXPECT_EQ(server.Taker("/route/1000"), "");
  server.Remove("/route/500$");
  EXPECT_EQ(server.Taker("/route/500"), "");
  EXPECT_EQ(server.Taker("/route/501"), "/route/501$");
}

}  // namespace
}  // namespace integration
