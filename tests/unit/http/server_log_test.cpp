// What the web server writes to its error log, as the host gets it.
#include <string>
#include <vector>

#include "base/text.h"
#include "library_fixture.h"
#include "sdkapi/extension.h"
#include "server/lifecycle.h"

namespace {

struct Message {
  std::string text;
  std::string address;
  std::string method;
  std::string path;

  bool operator==(const Message&) const = default;
};

std::vector<Message> messages;

class ServerLogTest : public sdktest::LibraryTest {
 protected:
  ServerLogTest() {
    messages.clear();
    SdkAPIExt_ServerLog_Set([](const SdkAPIExtServerMessage* message) {
      EXPECT_EQ(message->size, sizeof *message);
      EXPECT_EQ(message->reserved, 0U);
      messages.push_back({message->text, message->address, message->method, message->path});
    });
  }
};

TEST_F(ServerLogTest, AMessageAboutNobodyHasItsTextAlone) {
  EXPECT_EQ(sdkapi::log_message(nullptr, "text"), 0);
  EXPECT_EQ(sdkapi::log_message(nullptr, nullptr), 0);
  EXPECT_EQ(messages, (std::vector<Message>{{"text", "", "", ""}}));
}

TEST_F(ServerLogTest, AMessageWithinARequestNamesIt) {
  mg_connection conn("PUT", "/path");
  sdkapi::CopyText(conn.info.remote_addr, "192.0.2.7");
  sdkapi::log_message(&conn, "before");
  sdkapi::BeginRequest(&conn);
  sdkapi::log_message(&conn, "within");
  sdkapi::EndRequest(&conn, 200);
  EXPECT_EQ(messages,
            (std::vector<Message>{{"before", "192.0.2.7", "", ""}, {"within", "192.0.2.7", "PUT", "/path"}}));
}

TEST_F(ServerLogTest, ARequestThatCouldNotBeReadHasNoNames) {
  mg_connection conn;
  conn.method.reset();
  conn.uri.reset();
  sdkapi::BeginRequest(&conn);
  sdkapi::log_message(&conn, "bad request");
  sdkapi::EndRequest(&conn, 400);
  EXPECT_EQ(messages, (std::vector<Message>{{"bad request", "", "", ""}}));
}

TEST_F(ServerLogTest, ControlCharactersAreReplacedAndLongTextsCut) {
  mg_connection conn("GET\n", "/\x01\x1f\x7f" + std::string(300, 'p'));
  sdkapi::BeginRequest(&conn);
  sdkapi::log_message(&conn, ("a\r\nb \xc3\xa4" + std::string(2000, 't')).c_str());
  sdkapi::EndRequest(&conn, 200);
  EXPECT_EQ(messages, (std::vector<Message>{{"a??b \xc3\xa4" + std::string(1016, 't'), "", "GET?",
                                             "/???" + std::string(251, 'p')}}));
}

}  // namespace
