// Whether requests need a token.
#pragma once

namespace sdkapi {

// False until the host switches authentication on.
bool LoginIsRequired();

// Also what the host answered to a client's question whether a login is required.
void SetLoginRequired(bool required);

}  // namespace sdkapi
