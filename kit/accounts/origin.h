// Whether a browser asks on behalf of somebody else's page.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace sdkkit::accounts {

// By what the browser says: "Origin" beside "Host", and "Sec-Fetch-Site". Empty texts are what other clients
// send.
bool IsForeignPage(std::string_view host, std::string_view origin, std::string_view fetchSite);

// Whether a browser asks and says nothing of the page. So do links, pictures and scripts of any page on plain
// HTTP: "Sec-Fetch-Site" goes to secure addresses only, and GET and HEAD need not bring an "Origin".
bool IsSilentBrowser(std::string_view userAgent, std::string_view origin, std::string_view fetchSite);

// Whether somebody else may have made this "Host" lead here: a page that was loaded under a name of its own
// can have the name lead to this device afterwards, and is of one origin with it then. Nobody can do so with
// an address, "localhost", or a name of the device. An empty text is what other clients send.
bool IsForeignName(std::string_view host, const std::vector<std::string>& ownNames);

}  // namespace sdkkit::accounts
