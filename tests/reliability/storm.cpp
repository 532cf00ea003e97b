// Sixteen clients do everything at once while the host sends and adds routes; made for sanitizer builds.
#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <random>
#include <thread>
#include <vector>

#include "connection.h"
#include "device.h"

namespace {

using integration::Connection;

constexpr int kClients = 16;
constexpr int kRoutes = 64;

enum Action { kLogin, kLogOut, kInfo, kUpload, kDownload, kPreview, kWebSocket, kCustom, kStatic, kActions };
constexpr std::array<const char*, kActions> kNames = {"login",   "logout",    "info",   "upload", "download",
                                                      "preview", "websocket", "custom", "static"};

std::array<std::atomic<long>, kActions> done{};
std::atomic<long> wrong{0};
std::atomic<long> framesSent{0};
std::atomic<bool> stopping{false};
reliability::Ports ports;

void Note(Action action, bool good, const Connection& connection) {
  ++done[action];
  if (good) return;
  ++wrong;
  std::printf("wrong: %s: end %d, %zu bytes: %.60s\n", kNames[action], static_cast<int>(connection.end()),
              connection.received().size(), connection.received().c_str());
}

class Client {
 public:
  explicit Client(unsigned seed) : random_(seed), tls_(seed % 4 == 3) {}

  void Run() {
    while (!stopping.load()) Step();
    LogOut();
  }

 private:
  void Step() {
    if (token_.empty()) return LogIn();
    switch (random_() % 9) {
      case 0:
        return LogOut();
      case 1:
        return Ask(kInfo, "GET", "/dev_info", "", "");
      case 2:
        return Upload();
      case 3:
        return Ask(kDownload, "GET", "/download/edid", "Connection: close\r\n", "");
      case 4:
        return WatchPreview();
      case 5:
        return TalkWebSocket();
      case 6:
        return Ask(kCustom, "POST", "/storm/" + std::to_string(random_() % 4), "", "{}");
      case 7:
        return Ask(kStatic, "GET", "/index.html", "Connection: close\r\n", "");
      default:
        return Ask(kInfo, "GET", "/getTxRxList", "", "");
    }
  }

  std::string Request(const std::string& method, const std::string& target, const std::string& headers,
                      const std::string& body) {
    return method + " " + target + " HTTP/1.1\r\nHost: device\r\nAuthorization: Bearer " + token_ + "\r\n" +
           headers + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
  }

  void Ask(Action action, const std::string& method, const std::string& target, const std::string& headers,
           const std::string& body) {
    Connection connection(Port(), tls_);
    connection.Send(Request(method, target, headers, body));
    Note(action, connection.ReadToEnd().starts_with("HTTP/1.1 200 OK\r\n"), connection);
  }

  void LogIn() {
    Connection connection(Port(), tls_);
    connection.Send(Request("POST", "/api/v1/auth/login", "", R"({"username":"a","password":"b"})"));
    const std::string& reply = connection.ReadToEnd();
    const auto begin = reply.find("token-");
    if (begin != std::string::npos) token_ = reply.substr(begin, reply.find('"', begin) - begin);
    Note(kLogin, !token_.empty(), connection);
  }

  void LogOut() {
    if (token_.empty()) return;
    Ask(kLogOut, "GET", "/logout", "", "");
    token_.clear();
  }

  void Upload() {
    const std::string file(random_() % 100000, 'u');
    const std::string body =
        "--BBBB\r\nContent-Disposition: form-data; name=\"f\"; filename=\"f.png\"\r\n\r\n" + file +
        "\r\n--BBBB--\r\n";
    Ask(kUpload, "POST", "/upload/logo", "Content-Type: multipart/form-data; boundary=BBBB\r\n", body);
  }

  void WatchPreview() {
    Connection connection(Port(), tls_);
    connection.Send(Request("GET", "/preview/TX01", "", ""));
    Note(kPreview, connection.ReadUntilSize(3 * reliability::kPreviewBytes), connection);
  }

  void TalkWebSocket() {
    Connection connection(Port(), tls_);
    connection.Send(
        "GET /ws HTTP/1.1\r\nHost: device\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
        "Sec-WebSocket-Version: 13\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n"
        "Sec-WebSocket-Protocol: " +
        token_ + "\r\n\r\n");
    // Text "echo me", masked with zeros.
    connection.Send(std::string("\x81\x87\0\0\0\0", 6) + "echo me");
    const auto echoed = [](const std::string& got) { return got.find("echo me") != std::string::npos; };
    Note(kWebSocket, connection.ReadUntil(echoed), connection);
    // Its close ends the login of the token. The next login waits for that: there are twenty sessions in all.
    connection.Send(std::string("\x88\x80\0\0\0\0", 6));
    connection.ReadToEnd();
    token_.clear();
  }

  int Port() const { return tls_ ? ports.https : ports.http; }

  std::mt19937 random_;
  bool tls_;
  std::string token_;
};

int AnswerCustom(mg_connection* conn, CustomReqInfo*) {
  SendReponseInfo(conn, 200, 1, "{}", 2);
  return 0;
}

void AddRoutes() {
  for (int round = 0; !stopping.load(); ++round) {
    SdkAPISer_Custom_Get_Post_Api_Add(("/more/" + std::to_string(round % kRoutes) + "$").c_str(),
                                      AnswerCustom);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
}

void SendToAll() {
  while (!stopping.load()) {
    WebSocketSendDataALL("to all", 6);
    ++framesSent;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

// Tokens are numbered in the order of the logins.
void SendToOne() {
  for (long number = 1; !stopping.load(); ++number) {
    const long newest = done[kLogin].load();
    const std::string token = "token-" + std::to_string(newest - number % 20);
    WebSocketSendData(token.c_str(), "to one", 6);
    ++framesSent;
    std::this_thread::sleep_for(std::chrono::microseconds(200));
  }
}

int Report() {
  bool complete = true;
  for (int action = 0; action < kActions; ++action) {
    const long count = done[static_cast<std::size_t>(action)].load();
    complete = complete && count > 0;
    std::printf("%-10s %ld\n", kNames[static_cast<std::size_t>(action)], count);
  }
  std::printf("%-10s %ld\n%-10s %ld\n", "sends", framesSent.load(), "wrong", wrong.load());
  return complete && wrong.load() == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  const int seconds = argc > 1 ? std::atoi(argv[1]) : 10;
  reliability::PrepareFolder();
  ports = reliability::Start(true);
  for (int route = 0; route < 4; ++route) {
    SdkAPISer_Custom_Get_Post_Api_Add(("/storm/" + std::to_string(route)).c_str(), AnswerCustom);
  }
  std::vector<std::thread> threads;
  for (unsigned seed = 0; seed < kClients; ++seed) threads.emplace_back([seed] { Client(seed).Run(); });
  threads.emplace_back(AddRoutes);
  threads.emplace_back(SendToAll);
  threads.emplace_back(SendToOne);
  std::this_thread::sleep_for(std::chrono::seconds(seconds));
  stopping.store(true);
  for (std::thread& thread : threads) thread.join();
  SdkAPISer_Stop(nullptr);
  return Report();
}
