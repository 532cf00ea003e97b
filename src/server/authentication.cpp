// The authentication switch.
#include "server/authentication.h"

#include <atomic>

#include "sdkapi/server.h"

namespace sdkapi {
namespace {

std::atomic<int> g_NoLogin{1};

}  // namespace

bool LoginIsRequired() { return g_NoLogin.load() == 0; }

void SetLoginRequired(bool required) { g_NoLogin.store(required ? 0 : 1); }

}  // namespace sdkapi

int SdkAPISer_AuthenticationSwitch_Set(int on) {
  if (on == 0 || on == 1) sdkapi::SetLoginRequired(on == 1);
  return 0;
}

// Deliberately the opposite of the value given to the setter: hosts read it as "authentication is off".
int SdkAPISer_AuthenticationSwitch_Get(void) { return sdkapi::g_NoLogin.load(); }
