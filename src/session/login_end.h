// The end of a login by the host's wish or a limit: the host is not told to log out.
#pragma once

#include "sdkapi/host.h"

namespace sdkapi {

// Sends a close frame to each WebSocket that was opened with the login, which must have been taken out. Takes
// no lock of the web server and waits for no client. Defined with the WebSocket connections.
void CloseWebSocketsOf(SdkAPISerHandle& login, const char* reason);

}  // namespace sdkapi
