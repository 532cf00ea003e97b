// The names that users and units may have.
#pragma once

#include <algorithm>
#include <string_view>

namespace sim {

// 1 to 31 of letters, digits, dot, underscore and dash.
inline bool IsName(std::string_view name) {
  constexpr std::string_view kAllowed = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789._-";
  return !name.empty() && name.size() <= 31 && name.find_first_not_of(kAllowed) == std::string_view::npos;
}

}  // namespace sim
