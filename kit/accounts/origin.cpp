// The comparison of origins.
#include "accounts/origin.h"

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

}  // namespace

bool IsForeignPage(std::string_view host, std::string_view origin, std::string_view fetchSite) {
  // "same-site" is another port of this host, or a neighbour below the same domain.
  if (!fetchSite.empty() && fetchSite != "same-origin" && fetchSite != "none") return true;
  return !origin.empty() && !IsOfHost(origin, host);
}

}  // namespace sdkkit::accounts
