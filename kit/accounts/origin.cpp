// The comparison of origins.
#include "accounts/origin.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cctype>

namespace sdkkit::accounts {
namespace {

bool IsSameText(std::string_view one, std::string_view other) {
  return std::ranges::equal(one, other, [](unsigned char left, unsigned char right) {
    return std::tolower(left) == std::tolower(right);
  });
}

bool IsOfHost(std::string_view origin, std::string_view host) {
  const std::size_t separator = origin.find("://");
  return separator != std::string_view::npos && !host.empty() &&
         IsSameText(origin.substr(separator + 3), host);
}

// Of "name:8080" the name, of "[::1]:8080" the address.
std::string NameIn(std::string_view host) {
  if (!host.starts_with('[')) return std::string(host.substr(0, host.find(':')));
  host.remove_prefix(1);
  return std::string(host.substr(0, host.find(']')));
}

bool IsAddress(const std::string& name) {
  in6_addr address{};
  return inet_pton(AF_INET, name.c_str(), &address) == 1 || inet_pton(AF_INET6, name.c_str(), &address) == 1;
}

}  // namespace

bool IsForeignPage(std::string_view host, std::string_view origin, std::string_view fetchSite) {
  // "same-site" is another port of this host, or a neighbour below the same domain.
  if (!fetchSite.empty() && fetchSite != "same-origin" && fetchSite != "none") return true;
  return !origin.empty() && !IsOfHost(origin, host);
}

// Each browser's name begins so, and no page can have it say another in such a request.
bool IsSilentBrowser(std::string_view userAgent, std::string_view origin, std::string_view fetchSite) {
  return userAgent.starts_with("Mozilla/") && origin.empty() && fetchSite.empty();
}

bool IsForeignName(std::string_view host, const std::vector<std::string>& ownNames) {
  const std::string name = NameIn(host);
  if (host.empty() || IsSameText(name, "localhost") || IsAddress(name)) return false;
  return std::ranges::none_of(ownNames, [&](const std::string& own) { return IsSameText(name, own); });
}

}  // namespace sdkkit::accounts
