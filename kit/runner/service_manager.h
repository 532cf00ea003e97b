// What the service manager is told: ready, stopping, alive. Without one nothing happens.
#pragma once

#include <chrono>
#include <string>
#include <string_view>

namespace sdkkit {

class ServiceManager {
 public:
  // Reads NOTIFY_SOCKET, WATCHDOG_USEC and WATCHDOG_PID of the environment.
  ServiceManager();

  // One message of the protocol, such as "READY=1".
  void Tell(std::string_view message) const;

  // How often a sign of life is due; zero when nobody waits for one.
  std::chrono::milliseconds interval() const { return interval_; }

 private:
  std::string socket_;
  std::chrono::milliseconds interval_{0};
};

}  // namespace sdkkit
