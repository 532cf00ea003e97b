// What the web server answers by itself: whole HTTP replies, whatever was asked.
#include <fcntl.h>
#include <sys/stat.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <deque>
#include <fstream>
#include <thread>

#include "raw_websocket.h"
#include "server_test_base.h"

namespace {

// How often this process looked for a password file in the root of the file system.
std::atomic<int> rootLooks{0};

}  // namespace

// Stands before the C library's function, which the web server calls.
extern "C" int stat64(const char* path, struct stat64* result) noexcept {
  if (std::strcmp(path, "/.htpasswd") == 0) ++rootLooks;
  return fstatat64(AT_FDCWD, path, result, 0);
}

namespace integration {
namespace {

constexpr char kCommonHead[] =
    "Cache-Control: no-cache, no-store, must-revalidate, private, max-age=0\r\n"
    "Expires: 0\r\n"
    "Pragma: no-cache\r\n"
    "Content-Security-Policy: frame-ancestors *;\r\n"
    "X-Content-Type-Options: nosniff\r\n"
    "Strict-Transport-Security: max-age=63072000; includeSubdomains; preload\r\n"
    "Content-Type: text/plain; charset=utf-8\r\n";

std::string ErrorReply(const std::string& status, const std::string& text, const std::string& headers = "") {
  return "HTTP/1.1 " + status + "\r\n" + kCommonHead + headers +
         "Date: <date>\r\nConnection: close\r\n\r\nError " + status.substr(0, 3) + ": " + status.substr(4) +
         "\n" + text;
}

class ServerAnswersTest : public ModeTest {};
INSTANTIATE_TEST_SUITE_P(Schemes, ServerAnswersTest, BothSchemes(), ModeName);

std::string Upgrade(const std::string& target, const std::string& version, const std::string& http = "1.1") {
  return "GET " + target + " HTTP/" + http +
         "\r\nHost: a\r\nUpgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Version: " + version +
         "\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n\r\n";
}

TEST_P(ServerAnswersTest, ARefusedUpgradeIsAWholeReply) {
  EXPECT_EQ(WithoutDate(Send(Upgrade("/nowhere", "13")).raw), ErrorReply("404 Not Found", "Not found"));
  EXPECT_EQ(WithoutDate(Send(Upgrade("/dev_info", "13")).raw), ErrorReply("404 Not Found", "Not found"));
  EXPECT_EQ(WithoutDate(Send(Upgrade("/nowhere", "13", "1.0")).raw),
            ErrorReply("404 Not Found", "Not found"));
  for (const char* const version : {"8", "14", "13, 8", ""}) {
    SCOPED_TRACE(version);
    EXPECT_EQ(WithoutDate(Send(Upgrade("/websocket", version)).raw),
              ErrorReply("426 Upgrade Required", "Protocol upgrade required",
                         "Upgrade: websocket\r\nSec-WebSocket-Version: 13\r\n"));
  }
  EXPECT_EQ(
      WithoutDate(
          Send("GET /websocket HTTP/1.1\r\nHost: a\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n\r\n")
              .raw),
      ErrorReply("400 Bad Request", "Malformed websocket request"));
  EXPECT_EQ(host().Count("WebSocketCb"), 0);
}

TEST_P(ServerAnswersTest, ErrorsCarryTheServersOwnVersion) {
  EXPECT_EQ(WithoutDate(Send("GET /nowhere HTTP/1.0\r\n\r\n").raw), ErrorReply("404 Not Found", "Not found"));
  EXPECT_EQ(WithoutDate(Send("GET / HTTP/9.9\r\n\r\n").raw),
            ErrorReply("505 HTTP Version not supported", "Bad HTTP version: [9.9]"));
  EXPECT_EQ(WithoutDate(Send("nonsense\r\n\r\n").raw), ErrorReply("400 Bad Request", "Bad request"));
}

TEST_P(ServerAnswersTest, AMalformedRequestAfterWebSocketsIsAnsweredInFull) {
  SdkAPISer_AuthenticationSwitch_Set(0);
  // Each worker has had a WebSocket once.
  for (int round = 0; round < 4; ++round) {
    std::deque<RawWebSocket> sockets;
    for (int i = 0; i < 10; ++i) {
      sockets.emplace_back(mode());
      ASSERT_TRUE(sockets.back().Open("anybody"));
    }
  }
  for (int i = 0; i < 60; ++i) {
    ASSERT_EQ(WithoutDate(Send("nonsense\r\n\r\n").raw), ErrorReply("400 Bad Request", "Bad request"));
  }
}

TEST_P(ServerAnswersTest, ARequestWithTwoLengthsIsRefused) {
  const std::string smuggled = "GET /dev_info HTTP/1.1\r\nHost: a\r\n\r\n";
  for (const char* const lengths :
       {"Content-Length: 5\r\nTransfer-Encoding: chunked", "Transfer-Encoding: chunked\r\nContent-Length: 5",
        "transfer-encoding: Chunked\r\ncontent-length: 0"}) {
    SCOPED_TRACE(lengths);
    EXPECT_EQ(WithoutDate(Send("POST /login HTTP/1.1\r\nHost: a\r\n" + std::string(lengths) +
                               "\r\n\r\n0\r\n\r\n" + smuggled)
                              .raw),
              ErrorReply("400 Bad Request", "Bad request"));
  }
  EXPECT_TRUE(host().Calls("DeviceInfoCb").empty());
}

TEST_P(ServerAnswersTest, DatesStayWholeOnAllThreads) {
  std::vector<std::thread> clients;
  std::atomic<int> whole{0};
  const std::string expected = ErrorReply("404 Not Found", "Not found");
  for (int i = 0; i < 8; ++i) {
    clients.emplace_back([&] {
      for (int n = 0; n < 25; ++n) {
        whole +=
            WithoutDate(Exchange(mode(), "GET /nowhere HTTP/1.1\r\nHost: a\r\n\r\n").raw) == expected ? 1 : 0;
      }
    });
  }
  for (std::thread& client : clients) client.join();
  EXPECT_EQ(whole.load(), 200);
}

TEST_P(ServerAnswersTest, NoPasswordFileIsLookedForInTheRoot) {
  Get("/dev_info");
  EXPECT_EQ(rootLooks.load(), 0);
}

class ErrorLogTest : public ModeTest {
 protected:
  // An upload whose file name no buffer holds; the server writes one line about it.
  void Complain(const std::string& path = "/upload/scene") {
    HttpRequest request = UploadRequest(path, MultipartBody({{"f", "x", std::string(1100, 'n')}}));
    request.headers.push_back("Connection: close");
    EXPECT_EQ(Send(request).status(), 500);
  }

