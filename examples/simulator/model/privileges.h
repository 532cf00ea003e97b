// Privilege pictures: which are stored, and to which units they are bound.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace sim {

std::string PrivilegePath(const std::string& picture);

// {"PICTURE":["UNIT",...],...}
nlohmann::json ExportBindings();
// An empty text for bindings that StoreBindings takes, else what is wrong with them.
std::string BindingsFault(const nlohmann::json& bindings);
// Replaces all bindings; false when a unit is not there.
bool StoreBindings(const nlohmann::json& bindings);

}  // namespace sim
