// The limits: what the kernel does for the same bytes when a server parses nothing and decides nothing.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "replies.h"
#include "server.h"

namespace {

constexpr std::size_t kSendSize = 16384;
const std::string zeros(kSendSize, '\0');

std::mutex mutex;
std::vector<int> clients;

struct Fixed {
  explicit Fixed(const std::string& folder)
      : device(bench::ReadFile(folder + "/device.reply")),
        login(bench::ReadFile(folder + "/login.reply")),
        refused(bench::ReadFile(folder + "/refused.reply")) {}
  std::string device, login, refused;
};

bool SendAll(int client, std::string_view data) {
  while (!data.empty()) {
    const ssize_t sent = send(client, data.data(), data.size(), MSG_NOSIGNAL);
    if (sent <= 0) return false;
    data.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

long NumberAfter(std::string_view text, std::string_view mark) {
  const std::size_t at = text.find(mark);
  return at == std::string_view::npos ? 0 : std::atol(text.data() + at + mark.size());
}

bool SendFile(int client, std::string_view request) {
  std::size_t left = static_cast<std::size_t>(NumberAfter(request, "method="));
  std::string first = "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(left) + "\r\n\r\n";
  const std::size_t small = left < kSendSize ? left : 0;
  first.append(small, '\0');
  left -= small;
  if (!SendAll(client, first)) return false;
  for (; left > 0; left -= std::min(left, kSendSize)) {
    if (!SendAll(client, std::string_view(zeros).substr(0, std::min(left, kSendSize)))) return false;
  }
  return request.find("Connection: close") == std::string_view::npos;
}

void ReceiveFile(int client, std::string_view request, const std::string& reply) {
  const std::size_t body = request.find("\r\n\r\n") + 4;
  long left = NumberAfter(request, "Content-Length: ") - static_cast<long>(request.size() - body);
  char buffer[kSendSize];
  while (left > 0) {
    const ssize_t got = recv(client, buffer, sizeof buffer, 0);
    if (got <= 0) return;
    left -= got;
  }
  SendAll(client, reply);
}

void SendPictures(int client) {
  const std::string picture(bench::kPictureSize, 'p');
  SendAll(client, "HTTP/1.1 200 OK\r\n\r\n");
  while (SendAll(client, picture)) {
  }
}

void Broadcast(int count) {
  const std::string frame =
      std::string("\x81") + static_cast<char>(sizeof bench::kEventText - 1) + bench::kEventText;
  const std::lock_guard lock(mutex);
  for (int i = 0; i < count; ++i) {
    for (const int client : clients) SendAll(client, frame);
  }
}

// Joins the broadcast; a frame "N" with a mask of zeros asks for N texts to all.
void Listen(int client) {
  {
    const std::lock_guard lock(mutex);
    clients.push_back(client);
  }
  SendAll(client, "HTTP/1.1 101 Switching Protocols\r\n\r\n");
  char frame[64];
  for (ssize_t got = 0; (got = recv(client, frame, sizeof frame - 1, 0)) > 0;) {
    frame[got] = '\0';
    if (got > 6) Broadcast(std::atoi(frame + 6));
  }
  const std::lock_guard lock(mutex);
  std::erase(clients, client);
}

void Echo(int client, std::string_view first) {
  char buffer[kSendSize];
  SendAll(client, first);
  for (ssize_t got = 0; (got = recv(client, buffer, sizeof buffer, 0)) > 0;) {
    SendAll(client, {buffer, static_cast<std::size_t>(got)});
  }
}

// Everything that holds its connection; in a thread of its own.
void ServeLong(int client, std::string request, const Fixed& replies) {
  if (request.starts_with("GET /download")) {
    char next[4096];
    while (SendFile(client, request)) {
      const ssize_t got = recv(client, next, sizeof next, 0);
      if (got <= 0) break;
      request.assign(next, static_cast<std::size_t>(got));
    }
  } else if (request.starts_with("POST /upload")) {
    ReceiveFile(client, request, replies.login);
  } else if (request.starts_with("GET /stream")) {
    SendPictures(client);
  } else if (request.starts_with("GET /websocket")) {
    Listen(client);
  } else {
    Echo(client, request);
  }
  close(client);
}

const std::string* ShortReply(std::string_view request, const Fixed& replies) {
  if (request.starts_with("POST /api/v1/auth/login")) return &replies.login;
  if (!request.starts_with("GET /dev_info")) return nullptr;
  return request.find(bench::kToken) != std::string_view::npos ? &replies.device : &replies.refused;
}

// The bare accept loop: accept, one read, one write, close.
void Serve(int listener, const Fixed& replies) {
  char buffer[4096];
  for (int client = 0; (client = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC)) >= 0;) {
    const ssize_t got = recv(client, buffer, sizeof buffer, 0);
    const std::string_view request(buffer, got > 0 ? static_cast<std::size_t>(got) : 0);
    if (const std::string* const reply = ShortReply(request, replies); reply != nullptr || request.empty()) {
      if (reply != nullptr) SendAll(client, *reply);
      close(client);
    } else {
      std::thread(ServeLong, client, std::string(request), std::cref(replies)).detach();
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  const bench::Arguments arguments(argc, argv);
  const Fixed replies(arguments.folder);
  const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const int on = 1;
  setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(arguments.http));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
      listen(listener, 128) != 0)
    return 2;
  for (int i = 0; i < 2; ++i) std::thread(Serve, listener, std::cref(replies)).detach();
  bench::WaitForEnd();
  std::_Exit(0);  // threads may still wait for clients
}
