// What the library knows at one moment: the open WebSockets, and which tokens have a login.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "sdkapi/extension.h"

namespace sdkkit {

class Surroundings {
 public:
  struct Socket {
    uint64_t queuedBytes;  // that wait in the library
    std::string address;
  };

  // Looks anew; the room of the last look is kept.
  void Look();

  bool IsOpen(uint64_t id) const { return open_.contains(id); }
  bool IsValid(std::string_view token) const { return !loginIsRequired_ || tokens_.contains(token); }
  std::string AddressOf(uint64_t id) const { return open_.at(id).address; }
  const std::map<uint64_t, Socket>& open() const { return open_; }

 private:
  bool loginIsRequired_ = true;
  std::vector<SdkAPIExtWebSocket> sockets_;
  std::vector<SdkAPIExtLogin> logins_;
  std::map<uint64_t, Socket> open_;
  std::set<std::string_view> tokens_;
};

}  // namespace sdkkit
