// Clients that drip: each is let go in time, while slow and steady ones, and those of a slow host, are
// served.
#include <algorithm>
#include <cstring>
#include <functional>
#include <thread>

#include "raw_websocket.h"
#include "server_test_base.h"

namespace integration {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr seconds kLetGo{kInstrumented ? 150 : 100};  // 40 s of waiting, with room for a busy machine
constexpr seconds kHeadLetGo{45};                     // 10 s, with room; less than a kept connection may rest
constexpr seconds kSteadyTime{50};                    // longer than a transfer may drip
constexpr milliseconds kDrip{500};
constexpr milliseconds kPace{100};
constexpr std::size_t kSteadyPiece = 2048;  // 20 KiB/s
constexpr std::size_t kSteadyBytes = 1000000;
constexpr int kLeastBuffer = 1;  // the system's own minimum: what a dripping reader takes is felt at once
constexpr int kSmallBuffer = 8192;
constexpr std::size_t kFileSize = 16 << 20;
constexpr int kSlowFileReaders = 2;  // one of each scheme

int TellLength(mg_connection* conn, CustomReqInfo* request) {
  const std::string length = std::to_string(request->bodyLength);
  return SendReponseInfo(conn, 200, 0, length.c_str(), static_cast<int>(length.size()));
}

class SlowClientsTest : public ServerTest {
 protected:
  void SetUp() override {
    Prepare({false, true});
    file_ = Workspace::Get().WriteFile("large.bin", std::string(kFileSize, 'd'));
    host().download = [this](DownloadFileInfo& info) {
      file_.copy(info.path, sizeof info.path);
      return 0;
    };
    const std::string settings = Workspace::Get().WriteFile("settings", "short");
    host().downloadSetting = [settings](DownloadSettingInfo& info) {
      settings.copy(info.path, sizeof info.path);
      return 0;
    };
    host().preview = [](PreviewFrame& frame) {
      frame.length = 100000;
      return 0;
    };
    host().upload = [](const UploadStep& step, UploadFileCtx&) {
      const bool slow = step.fileName == "slow host";
      if (slow && step.pieceState == 0) std::this_thread::sleep_for(kSteadyTime);
      return 0;
    };
    ASSERT_EQ(SdkAPISer_Custom_Get_Post_Api_Add("/own/body$", TellLength), 0);
  }

  // Every client of a list over both schemes, all at once.
  struct Client {
    const char* name;
    std::function<void(bool https)> run;
  };
  static void RunAll(const std::vector<Client>& clients) {
    std::vector<std::thread> threads;
    for (const bool https : {false, true}) {
      for (const Client& client : clients) {
        threads.emplace_back([&client, https] {
          const ::testing::ScopedTrace trace(__FILE__, __LINE__,
                                             client.name + std::string(https ? " HTTPS" : " HTTP"));
          client.run(https);
        });
      }
    }
    for (std::thread& thread : threads) thread.join();
  }

  static int Port(bool https) { return Server::Get().port(https); }
  std::string Head(const std::string& line, const std::string& more = "") const {
    return line + " HTTP/1.1\r\nHost: a\r\n" + Authorization() + "\r\n" + more + "\r\n";
  }
  std::string UploadHead(const std::string& body) const {
    return Head("POST /upload/logo",
                "Content-Type: multipart/form-data; boundary=BOUNDARYxyz\r\nContent-Length: " +
                    std::to_string(body.size()) + "\r\n");
  }

  // Sends pieces at this pace until the server ends the connection; false when it does not within the time.
  static bool DripUntilTheEnd(Connection& client, const std::string& bytes, std::size_t piece,
                              seconds limit = kLetGo) {
    const std::string wire = client.OnTheWire(bytes);
    const auto deadline = Clock::now() + limit;
    for (std::size_t sent = 0; client.end() == Connection::End::kOpen; sent += piece) {
      if (Clock::now() > deadline || sent >= wire.size()) return false;
      client.SendRaw(wire.substr(sent, piece));
      std::this_thread::sleep_for(kDrip);
      while (!client.TakeRaw(65536).empty()) {
      }
    }
    return true;
  }

  // Takes this much off the socket at this pace as long as the condition holds.
  static void TakeWhile(Connection& client, std::size_t piece, milliseconds pace,
                        const std::function<bool()>& condition) {
    while (condition()) {
      client.TakeRaw(piece);
      std::this_thread::sleep_for(pace);
    }
  }

  bool PreviewClosed(const std::string& name) {
    for (const Call& call : host().Calls("PreviewCb")) {
      if (call.args == std::vector<std::string>{name, "2"}) return true;
    }
    return false;
  }

