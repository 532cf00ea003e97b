// A raw client connection, plain or TLS, that sends and reads literal bytes under a deadline.
#include "connection.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/err.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace integration {
namespace {

SSL_CTX* ClientContext() {
  static SSL_CTX* const context = [] {
    SSL_CTX* const made = SSL_CTX_new(TLS_client_method());
    SSL_CTX_set_options(made, SSL_OP_IGNORE_UNEXPECTED_EOF);
    SSL_CTX_set_mode(made, SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
    return made;
  }();
  return context;
}

}  // namespace

Connection::Connection(int port, bool tls, int receiveBuffer, const char* from) {
  fd_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (receiveBuffer > 0) setsockopt(fd_, SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  inet_pton(AF_INET, from, &address.sin_addr);
  if (bind(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) return;
  address.sin_port = htons(static_cast<uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (connect(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) return;
  const int one = 1;
  setsockopt(fd_, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
  fcntl(fd_, F_SETFL, fcntl(fd_, F_GETFL) | O_NONBLOCK);
  connected_ = !tls || Handshake();
}

Connection::~Connection() { Close(); }

bool Connection::Handshake() {
  ssl_ = SSL_new(ClientContext());
  SSL_set_fd(ssl_, fd_);
  const auto deadline = Clock::now() + kPatience;
  for (;;) {
    const int result = SSL_connect(ssl_);
    if (result == 1) return true;
    if (!Retry(result, deadline, End::kTimeout)) return false;
  }
}

bool Connection::WaitFor(short events, Clock::time_point deadline) {
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
  pollfd entry{fd_, events, 0};
  return poll(&entry, 1, static_cast<int>(std::max<long long>(left, 0))) > 0;
}

// Waits for what the TLS layer needs; false when it is over.
bool Connection::Retry(int result, Clock::time_point deadline, End onTimeout) {
  const int error = SSL_get_error(ssl_, result);
  if (error == SSL_ERROR_WANT_READ || error == SSL_ERROR_WANT_WRITE) {
    const short events = static_cast<short>(error == SSL_ERROR_WANT_READ ? POLLIN : POLLOUT);
    if (WaitFor(events, deadline)) return true;
    end_ = onTimeout;
    return false;
  }
  end_ = error == SSL_ERROR_ZERO_RETURN ? End::kEof : End::kReset;
  ERR_clear_error();
  return false;
}

bool Connection::Send(const std::string& bytes) {
  if (!connected_) return false;
  Rendezvous();
  const auto deadline = Clock::now() + kPatience;
  std::size_t sent = 0;
  while (sent < bytes.size()) {
    if (ssl_ != nullptr) {
      const std::size_t left = std::min<std::size_t>(bytes.size() - sent, 16384);
      const int result = SSL_write(ssl_, bytes.data() + sent, static_cast<int>(left));
      if (result > 0) {
        sent += static_cast<std::size_t>(result);
      } else if (!Retry(result, deadline, End::kTimeout)) {
        return false;
      }
      continue;
    }
    const ssize_t result = send(fd_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (result > 0) {
      sent += static_cast<std::size_t>(result);
    } else if (errno != EAGAIN || !WaitFor(POLLOUT, deadline)) {
      return false;
    }
  }
  return true;
}

std::string Connection::OnTheWire(const std::string& bytes) {
  if (ssl_ == nullptr) return bytes;
  BIO* const memory = BIO_new(BIO_s_mem());
  SSL_set0_wbio(ssl_, memory);
  for (std::size_t sent = 0; sent < bytes.size(); sent += 16384) {
    SSL_write(ssl_, bytes.data() + sent, static_cast<int>(std::min<std::size_t>(bytes.size() - sent, 16384)));
  }
  char* wire = nullptr;
  const long size = BIO_get_mem_data(memory, &wire);
  const std::string result(wire, static_cast<std::size_t>(size));
  SSL_set0_wbio(ssl_, BIO_new_socket(fd_, BIO_NOCLOSE));
  return result;
}

bool Connection::SendRaw(const std::string& bytes) {
  const auto deadline = Clock::now() + kPatience;
  std::size_t sent = 0;
  while (sent < bytes.size()) {
    const ssize_t result = send(fd_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (result > 0) {
      sent += static_cast<std::size_t>(result);
    } else if (errno != EAGAIN || !WaitFor(POLLOUT, deadline)) {
      end_ = End::kReset;
      return false;
    }
  }
  return true;
}

std::string Connection::TakeRaw(std::size_t most) {
  std::string bytes(most, '\0');
  const ssize_t result = recv(fd_, bytes.data(), bytes.size(), 0);
  if (result == 0) end_ = End::kEof;
  if (result < 0 && errno != EAGAIN) end_ = End::kReset;
  bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(result, 0)));
  return bytes;
}

bool Connection::ReadSome(Clock::time_point deadline) {
  char buffer[65536];
  if (!connected_ || end_ == End::kEof || end_ == End::kReset) return false;
  end_ = End::kOpen;
  if (ssl_ != nullptr) {
    const int result = SSL_read(ssl_, buffer, sizeof buffer);
    if (result <= 0) return Retry(result, deadline, End::kTimeout);
    received_.append(buffer, static_cast<std::size_t>(result));
    return true;
  }
  const ssize_t result = recv(fd_, buffer, sizeof buffer, 0);
  if (result > 0) {
    received_.append(buffer, static_cast<std::size_t>(result));
    return true;
  }
  if (result < 0 && errno == EAGAIN) {
    if (WaitFor(POLLIN, deadline)) return true;
    end_ = End::kTimeout;
    return false;
  }
  end_ = result == 0 ? End::kEof : End::kReset;
  return false;
}

const std::string& Connection::ReadToEnd() {
  const auto deadline = Clock::now() + kPatience;
  while (ReadSome(deadline) && Clock::now() < deadline) {
  }
  Rendezvous();
  return received_;
}

bool Connection::ReadUntil(const std::function<bool(const std::string&)>& condition) {
  const auto deadline = Clock::now() + kPatience;
  while (!condition(received_) && ReadSome(deadline)) {
  }
  Rendezvous();
  return condition(received_);
}

bool Connection::ReadUntilSize(std::size_t size) {
  return ReadUntil([size](const std::string& bytes) { return bytes.size() >= size; });
}

std::size_t Connection::DropReceived() {
  const std::size_t size = received_.size();
  received_.clear();
  return size;
}

bool Connection::StaysOpen(std::chrono::milliseconds time) {
  const std::size_t before = received_.size();
  const auto deadline = Clock::now() + time;
  while (ReadSome(deadline)) {
    if (received_.size() != before) return false;
  }
  const bool open = end_ == End::kTimeout;
  if (open) end_ = End::kOpen;
  return open;
}

void Connection::FinishSending() {
  if (ssl_ != nullptr) SSL_shutdown(ssl_);
  shutdown(fd_, SHUT_WR);
}

void Connection::Close() {
  if (ssl_ != nullptr) SSL_free(ssl_);
  ssl_ = nullptr;
  if (fd_ >= 0) close(fd_);
  fd_ = -1;
  connected_ = false;
}

void Connection::Abort() {
  const linger hard{1, 0};
  setsockopt(fd_, SOL_SOCKET, SO_LINGER, &hard, sizeof hard);
  Close();
}

}  // namespace integration
