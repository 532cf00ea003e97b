// Privilege pictures: which are stored, and to which units they are bound.
#pragma once

#include <cstddef>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace sim {

// What a list of the interface holds; the device has fewer units.
inline constexpr std::size_t kMostBoundUnits = 99;

struct PrivilegePicture {
  std::string name;
  std::vector<std::string> units;
};

std::vector<PrivilegePicture> ListPrivileges();

// False when there is no such picture or unit.
bool BindPrivilege(const std::string& picture, const std::string& unit);
// With its bindings; false when there is no such picture or it stays.
bool DeletePrivilege(const std::string& picture);

// {"PICTURE":["UNIT",...],...}
nlohmann::json ExportBindings();
// An empty text for bindings that StoreBindings takes, else what is wrong with them.
std::string BindingsFault(const nlohmann::json& bindings);
// Replaces all bindings; false when a unit is not there.
bool StoreBindings(const nlohmann::json& bindings);

}  // namespace sim
