// Start, stop and failing starts of the server, its certificate, and what ends with a stop.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <future>
#include <thread>

#include "certificate.h"
#include "sdkapi/extension.h"
#include "server_test_base.h"

namespace integration {
namespace {

// How often the restart test restarts; the soak run sets it higher.
int Cycles() {
  const char* const text = std::getenv("SDKAPI_TEST_CYCLES");
  return text != nullptr ? std::atoi(text) : 6;
}

long ResidentKilobytes() {
  std::ifstream file("/proc/self/statm");
  long total = 0;
  long resident = 0;
  file >> total >> resident;
  return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

class StartTest : public ServerTest {
 protected:
  void SetUp() override {
    Server::Get().Stop();
    TestHost::Get().Reset();
    LogCapture::Install();
    LogCapture::Clear();
  }

  // What every failed start must leave behind: a process that can start.
  void ExpectThatItCanStart() {
    Prepare({true, true});
    host().deviceInfo = [](DeviceInfo& info) {
      info.timeout = 300;
      return 0;
    };
    ExpectReply(Get("/dev_info"), 200, R"({"timeout":"300"})");
  }

  static int StartWith(const std::string& certificateFile, const std::string& passPhrase) {
    SdkAPISer_Port_Set(FreePort(), FreePort());
    SdkAPiSer_Cert_Set(certificateFile.c_str());
    SdkAPiSer_CertPassword_Set(passPhrase.c_str());
    SdkAPISer_Init();
    const SdkAPISerHandle table = TestHost::Table();
    return SdkAPISer_Start(&table);
  }
};

TEST_F(StartTest, RefusesAMissingTable) {
  SdkAPISer_Port_Set(FreePort(), 0);
  SdkAPISer_Init();
  EXPECT_EQ(SdkAPISer_Start(nullptr), -1);
  ExpectThatItCanStart();
}

TEST_F(StartTest, FailsWithAWrongCertificate) {
  const Certificate made = MakeCertificate(Server::PassPhrase());
  const Certificate other = MakeCertificate(Server::PassPhrase());
  Workspace& workspace = Workspace::Get();
  struct Row {
    const char* what;
    std::string file;
    std::string passPhrase;
  };
  const Row rows[] = {
      {"wrong pass phrase", Server::CertificateFile(), "not the pass phrase"},
      {"no pass phrase", Server::CertificateFile(), ""},
      {"missing file", workspace.Path("nowhere.pem"), Server::PassPhrase()},
      {"certificate without key", workspace.WriteFile("nokey.pem", made.certificate), Server::PassPhrase()},
      {"key without certificate", workspace.WriteFile("nocert.pem", made.key), Server::PassPhrase()},
      {"key of another certificate", workspace.WriteFile("other.pem", made.certificate + other.key),
       Server::PassPhrase()},
      {"not PEM at all", workspace.WriteFile("junk.pem", "junk"), Server::PassPhrase()},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    EXPECT_EQ(StartWith(row.file, row.passPhrase), -1);
  }
  ExpectThatItCanStart();
}

TEST_F(StartTest, LogsThePassPhraseAndTheContext) {
  Prepare({true, false});
  Server::Get().Stop();
  LogCapture::Clear();
  Server::Get().Ensure();
  EXPECT_EQ(LogCapture::Count(1, "https cert passwd is [open sesame 42]", "sdkapi"), 1);
  int contexts = 0;
  for (const LogRecord& line : LogCapture::Records())
    contexts += line.text.starts_with("ssl_ctx_st = [") ? 1 : 0;
  EXPECT_EQ(contexts, 1);
}

TEST_F(StartTest, OpensAnUnencryptedKeyWithoutAPassPhrase) {
  const Certificate made = MakeCertificate("");
  const std::string file = Workspace::Get().WriteFile("open.pem", made.certificate + made.key);
  ASSERT_EQ(StartWith(file, ""), 0);
  SdkAPISer_Stop(nullptr);
  EXPECT_EQ(LogCapture::Count(1, "https cert passwd is []", "sdkapi"), 0);
  ExpectThatItCanStart();
}

TEST_F(StartTest, ServesNoTlsWithoutACertificate) {
  const int port = FreePort();
  SdkAPISer_Port_Set(0, port);
  SdkAPiSer_Cert_Set("");
  SdkAPISer_Init();
  const SdkAPISerHandle table = TestHost::Table();
  ASSERT_EQ(SdkAPISer_Start(&table), 0);
  const Connection client(port, true);
  EXPECT_FALSE(client.connected());
  SdkAPISer_Stop(nullptr);
  ExpectThatItCanStart();
}

TEST_F(StartTest, FailsOnATakenPort) {
  const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_ANY);
  socklen_t length = sizeof address;
  ASSERT_EQ(bind(fd, reinterpret_cast<sockaddr*>(&address), length), 0);
  ASSERT_EQ(listen(fd, 1), 0);
  ASSERT_EQ(getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length), 0);
  const int files = OpenFiles();
  const SdkAPISerHandle table = TestHost::Table();
  SdkAPiSer_Cert_Set(Server::CertificateFile().c_str());
  SdkAPiSer_CertPassword_Set(Server::PassPhrase());
  for (const bool https : {false, true}) {
    SdkAPISer_Port_Set(https ? FreePort() : ntohs(address.sin_port), https ? ntohs(address.sin_port) : 0);
    SdkAPISer_Init();
    EXPECT_EQ(SdkAPISer_Start(&table), -1);
  }
  EXPECT_EQ(OpenFiles(), files);
  close(fd);
  ExpectThatItCanStart();
}

TEST_F(StartTest, IsRefusedWhileRunning) {
  Prepare({false, true});
  const SdkAPISerHandle table{};
  EXPECT_EQ(SdkAPISer_Start(&table), -1);
  ExpectReply(Get("/dev_info"), 200, "{}");  // the first table and its login are still there
}

TEST_F(StartTest, StopsTwiceAndLogsEachStop) {
  Prepare({false, false});
  Server::Get().Stop();
  LogCapture::Clear();
  int notLookedAt = 0;
  EXPECT_EQ(SdkAPISer_Stop(nullptr), 0);
  EXPECT_EQ(SdkAPISer_Stop(&notLookedAt), 0);
  EXPECT_EQ(LogCapture::Count(1, "SdkAPISer_Stop ..", "sdkapi"), 2);
  const Connection client(Server::Get().port(false), false);
  EXPECT_FALSE(client.connected());
}

TEST_F(StartTest, ForgetsLoginsAndSessionsOfTheRunBefore) {
  Prepare({false, true});
  ExpectReply(Get("/dev_info"), 200, "{}");
  Server::Get().Stop();
  Server::Get().Ensure();
  ExpectReply(Get("/dev_info"), 401);
  int taken = 0;
  while (AddUsrIdToStack("probe") == 0) ++taken;
  for (int i = 0; i < taken; ++i) DelUsrIdStack("probe");
  EXPECT_EQ(taken, 20);
}

TEST_F(StartTest, ServesPlainHttpOnlyWhenNoTlsPortIsSet) {
  const int port = FreePort();
  SdkAPISer_Port_Set(port, 0);
  SdkAPISer_Init();
  const SdkAPISerHandle table = TestHost::Table();
  ASSERT_EQ(SdkAPISer_Start(&table), 0);
  Connection client(port, false);
  ASSERT_TRUE(client.Send("GET /nowhere HTTP/1.1\r\nHost: a\r\nConnection: close\r\n\r\n"));
  EXPECT_TRUE(client.ReadToEnd().starts_with("HTTP/1.1 404 Not Found\r\n"));
  SdkAPISer_Stop(nullptr);
  ExpectThatItCanStart();
}

// What the first client of a server that is just starting reads.
std::string FirstAnswer(int port) {
  for (;;) {
    Connection client(port, false);
    if (!client.connected()) continue;
    client.Send("GET /dev_info HTTP/1.1\r\nHost: a\r\nConnection: close\r\n\r\n");
    return client.ReadToEnd();
  }
}

TEST_F(StartTest, TheFirstClientFindsAllRoutes) {
  const SdkAPISerHandle table = TestHost::Table();
  SdkAPISer_AuthenticationSwitch_Set(1);
  for (int i = 0; i < 20; ++i) {
    const int port = FreePort();
    SdkAPISer_Port_Set(port, 0);
    SdkAPISer_Init();
    std::future<std::string> first = std::async(std::launch::async, FirstAnswer, port);
    EXPECT_EQ(SdkAPISer_Start(&table), 0);
    EXPECT_TRUE(first.get().starts_with("HTTP/1.1 401 Unauthorized\r\n"));
    SdkAPISer_Stop(nullptr);
  }
  ExpectThatItCanStart();
}

TEST_F(StartTest, AHostMayAskWhileTheServerStartsAndStops) {
  std::atomic<bool> ended{false};
  std::thread asking([&ended] {
    while (!ended) {
      size_t none = 0;
      EXPECT_EQ(SdkAPIExt_Login_List(nullptr, &none), 0);
      none = 0;
      EXPECT_EQ(SdkAPIExt_WebSocket_List(nullptr, &none), 0);
      SdkAPIExt_Login_Limits_Check();
      SdkAPIExt_WebSocket_Send_Valid(kExtText, "x", 1);
      std::this_thread::yield();
    }
  });
  for (int i = 0; i < 5; ++i) {
    Server::Get().Ensure();
    Server::Get().Stop();
  }
  ended = true;
  asking.join();
}

// Every kind of connection is open while the server stops: idle, in a stream, in an upload, with a WebSocket.
struct ConnectedClients {
  explicit ConnectedClients(int port)
      : idle(port, false),
        stream(port, false),
        upload(port, false),
        webSocket(port, false),
        halfHead(port, false) {
    stream.Send("GET /stream HTTP/1.1\r\nHost: a\r\n\r\n");
    upload.Send(
        "POST /upload/logo HTTP/1.1\r\nHost: a\r\nContent-Type: multipart/form-data; boundary=XYZW\r\n"
        "Content-Length: 100000\r\n\r\n--XYZW\r\nContent-Disposition: form-data; name=\"f\"; "
        "filename=\"f\"\r\n\r\n" +
        std::string(9000, 'x'));
    webSocket.Send(
        "GET /websocket HTTP/1.1\r\nHost: a\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
        "Sec-WebSocket-Version: 13\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n"
        "Sec-WebSocket-Protocol: anybody\r\n\r\n");
    halfHead.Send("GET /dev_info HTTP/1.1\r\nHo");
  }
  Connection idle, stream, upload, webSocket, halfHead;
};

TEST_F(StartTest, RestartsWithClientsConnectedLeakNothing) {
  int files = 0;
  int threads = 0;
  long memory = 0;
  const int cycles = Cycles();
  for (int cycle = 0; cycle < cycles; ++cycle) {
    Prepare({false, false});
    host().preview = [](PreviewFrame& frame) {
      frame.length = 1000;
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
      return 0;
    };
    {
      ConnectedClients clients(Server::Get().port(false));
      ASSERT_TRUE(host().WaitForCount("UploadImageFileCb", 1));
      ASSERT_TRUE(host().WaitForCount("PreviewCb", 3));
      ASSERT_TRUE(host().WaitForCount("WebSocketCb", 1));
      Server::Get().Stop();
    }
    const std::vector<Call> pictures = host().Calls("PreviewCb");
    const Call close{"PreviewCb", "", {"", "2"}};
    EXPECT_EQ(std::count(pictures.begin(), pictures.end(), close), 1);
    EXPECT_EQ(pictures.back(), close);
    EXPECT_EQ(host().Calls("WebSocketCb").back(), (Call{"WebSocketCb", "anybody", {"2", "", "0"}}));
    if (cycle == std::min(4, cycles - 1)) {
      files = OpenFiles();
      threads = Threads();
      memory = ResidentKilobytes();
    }
  }
  EXPECT_EQ(OpenFiles(), files);
  // An emulator's own threads may end a moment later.
  EXPECT_TRUE(Eventually([&] { return Threads() == threads; }));
  RecordProperty("residentGrowthKilobytes", static_cast<int>(ResidentKilobytes() - memory));
  // A leak of one login table or preview record per cycle would show; the allocator's own caches do not.
  if (!kInstrumented) {
    EXPECT_LT(ResidentKilobytes() - memory, 4096 + 16 * cycles);
  }
}

TEST_F(StartTest, ClosesConnectionsThatWaitForAWorker) {
  constexpr int kServed = 200;
  constexpr int kAccepted = kServed + 20 + 1;  // with the queue, and the one that does not fit into it
  Prepare({false, false});
  Server::Get().Stop();
  const int stopped = OpenFiles();
  for (const bool https : {false, true}) {
    Server::Get().Ensure();
    const int running = OpenFiles();
    std::deque<Connection> clients;
    for (int i = 0; i < kAccepted; ++i) {
      Connection& client = clients.emplace_back(Server::Get().port(https), false);
      // Half a body holds a worker; over HTTPS they wait for their handshake, without one.
      if (!https) {
        client.Send("POST /createuser HTTP/1.1\r\nHost: a\r\nContent-Length: 40\r\n\r\n{");
      }
    }
    EXPECT_TRUE(Eventually([&] { return OpenFiles() == running + 2 * kAccepted; }));
    Server::Get().Stop();
    ASSERT_EQ(OpenFiles(), stopped + kAccepted);
    for (Connection& client : clients) EXPECT_EQ(client.ReadToEnd(), "");
  }
}

TEST_F(StartTest, StartsWorkersWhenTheyAreNeeded) {
  constexpr int kBusy = 50;
  Prepare({false, false});
  Server::Get().Stop();
  const int stopped = Threads();
  Server::Get().Ensure();
  EXPECT_LT(Threads() - stopped, 10);
  std::deque<Connection> clients;
  for (int i = 0; i < kBusy; ++i) {
    // Half a body holds a worker.
    clients.emplace_back(Server::Get().port(false), false)
        .Send("POST /createuser HTTP/1.1\r\nHost: a\r\nContent-Length: 40\r\n\r\n{");
  }
  EXPECT_TRUE(Eventually([&] { return Threads() - stopped > kBusy; }));
  ExpectReply(Get("/dev_info"), 200, "{}");
  Server::Get().Stop();
  EXPECT_EQ(Threads(), stopped);
}

TEST_F(StartTest, ReadsTheSoftwareVersion) {
  Workspace& workspace = Workspace::Get();
  EXPECT_STREQ(SdkAPiSer_Version_Get(), "");
  EXPECT_EQ(LogCapture::Count(4, "fopen:", "sdkapimain"), 1);
  workspace.WriteFile("build.config", R"({"SoftwareVersion":"1.2.3"})");
  EXPECT_STREQ(SdkAPiSer_Version_Get(), "1.2.3");
  EXPECT_EQ(LogCapture::Count(1, "sdk api ser version 1.2.3", "sdkapimain"), 1);
  workspace.WriteFile("build.config", R"({"softwareversion":"12345678901234567890"})");
  EXPECT_STREQ(SdkAPiSer_Version_Get(), "123456789012345");
  workspace.WriteFile("build.config", R"({"other":1})");
  EXPECT_STREQ(SdkAPiSer_Version_Get(), "123456789012345");
  workspace.WriteFile("build.config", std::string(20000, ' ') + R"({"SoftwareVersion":"9"})");
  EXPECT_STREQ(SdkAPiSer_Version_Get(), "123456789012345");
}

}  // namespace
}  // namespace integration
