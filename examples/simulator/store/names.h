// The names that users and units may have.
#pragma once

#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <string_view>

namespace sim {

// 1 to 31 of letters, digits, dot, underscore and dash.
inline bool IsName(std::string_view name) {
  constexpr std::string_view kAllowed = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789._-";
  return !name.empty() && name.size() <= 31 && name.find_first_not_of(kAllowed) == std::string_view::npos;
}

// Has each of these objects a name that no other has?
inline bool HaveOwnNames(const nlohmann::json& objects) {
  std::set<std::string> names;
  return std::all_of(objects.begin(), objects.end(), [&](const nlohmann::json& object) {
    return names.insert(object["name"].get<std::string>()).second;
  });
}

}  // namespace sim
