// What the web server says: its messages as the host gets them, and why a start failed.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <mutex>
#include <sstream>

#include "certificate.h"
#include "sdkapi/extension.h"
#include "server_test_base.h"

namespace integration {
namespace {

struct Message {
  std::string text;
  std::string address;
  std::string method;
  std::string path;
};

std::mutex mutex;
std::vector<Message> messages;

void Keep(const SdkAPIExtServerMessage* message) {
  const std::lock_guard lock(mutex);
  EXPECT_EQ(message->size, sizeof *message);
  messages.push_back({message->text, message->address, message->method, message->path});
}

std::vector<Message> Messages() {
  const std::lock_guard lock(mutex);
  return messages;
}

// The first message that has the words; an empty one after the deadline.
Message WaitForMessage(const std::string& words) {
  Message found;
  Eventually([&] {
    for (const Message& message : Messages()) {
      if (message.text.find(words) != std::string::npos) return found = message, true;
    }
    return false;
  });
  return found;
}

std::string StartFailure() {
  char text[2048] = "untouched";
  EXPECT_EQ(SdkAPIExt_StartFailure_Get(text, sizeof text), 0);
  return text;
}

class ServerLogTest : public ModeTest {
 protected:
  void SetUp() override {
    ModeTest::SetUp();
    messages.clear();
    ASSERT_EQ(SdkAPIExt_ServerLog_Set(Keep), 0);
  }
  void TearDown() override {
    EXPECT_EQ(SdkAPIExt_ServerLog_Set(nullptr), 0);
    ModeTest::TearDown();
  }

  // A form whose file name no buffer holds: the web server notes that.
  Response SendBrokenForm(const std::string& target) {
    const std::string body = "--B\r\nContent-Disposition: form-data; name=\"f\"; filename=\"" +
                             std::string(3000, 'n') + "\"\r\n\r\nx\r\n--B--\r\n";
    return Send(HttpRequest{"POST", target, {"Content-Type: multipart/form-data; boundary=B"}, body});
  }
};

INSTANTIATE_TEST_SUITE_P(Modes, ServerLogTest, AllModes(), ModeName);

TEST_P(ServerLogTest, AMessageComesWithItsRequest) {
  EXPECT_EQ(SendBrokenForm("/upload/logo?x=1").status(), 500);
  const Message message = WaitForMessage("Cannot decode filename");
  EXPECT_EQ(message.address, "127.0.0.1");
  EXPECT_EQ(message.method, "POST");
  EXPECT_EQ(message.path, "/upload/logo");
}

TEST_P(ServerLogTest, AFailedHandshakeComesWithItsAddressOnly) {
  if (!mode().https) return;
  EXPECT_EQ(Get("/dev_info").status(), 200);  // a worker's last request is not the next client's
  {
    Connection client(Server::Get().port(true), false);
    ASSERT_TRUE(client.Send("this is no TLS at all\r\n\r\n"));
    client.ReadToEnd();
  }
  const Message message = WaitForMessage("sslize error");
  EXPECT_EQ(message.address, "127.0.0.1");
  EXPECT_EQ(message.method, "");
  EXPECT_EQ(message.path, "");
}

TEST_P(ServerLogTest, TheFileIsWrittenAllTheSame) {
  SendBrokenForm("/upload/logo/whatever" + std::string(mode().https ? "s" : ""));
  SendBrokenForm("/upload/scene");
  EXPECT_TRUE(Eventually([] {
    std::ifstream file("error.log");
    std::stringstream text;
    text << file.rdbuf();
    return text.str().find("/upload/scene: ") != std::string::npos;
  }));
}

TEST_P(ServerLogTest, AHookThatWasTakenBackGetsNothing) {
  ASSERT_EQ(SdkAPIExt_ServerLog_Set(nullptr), 0);
  EXPECT_EQ(SendBrokenForm("/upload/logo").status(), 500);
  EXPECT_TRUE(Messages().empty());
}

TEST_P(ServerLogTest, TheHookMayAskForTheRequest) {
  static std::string route;
  ASSERT_EQ(SdkAPIExt_ServerLog_Set([](const SdkAPIExtServerMessage* message) {
              SdkAPIExtRequest request{};
              request.size = sizeof request;
              if (std::strstr(message->text, "Cannot decode") == nullptr) return;
              const std::lock_guard lock(mutex);
              EXPECT_EQ(SdkAPIExt_Request_Get(&request), 0);
              route = request.route;
            }),
            0);
  EXPECT_EQ(SendBrokenForm("/upload/scene/x").status(), 500);
  const std::lock_guard lock(mutex);
  EXPECT_EQ(route, "/upload/scene");
}

class StartFailureTest : public ::testing::Test {
 protected:
  void SetUp() override {
    Server::Get().Stop();
    LogCapture::Install();
    messages.clear();
    SdkAPIExt_ServerLog_Set(Keep);
  }
  void TearDown() override {
    SdkAPIExt_ServerLog_Set(nullptr);
    for (const char* key : {"num_threads", "listening_ports", "ssl_protocol_version"}) {
      SdkAPIExt_Option_Set(key, nullptr);
    }
    SdkAPISer_Init();
    Server::Get().Ensure();
    EXPECT_EQ(StartFailure(), "");
    Server::Get().Stop();
  }

  static int StartWith(const std::string& certificateFile, const std::string& passPhrase, int httpPort = 0) {
    SdkAPISer_Port_Set(httpPort == 0 ? FreePort() : httpPort, FreePort());
    SdkAPiSer_Cert_Set(certificateFile.c_str());
    SdkAPiSer_CertPassword_Set(passPhrase.c_str());
    SdkAPISer_Init();
    const SdkAPISerHandle table = TestHost::Table();
    return SdkAPISer_Start(&table);
  }

