// Whether requests need a token.
#pragma once

namespace sdkapi {

// True until the host switches authentication on.
bool AuthenticationIsOff();

// What the host answered to a client's question whether a login is required.
void SetAuthenticationOff(bool off);

}  // namespace sdkapi
