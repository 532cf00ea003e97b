// The clients that need a clock finer than a script's: TLS handshakes, and echoes over WebSockets.
//
// usage: bench-client PORT MILLISECONDS full|resumed VERSION              requests on connections of their
// own
//        bench-client PORT MILLISECONDS echo|pair|bytes SIZE TLS TOKEN    one frame, two back to back, bytes
//        without frames
//
// Prints: operations seconds median-ms 99th-percentile-ms
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/ssl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

int port = 0;
Clock::duration duration{};

struct Free {
  void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
  void operator()(SSL* ssl) const { SSL_free(ssl); }
  void operator()(SSL_SESSION* session) const { SSL_SESSION_free(session); }
};
using ContextPtr = std::unique_ptr<SSL_CTX, Free>;
using SslPtr = std::unique_ptr<SSL, Free>;
using SessionPtr = std::unique_ptr<SSL_SESSION, Free>;

[[noreturn]] void Fail(const char* what) {
  std::fprintf(stderr, "bench-client: %s\n", what);
  std::exit(1);
}

// A connection to the server, plain or over TLS.
class Connection {
 public:
  explicit Connection(SSL_CTX* context, SSL_SESSION* session = nullptr)
      : socket_(socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
      Fail("no connection");
    const int on = 1;
    setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    const timeval patience{.tv_sec = 10, .tv_usec = 0};
    setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    if (context == nullptr) return;
    ssl_.reset(SSL_new(context));
    SSL_set_fd(ssl_.get(), socket_);
    if (session != nullptr) SSL_set_session(ssl_.get(), session);
    if (SSL_connect(ssl_.get()) != 1) Fail("no handshake");
  }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  ~Connection() {
    if (ssl_ != nullptr) SSL_shutdown(ssl_.get());
    close(socket_);
  }

  void Write(const std::string& data) {
    const int size = static_cast<int>(data.size());
    const long sent = ssl_ != nullptr ? SSL_write(ssl_.get(), data.data(), size)
                                      : send(socket_, data.data(), data.size(), 0);
    if (sent != size) Fail("cannot send");
  }

  // What one read brings; 0 at the end.
  std::size_t Read(char* data, std::size_t size) {
    const long got =
        ssl_ != nullptr ? SSL_read(ssl_.get(), data, static_cast<int>(size)) : recv(socket_, data, size, 0);
    return got > 0 ? static_cast<std::size_t>(got) : 0;
  }

  void ReadExactly(std::size_t size) {
    char buffer[16384];
    for (std::size_t left = size; left > 0;) {
      const std::size_t got = Read(buffer, std::min(left, sizeof buffer));
      if (got == 0) Fail("the server closed or was silent");
      left -= got;
    }
  }

  [[nodiscard]] SSL* ssl() const { return ssl_.get(); }

 private:
  int socket_;
  SslPtr ssl_;
};

ContextPtr MakeContext(int version) {
  ContextPtr context(SSL_CTX_new(TLS_client_method()));
  if (version != 0) {
    SSL_CTX_set_min_proto_version(context.get(), version);
    SSL_CTX_set_max_proto_version(context.get(), version);
  }
  SSL_CTX_set_cipher_list(context.get(), "AES128-GCM-SHA256");
  SSL_CTX_set_ciphersuites(context.get(), "TLS_AES_128_GCM_SHA256");
  return context;
}

// Calls work until the time is over; returns each call's milliseconds.
template <typename Work>
std::vector<double> Repeat(const Work& work) {
  std::vector<double> times;
  const Clock::time_point end = Clock::now() + duration;
  for (Clock::time_point begun = Clock::now(); begun < end;) {
    work();
    const Clock::time_point done = Clock::now();
    times.push_back(std::chrono::duration<double, std::milli>(done - begun).count());
    begun = done;
  }
  return times;
}