  // The text begins with the meaning and goes on with the web server's own words.
  static void ExpectFailure(const std::string& meaning, const std::string& words) {
    const std::string text = StartFailure();
    EXPECT_TRUE(text.starts_with(meaning + ": ")) << text;
    EXPECT_NE(text.find(words), std::string::npos) << text;
  }
};

TEST_F(StartFailureTest, ATakenPort) {
  const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  socklen_t length = sizeof address;
  ASSERT_EQ(bind(fd, reinterpret_cast<sockaddr*>(&address), length), 0);
  ASSERT_EQ(listen(fd, 1), 0);
  ASSERT_EQ(getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length), 0);
  const int port = ntohs(address.sin_port);
  EXPECT_EQ(StartWith(Server::CertificateFile(), Server::PassPhrase(), port), -1);
  ExpectFailure("a port is taken, or this process may not listen on it", std::to_string(port));
  EXPECT_EQ(Messages().front().address, "");
  close(fd);
}

TEST_F(StartFailureTest, ACertificateThatCannotBeRead) {
  EXPECT_EQ(StartWith(Workspace::Get().Path("nowhere.pem"), ""), -1);
  ExpectFailure("the certificate cannot be read", "nowhere.pem");
  EXPECT_EQ(StartWith(Workspace::Get().WriteFile("junk.pem", "junk"), ""), -1);
  ExpectFailure("the certificate cannot be read", "junk.pem");
}

TEST_F(StartFailureTest, AKeyThatCannotBeOpened) {
  // With one wrong pass phrase in 256 the bytes look decrypted, and OpenSSL finds a key that it cannot read.
  int opensNothing = 0;
  for (const char* wrong : {"not the pass phrase", "another one", "a third one", "a fourth one"}) {
    EXPECT_EQ(StartWith(Server::CertificateFile(), wrong), -1);
    EXPECT_EQ(StartFailure().find(wrong), std::string::npos);
    if (StartFailure().starts_with("the private key cannot be read: ")) continue;
    ExpectFailure("the pass phrase does not open the private key", "server.pem");
    ++opensNothing;
  }
  EXPECT_GE(opensNothing, 1);
  EXPECT_EQ(StartWith(Server::CertificateFile(), ""), -1);
  ExpectFailure("the private key needs a pass phrase", "server.pem");
  const Certificate made = MakeCertificate("");
  EXPECT_EQ(StartWith(Workspace::Get().WriteFile("nokey.pem", made.certificate), ""), -1);
  ExpectFailure("the private key cannot be read", "nokey.pem");
}

TEST_F(StartFailureTest, AKeyOfAnotherCertificate) {
  const std::string text = MakeCertificate("").certificate + MakeCertificate("").key;
  EXPECT_EQ(StartWith(Workspace::Get().WriteFile("other.pem", text), ""), -1);
  ExpectFailure("the private key does not match the certificate", "other.pem");
}

TEST_F(StartFailureTest, OptionValuesThatTheWebServerRefuses) {
  struct Row {
    const char* key;
    const char* value;
    const char* words;
  };
  for (const Row& row : {Row{"num_threads", "0", "thread"}, Row{"num_threads", "many", "thread"},
                         Row{"listening_ports", "no port", "no port"}, Row{"listening_ports", "", "port"}}) {
    SCOPED_TRACE(std::string(row.key) + "=" + row.value);
    ASSERT_EQ(SdkAPIExt_Option_Set(row.key, row.value), 0);
    EXPECT_EQ(StartWith(Server::CertificateFile(), Server::PassPhrase()), -1);
    EXPECT_NE(StartFailure().find(row.words), std::string::npos) << StartFailure();
    ASSERT_EQ(SdkAPIExt_Option_Set(row.key, nullptr), 0);
  }
}

TEST_F(StartFailureTest, WhatTheLibraryRefuses) {
  EXPECT_EQ(SdkAPISer_Start(nullptr), -1);
  EXPECT_EQ(StartFailure(), "there is no table of functions");
  Server::Get().Ensure();
  EXPECT_EQ(StartFailure(), "");
  const SdkAPISerHandle table = TestHost::Table();
  EXPECT_EQ(SdkAPISer_Start(&table), -1);
  EXPECT_EQ(StartFailure(), "the server runs, or is being stopped");
  Server::Get().Stop();
}

TEST_F(StartFailureTest, TheTextIsCutToItsRoom) {
  EXPECT_EQ(SdkAPISer_Start(nullptr), -1);
  char text[6] = "-----";
  EXPECT_EQ(SdkAPIExt_StartFailure_Get(text, sizeof text), 0);
  EXPECT_STREQ(text, "there");
  EXPECT_EQ(SdkAPIExt_StartFailure_Get(text, 1), 0);
  EXPECT_STREQ(text, "");
  LogCapture::Clear();
  text[0] = 'x';
  EXPECT_EQ(SdkAPIExt_StartFailure_Get(text, 0), -1);
  EXPECT_EQ(SdkAPIExt_StartFailure_Get(nullptr, 6), -1);
  EXPECT_EQ(text[0], 'x');
  EXPECT_EQ(LogCapture::Count(4, "SdkAPIExt_StartFailure_Get: no room for the text!!!!", "sdkapiext"), 2);
}

}  // namespace
}  // namespace integration
