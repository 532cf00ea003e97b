// Whether a browser asks on behalf of somebody else's page.
#pragma once

#include <string_view>

namespace sdkkit::accounts {

// By what the browser says: "Origin" beside "Host", and "Sec-Fetch-Site". Empty texts are what other clients
// send.
bool IsForeignPage(std::string_view host, std::string_view origin, std::string_view fetchSite);

}  // namespace sdkkit::accounts
