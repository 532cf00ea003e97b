// Fuzzes the running server through a loopback socket: bytes in, everything read until the server closes.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "support/fuzz_host.h"

namespace {

sockaddr_in Loopback(uint32_t host, int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK + host);
  return address;
}

// From one address after the other: those that closed a moment ago keep their ports for a minute.
int Connect() {
  static uint32_t host = 0;
  host = (host + 1) % 200;
  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  const int late = 1;
  setsockopt(fd, IPPROTO_IP, IP_BIND_ADDRESS_NO_PORT, &late, sizeof late);
  const sockaddr_in source = Loopback(host, 0);
  FUZZ_CHECK(bind(fd, reinterpret_cast<const sockaddr*>(&source), sizeof source) == 0);
  const sockaddr_in address = Loopback(0, fuzz::Port());
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

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  fuzz::StartUploadsAfterFinalCalls();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const int fd = Connect();
  send(fd, data, size, MSG_NOSIGNAL);
  shutdown(fd, SHUT_WR);
  char reply[4096];
  ssize_t total = 0;
  for (ssize_t got = 1; got > 0 && total < (1 << 16); total += got) {
    got = recv(fd, reply, sizeof reply, 0);
  }
  close(fd);
  return 0;
}