 public:
  void DripBody(bool https) {
    Connection client(Port(https), https);
    const std::string body = MultipartBody({{"file", std::string(100000, 'x'), "dripping"}});
    EXPECT_TRUE(DripUntilTheEnd(client, UploadHead(body) + body, 150));
  }
  void DripCustomBody(bool https) {
    Connection client(Port(https), https);
    EXPECT_TRUE(DripUntilTheEnd(
        client, Head("POST /own/body", "Content-Length: 100000\r\n") + std::string(100000, 'x'), 150));
  }
  // Chunks of a byte: each is a read of its own.
  void DripChunks(bool https) {
    Connection client(Port(https), https);
    std::string request = Head("POST /upload/logo",
                               "Content-Type: multipart/form-data; boundary=BOUNDARYxyz\r\n"
                               "Transfer-Encoding: chunked\r\n");
    for (int i = 0; i < 20000; ++i) request += "1\r\n-\r\n";
    EXPECT_TRUE(DripUntilTheEnd(client, request, 60));
  }
  void DripBehindARefusal(bool https) {
    Connection client(Port(https), https);
    ASSERT_TRUE(client.Send("POST /createuser HTTP/1.1\r\nHost: a\r\nContent-Length: 100000\r\n\r\n"));
    EXPECT_TRUE(client.ReadUntil([](const std::string& text) { return text.ends_with("\r\n\r\n"); }));
    EXPECT_TRUE(client.received().starts_with("HTTP/1.1 401 Unauthorized\r\n"));
    EXPECT_TRUE(DripUntilTheEnd(client, std::string(20000, 'x'), 1));
  }
  // The web server itself drains what a kept connection's request left.
  void DripBehindAFile(bool https) {
    Connection client(Port(https), https);
    ASSERT_TRUE(client.Send(Head("POST /download/setting", "Content-Length: 100000\r\n")));
    EXPECT_TRUE(client.ReadUntil([](const std::string& text) { return text.ends_with("\r\n0\r\n\r\n"); }));
    EXPECT_TRUE(DripUntilTheEnd(client, std::string(20000, 'x'), 1));
  }
  void DripHead(bool https) {
    Connection client(Port(https), https);
    EXPECT_TRUE(DripUntilTheEnd(client, "GET /dev_info HTTP/1.1\r\nX-Long: " + std::string(10000, 'x'), 1));
  }
  // Over HTTPS no byte of the head comes before its record is complete: until then the connection rests.
  void DripSecondHead(bool https) {
    Connection client(Port(https), https);
    ASSERT_TRUE(client.Send(Head("GET /index.html")));
    EXPECT_TRUE(client.ReadUntil([](const std::string& text) { return text.ends_with("front page"); }));
    EXPECT_TRUE(DripUntilTheEnd(client, "GET /dev_info HTTP/1.1\r\nX-Long: " + std::string(10000, 'x'), 1,
                                https ? kLetGo : kHeadLetGo));
  }
  static int BrokenFiles() { return LogCapture::Count(4, "mg_send_chunk error", "sdkapidownload"); }
  void DripFromAFile(bool https) {
    Connection client(Port(https), https, kLeastBuffer);
    ASSERT_TRUE(client.Send(Head("GET /log")));
    const auto deadline = Clock::now() + kLetGo;
    TakeWhile(client, 200, kDrip,
              [&] { return Clock::now() < deadline && BrokenFiles() < kSlowFileReaders; });
    EXPECT_EQ(BrokenFiles(), kSlowFileReaders);
  }
  void DripFromAPreview(bool https) {
    const std::string name = https ? "dripping-tls" : "dripping";
    Connection client(Port(https), https, kLeastBuffer);
    ASSERT_TRUE(client.Send("GET /preview/" + name + " HTTP/1.1\r\nHost: a\r\n\r\n"));
    const auto deadline = Clock::now() + kLetGo;
    TakeWhile(client, 200, kDrip, [&] { return Clock::now() < deadline && !PreviewClosed(name); });
    EXPECT_TRUE(PreviewClosed(name));
  }

