// What the library knows at one moment: the open WebSockets, and which tokens have a login.
#include "events/surroundings.h"

#include <cstddef>

#include "base/library_list.h"
#include "sdkapi/server.h"

namespace sdkkit {

void Surroundings::Look() {
  open_.clear();
  tokens_.clear();
  loginIsRequired_ = SdkAPISer_AuthenticationSwitch_Get() == 0;  // 1 says that it is off
  const std::size_t sockets = ListAll(SdkAPIExt_WebSocket_List, sockets_);
  for (std::size_t i = 0; i < sockets; ++i)
    open_.emplace(sockets_[i].id, Socket{sockets_[i].queuedBytes, sockets_[i].address});
  if (!loginIsRequired_) return;
  const std::size_t logins = ListAll(SdkAPIExt_Login_List, logins_);
  for (std::size_t i = 0; i < logins; ++i) tokens_.insert(logins_[i].token);
}

}  // namespace sdkkit