// One client that returns: the newest session of its last connection is what the next one offers.
class Visitor {
 public:
  Visitor(int version, bool resume) : context_(MakeContext(version)), resume_(resume) {
    SSL_CTX_set_session_cache_mode(context_.get(), SSL_SESS_CACHE_CLIENT | SSL_SESS_CACHE_NO_INTERNAL);
    SSL_CTX_set_app_data(context_.get(), this);
    SSL_CTX_sess_set_new_cb(context_.get(), [](SSL* ssl, SSL_SESSION* session) {
      static_cast<Visitor*>(SSL_CTX_get_app_data(SSL_get_SSL_CTX(ssl)))->session_.reset(session);
      return 1;
    });
  }

  void Visit() {
    const bool offered = resume_ && session_ != nullptr;
    Connection connection(context_.get(), offered ? session_.get() : nullptr);
    if ((SSL_session_reused(connection.ssl()) == 1) != offered)
      Fail("the handshake is not of the kind asked for");
    connection.Write("GET /dev_info HTTP/1.1\r\nHost: x\r\nAuthorization: Bearer bench-token\r\n\r\n");
    char reply[4096];
    std::size_t got = connection.Read(reply, sizeof reply);
    if (got < 15 || std::memcmp(reply, "HTTP/1.1 200 OK", 15) != 0) Fail("no reply");
    while (got > 0) got = connection.Read(reply, sizeof reply);
  }

 private:
  ContextPtr context_;
  SessionPtr session_;
  bool resume_;
};

std::vector<double> VisitOften(int version, bool resume) {
  std::vector<std::thread> threads;
  std::vector<double> all;
  std::mutex mutex;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&, version, resume] {
      Visitor visitor(version, resume);
      if (resume) visitor.Visit();
      const std::vector<double> times = Repeat([&visitor] { visitor.Visit(); });
      const std::lock_guard lock(mutex);
      all.insert(all.end(), times.begin(), times.end());
    });
  }
  for (std::thread& thread : threads) thread.join();
  return all;
}

// A text frame of letters under a mask of zeros, and how long its echo is.
std::string Frame(std::size_t size) {
  std::string frame = "\x81";
  if (size < 126) {
    frame += static_cast<char>(0x80 | size);
  } else {
    frame += {static_cast<char>(0x80 | 126), static_cast<char>(size >> 8), static_cast<char>(size)};
  }
  return frame + std::string(4, '\0') + std::string(size, 'e');
}

void Upgrade(Connection& connection, const std::string& token) {
  connection.Write(
      "GET /websocket HTTP/1.1\r\nHost: x\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
      "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Version: 13\r\nSec-WebSocket-Protocol: " +
      token + "\r\n\r\n");
  std::string head;
  char next = 0;
  while (!head.ends_with("\r\n\r\n") && connection.Read(&next, 1) == 1) head += next;
  if (!head.starts_with("HTTP/1.1 101")) Fail("no WebSocket");
}

std::vector<double> Echo(const std::string& mode, std::size_t size, bool tls, const std::string& token) {
  const ContextPtr context = tls ? MakeContext(0) : nullptr;
  Connection connection(context.get());
  if (mode != "bytes") Upgrade(connection, token);
  const std::string frame = Frame(size);
  const std::size_t echoed = mode == "bytes" ? frame.size() : frame.size() - 4;
  const std::size_t count = mode == "pair" ? 2 : 1;
  const std::string request = mode == "pair" ? frame + frame : frame;
  return Repeat([&] {
    connection.Write(request);
    connection.ReadExactly(count * echoed);
  });
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 5) return 2;
  port = std::atoi(argv[1]);
  duration = std::chrono::milliseconds(std::atoi(argv[2]));
  const std::string mode = argv[3];
  const Clock::time_point begun = Clock::now();
  std::vector<double> times;
  if (mode == "full" || mode == "resumed") {
    times = VisitOften(std::string(argv[4]) == "1.3" ? TLS1_3_VERSION : TLS1_2_VERSION, mode == "resumed");
  } else {
    times = Echo(mode, static_cast<std::size_t>(std::atoi(argv[4])), argc > 5 && std::atoi(argv[5]) != 0,
                 argc > 6 ? argv[6] : "");
  }
  const double seconds = std::chrono::duration<double>(Clock::now() - begun).count();
  std::sort(times.begin(), times.end());
  std::printf("%zu %f %f %f\n", times.size(), seconds, times[times.size() / 2],
              times[times.size() * 99 / 100]);
  return 0;
}
