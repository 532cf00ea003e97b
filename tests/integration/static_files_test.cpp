// Files and folders that the web server serves by itself: redirects and conditional requests.
#include "server_test_base.h"

namespace integration {
namespace {

class StaticFilesTest : public ModeTest {
 protected:
  void SetUp() override {
    ModeTest::SetUp();
    Workspace::Get().WriteFile("www/folder/page.html", "a page");
  }

  Response Ask(const std::string& target, const std::string& headers = "") {
    return Exchange(mode(),
                    "GET " + target + " HTTP/1.1\r\nHost: a\r\nConnection: close\r\n" + headers + "\r\n");
  }

  std::string Origin() const {
    return (mode().https ? "https://127.0.0.1:" : "http://127.0.0.1:") +
           std::to_string(Server::Get().port(mode().https));
  }
};
INSTANTIATE_TEST_SUITE_P(Schemes, StaticFilesTest, BothSchemes(), ModeName);

TEST_P(StaticFilesTest, AFolderIsRedirectedToWhateverTheLengthOfItsPath) {
  for (const std::size_t slashes : {1U, 100U, 4095U, 8100U, 8192U, 10000U}) {
    for (const std::size_t query : {0U, 1U, 5000U}) {
      SCOPED_TRACE(std::to_string(slashes) + " " + std::to_string(query));
      const std::string path = std::string(slashes, '/') + "folder";
      const std::string text = query == 0 ? "" : "?" + std::string(query, 'q');
      const Response response = Ask(path + text);
      EXPECT_EQ(response.status(), 301);
      EXPECT_TRUE(response.Header("Location") == Origin() + path + "/" + text);
    }
  }
}

TEST_P(StaticFilesTest, EveryByteOfALongPathMayBeEscaped) {
  std::string path;
  std::string escaped;
  for (int i = 0; i < 1200; ++i) {
    path += "/%ff%fe/..";
    escaped += "/%ff%fe/..";
  }
  const Response response = Ask(path + "/folder?q");
  EXPECT_EQ(response.status(), 301);
  EXPECT_TRUE(response.Header("Location") == Origin() + escaped + "/folder/?q");
}

TEST_P(StaticFilesTest, LineEndsOfAPathReachNoHeader) {
  const Response response = Ask("/x%0d%0aSet-Cookie:%20a=b%0d%0a/../folder?q");
  EXPECT_EQ(response.status(), 301);
  EXPECT_EQ(response.Header("Location"), Origin() + "/x%0d%0aSet-Cookie%3a%20a%3db%0d%0a/../folder/?q");
  EXPECT_EQ(response.Header("Set-Cookie"), "");
}

TEST_P(StaticFilesTest, IfNoneMatchDecidesBeforeIfModifiedSince) {
  const Response first = Ask("/folder/page.html");
  ASSERT_EQ(first.status(), 200);
  const std::string etag = first.Header("Etag");
  const std::string modified = first.Header("Last-Modified");
  ASSERT_FALSE(etag.empty());
  ASSERT_FALSE(modified.empty());
  struct Row {
    std::string headers;
    int status;
  };
  const std::string since = "If-Modified-Since: ";
  const std::string match = "If-None-Match: ";
  const Row rows[] = {
      {match + etag + "\r\n", 304},
      {match + "\"other\"\r\n", 200},
      {since + modified + "\r\n", 304},
      {since + "Thu, 01 Jan 1970 00:00:01 GMT\r\n", 200},
      {match + "\"other\"\r\n" + since + modified + "\r\n", 200},
      {since + modified + "\r\n" + match + "\"other\"\r\n", 200},
      {match + etag + "\r\n" + since + "Thu, 01 Jan 1970 00:00:01 GMT\r\n", 304},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.headers);
    const Response response = Ask("/folder/page.html", row.headers);
    EXPECT_EQ(response.status(), row.status);
    EXPECT_EQ(response.body, row.status == 200 ? "a page" : "");
  }
}

}  // namespace
}  // namespace integration
