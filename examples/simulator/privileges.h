// Privilege pictures: which are stored, and to which units they are bound.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace sim {

std::string PrivilegePath(const std::string& picture);

// {"PICTURE":["UNIT",...],...}
nlohmann::json ExportBindings();
// Replaces all bindings; false when the document has another form.
bool ImportBindings(const nlohmann::json& bindings);

void ClearPrivileges();

}  // namespace sim
