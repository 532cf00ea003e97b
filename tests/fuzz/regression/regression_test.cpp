// Inputs that once broke something: each is sent to the running server as it stands, and has an answer.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "server_test_base.h"

namespace integration {
namespace {

constexpr char kInvalidFile[] = R"({"result":"Invalid File"})";

struct Bug {
  const char* input;         // file in inputs/: the bytes of one connection
  const char* broke;         // what happened
  int status;                // of the reply; 0: the connection ends without one
  const char* body = "";     // of a JSON reply
  bool byWebServer = false;  // the reply is the web server's own
};

constexpr Bug kBugs[] = {
    {.input = "urlencoded_lone_percent", .broke = "the form's parser never came to an end", .status = 200},
    {.input = "urlencoded_nul", .broke = "the form's parser never came to an end", .status = 200},
    {.input = "urlencoded_escape_at_the_buffers_end",
     .broke = "the form's parser never came to an end",
     .status = 200},
    {.input = "urlencoded_cut_short", .broke = "a form that was cut short was taken", .status = 500},
    {.input = "part_without_a_body", .broke = "a piece had 2^64-2 bytes", .status = 500},
    {.input = "firmware_part_without_a_body",
     .broke = "a piece had 2^64-2 bytes",
     .status = 406,
     .body = kInvalidFile},
    {.input = "boundary_of_one_character", .broke = "the form was refused", .status = 200},
    {.input = "redirect_of_a_long_path",
     .broke = "the redirect was written over the heap",
     .status = 301,
     .byWebServer = true},
    {.input = "two_body_lengths",
     .broke = "a second request was smuggled in the body",
     .status = 400,
     .byWebServer = true},
    {.input = "version_without_a_number",
     .broke = "the reply began with the request's version",
     .status = 505,
     .byWebServer = true},
    {.input = "version_of_another_server",
     .broke = "the reply began with the request's version",
     .status = 505,
     .byWebServer = true},
    {.input = "upgrade_to_nowhere",
     .broke = "the reply had no status line",
     .status = 404,
     .byWebServer = true},
    {.input = "upgrade_to_another_version",
     .broke = "the reply had no status line",
     .status = 426,
     .byWebServer = true},
    {.input = "upgrade_with_a_long_key",
     .broke = "a connection that was gone stayed in the list",
     .status = 0},
    {.input = "role_that_is_no_number",
     .broke = "true made an administrator",
     .status = 200,
     .body = R"({"code":0})"},
};

std::filesystem::path Inputs() { return SDKAPI_REGRESSION_INPUTS; }

std::string Read(const char* input) {
  std::ifstream file(Inputs() / input, std::ios::binary);
  EXPECT_TRUE(file.is_open()) << input;
  return {std::istreambuf_iterator<char>(file), {}};
}

void PrintTo(const Bug& bug, std::ostream* out) { *out << bug.broke; }

class RegressionTest : public ServerTest, public ::testing::WithParamInterface<Bug> {
 protected:
  void SetUp() override {
    Prepare({false, false});
    Workspace::Get().WriteFile("www/folder/index.html", "in a folder");
    host().manageUser = [](ManageUserRequest& request) { return request.role; };
  }

  static std::string Answer(const std::string& bytes, bool https) {
    Connection client(Server::Get().port(https), https);
    EXPECT_TRUE(client.Send(bytes));
    client.FinishSending();
    return client.ReadToEnd();
  }
};

TEST_P(RegressionTest, HasAnAnswerAndHarmsNobody) {
  const Bug& bug = GetParam();
  const std::string bytes = Read(bug.input);
  for (const bool https : {false, true}) {
    SCOPED_TRACE(https);
    const std::string answer = Answer(bytes, https);
    if (bug.status == 0) {
      EXPECT_EQ(answer, "");
    } else if (bug.byWebServer) {
      EXPECT_TRUE(answer.starts_with("HTTP/1.1 " + std::to_string(bug.status) + " ")) << answer.substr(0, 60);
      EXPECT_EQ(answer.find("HTTP/", 1), std::string::npos) << "one reply";
    } else {
      EXPECT_EQ(WithoutDate(answer), JsonReply(bug.status, bug.body));
    }
    EXPECT_EQ(WebSocketSendDataALL("to nobody", 9), 0);
    EXPECT_EQ(WithoutDate(Answer("GET /dev_info HTTP/1.1\r\nHost: device\r\n\r\n", https)),
              JsonReply(200, "{}"));
  }
}

INSTANTIATE_TEST_SUITE_P(Bugs, RegressionTest, ::testing::ValuesIn(kBugs),
                         [](const auto& row) { return std::string(row.param.input); });

TEST(RegressionInputs, EachHasItsTest) {
  for (const auto& file : std::filesystem::directory_iterator(Inputs())) {
    EXPECT_TRUE(std::any_of(std::begin(kBugs), std::end(kBugs), [&](const Bug& bug) {
      return file.path().filename() == bug.input;
    })) << file.path();
  }
}

}  // namespace
}  // namespace integration
