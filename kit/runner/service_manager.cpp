// What the service manager is told: ready, stopping, alive. Without one nothing happens.
#include "runner/service_manager.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "base/file.h"

namespace sdkkit {
namespace {

// For a manager that is slow to read: without a "READY=1" it would end the service.
constexpr timeval kPatience{.tv_sec = 1, .tv_usec = 0};

const char* Variable(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? "" : value;
}

// Half the time that the manager waits; zero unless it waits for this process.
std::chrono::milliseconds Interval() {
  const char* const process = Variable("WATCHDOG_PID");
  if (*process != '\0' && std::strtol(process, nullptr, 10) != getpid()) return {};
  const long long microseconds = std::strtoll(Variable("WATCHDOG_USEC"), nullptr, 10);
  return std::chrono::milliseconds(microseconds > 0 ? microseconds / 2000 : 0);
}

}  // namespace

ServiceManager::ServiceManager() : socket_(Variable("NOTIFY_SOCKET")), interval_(Interval()) {}

void ServiceManager::Tell(std::string_view message) const {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (socket_.empty() || socket_.size() >= sizeof address.sun_path) return;
  std::memcpy(address.sun_path, socket_.data(), socket_.size());
  if (address.sun_path[0] == '@') address.sun_path[0] = '\0';  // a name outside of the file system
  const FileDescriptor client(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  setsockopt(client.get(), SOL_SOCKET, SO_SNDTIMEO, &kPatience, sizeof kPatience);
  const void* const generic = &address;
  const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + socket_.size());
  sendto(client.get(), message.data(), message.size(), MSG_NOSIGNAL, static_cast<const sockaddr*>(generic),
         size);
}

}  // namespace sdkkit