  // Sends at the steady pace; the whole answer.
  static std::string SendSteadily(Connection& client, const std::string& bytes) {
    const std::string wire = client.OnTheWire(bytes);
    for (std::size_t sent = 0; sent < wire.size(); sent += kSteadyPiece) {
      EXPECT_TRUE(client.SendRaw(wire.substr(sent, kSteadyPiece)));
      if (client.end() != Connection::End::kOpen) break;
      std::this_thread::sleep_for(kPace);
    }
    return client.ReadToEnd();
  }
  void UploadSteadily(bool https) {
    Connection client(Port(https), https);
    const std::string body = MultipartBody({{"file", std::string(kSteadyBytes, 'x'), "steady"}});
    EXPECT_EQ(WithoutDate(SendSteadily(client, UploadHead(body) + body)), JsonReply(200));
  }
  // The library reads this body in one call: that it takes longer than a silence may last does not cut it.
  void SendABodySteadily(bool https) {
    Connection client(Port(https), https);
    const std::string head = Head(
        "POST /own/body", "Content-Length: " + std::to_string(kSteadyBytes) + "\r\nConnection: close\r\n");
    const std::string answer = SendSteadily(client, head + std::string(kSteadyBytes, 'x'));
    EXPECT_TRUE(answer.ends_with("\r\n\r\n" + std::to_string(kSteadyBytes))) << answer;
  }
  void ReadAFileSteadily(bool https) {
    Connection client(Port(https), https, kSmallBuffer);
    ASSERT_TRUE(client.Send(Head("GET /download/scene", "Connection: close\r\n")));
    const auto end = Clock::now() + kSteadyTime;
    std::size_t taken = 0;
    const auto deadline = end + kLetGo;
    // To the end of the connection: with what frames it the file's last bytes come behind its size.
    while (client.end() == Connection::End::kOpen && Clock::now() < deadline) {
      taken += client.TakeRaw(Clock::now() < end ? kSteadyPiece : 65536).size();
      std::this_thread::sleep_for(Clock::now() < end ? kPace : milliseconds(1));
    }
    EXPECT_EQ(client.end(), Connection::End::kEof);
    EXPECT_GE(taken, kFileSize);
  }
  void WatchSteadily(bool https) {
    const std::string name = https ? "steady-tls" : "steady";
    Connection client(Port(https), https, kSmallBuffer);
    ASSERT_TRUE(client.Send("GET /preview/" + name + " HTTP/1.1\r\nHost: a\r\n\r\n"));
    const auto end = Clock::now() + kSteadyTime;
    TakeWhile(client, kSteadyPiece, kPace, [&] { return Clock::now() < end; });
    EXPECT_FALSE(PreviewClosed(name));
  }
  void UploadToASlowHost(bool https) {
    Connection client(Port(https), https);
    const std::string body = MultipartBody({{"file", std::string(50000, 'x'), "slow host"}});
    ASSERT_TRUE(client.Send(UploadHead(body) + body));
    std::this_thread::sleep_for(kSteadyTime);
    EXPECT_EQ(WithoutDate(client.ReadToEnd()), JsonReply(200));
  }
  void KeepAWebSocketQuiet(bool https) {
    RawWebSocket client({https, true});
    ASSERT_TRUE(client.Open(token()));
    std::this_thread::sleep_for(kSteadyTime);
    ASSERT_TRUE(client.SendText("after all"));
    // The first to leave ends the login of both.
    EXPECT_TRUE(Eventually([&] {
      const std::vector<Call> calls = host().Calls("WebSocketCb");
      return std::count_if(calls.begin(), calls.end(),
                           [](const Call& call) { return call.args[0] == "1"; }) == 2;
    }));
  }

 private:
  std::string file_;
};

TEST_F(SlowClientsTest, DrippingOnesAreLetGoAndSteadyOnesAreServed) {
  const auto the = [this](void (SlowClientsTest::*client)(bool)) {
    return [this, client](bool https) { (this->*client)(https); };
  };
  RunAll({
      {"body", the(&SlowClientsTest::DripBody)},
      {"custom body", the(&SlowClientsTest::DripCustomBody)},
      {"chunks", the(&SlowClientsTest::DripChunks)},
      {"behind a refusal", the(&SlowClientsTest::DripBehindARefusal)},
      {"behind a file", the(&SlowClientsTest::DripBehindAFile)},
      {"head", the(&SlowClientsTest::DripHead)},
      {"second head", the(&SlowClientsTest::DripSecondHead)},
      {"file", the(&SlowClientsTest::DripFromAFile)},
      {"preview", the(&SlowClientsTest::DripFromAPreview)},
      {"steady upload", the(&SlowClientsTest::UploadSteadily)},
      {"steady custom body", the(&SlowClientsTest::SendABodySteadily)},
      {"steady file", the(&SlowClientsTest::ReadAFileSteadily)},
      {"steady preview", the(&SlowClientsTest::WatchSteadily)},
      {"slow host", the(&SlowClientsTest::UploadToASlowHost)},
      {"quiet WebSocket", the(&SlowClientsTest::KeepAWebSocketQuiet)},
  });
  EXPECT_EQ(BrokenFiles(), kSlowFileReaders);
}

}  // namespace
}  // namespace integration
