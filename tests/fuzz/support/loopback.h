// Connections to the running server from this machine, by the thousands a second.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <string_view>

#include "fuzz_host.h"

namespace fuzz {

inline sockaddr_in Loopback(uint32_t host, int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK + host);
  return address;
}

// From one address after the other: those that closed a moment ago keep their ports for a minute.
inline int Connect() {
  static std::atomic<uint32_t> hosts{0};
  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  const int late = 1;
  setsockopt(fd, IPPROTO_IP, IP_BIND_ADDRESS_NO_PORT, &late, sizeof late);
  const sockaddr_in source = Loopback(++hosts % 200, 0);
  FUZZ_CHECK(bind(fd, reinterpret_cast<const sockaddr*>(&source), sizeof source) == 0);
  const sockaddr_in address = Loopback(0, Port());
  int attempts = 10000;
  while (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    FUZZ_CHECK(--attempts > 0);
    usleep(1000);
  }
  // A reset instead of a wait state: thousands of connections a second would use up the ports.
  const linger reset{1, 0};
  setsockopt(fd, SOL_SOCKET, SO_LINGER, &reset, sizeof reset);
  return fd;
}

inline void Send(int fd, std::string_view bytes) { send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL); }

// Nothing more is sent; what comes is thrown away until the server closes.
inline void Finish(int fd) {
  shutdown(fd, SHUT_WR);
  char reply[4096];
  ssize_t total = 0;
  for (ssize_t got = 1; got > 0 && total < (1 << 16); total += got) {
    got = recv(fd, reply, sizeof reply, 0);
  }
  close(fd);
}

}  // namespace fuzz