  static std::vector<std::string> Lines(const std::string& file) {
    std::ifstream stream(Workspace::Get().Path(file), std::ios::binary);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
  }

  static void Put(const std::string& content) {
    std::remove(Workspace::Get().Path("error.log.1").c_str());
    Workspace::Get().WriteFile("error.log", content);
  }
};
INSTANTIATE_TEST_SUITE_P(Schemes, ErrorLogTest, BothSchemes(), ModeName);

TEST_P(ErrorLogTest, LinesAreCutAndHoldNoControlCharacters) {
  Put("");
  Complain("/upload/scene%0d%0a[1]+[error]+forged" + std::string(6000, 'x'));
  const std::vector<std::string> lines = Lines("error.log");
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_LT(lines[0].size(), 512U);
  EXPECT_NE(lines[0].find("POST /upload/scene??[1] [error] forged"), std::string::npos) << lines[0];
  EXPECT_NE(lines[0].find("Cannot decode filename"), std::string::npos) << lines[0];
}

TEST_P(ErrorLogTest, AFullLogIsMovedAside) {
  const std::string full(1024 * 1024 - 512 + 1, 'o');
  Put(full);
  Workspace::Get().WriteFile("error.log.1", "older");
  Complain();
  EXPECT_EQ(Lines("error.log.1"), std::vector<std::string>{full});
  EXPECT_EQ(Lines("error.log").size(), 1U);

  Put(full.substr(1));
  Complain();
  EXPECT_TRUE(Lines("error.log.1").empty());
  EXPECT_EQ(Lines("error.log").size(), 1U);
}

TEST_P(ErrorLogTest, LinesOfManyThreadsStayWhole) {
  constexpr int kClients = 8;
  constexpr int kEach = 10;
  Put(std::string(1024 * 1024 - 4096, '\n'));
  std::vector<std::thread> clients;
  for (int i = 0; i < kClients; ++i) {
    clients.emplace_back([this] {
      for (int n = 0; n < kEach; ++n) Complain();
    });
  }
  for (std::thread& client : clients) client.join();
  int whole = 0;
  for (const char* const file : {"error.log", "error.log.1"}) {
    for (const std::string& line : Lines(file)) {
      whole += line.starts_with("[") && line.ends_with(": Cannot decode filename") ? 1 : 0;
    }
  }
  EXPECT_EQ(whole, kClients * kEach);
}

}  // namespace
}  // namespace integration
