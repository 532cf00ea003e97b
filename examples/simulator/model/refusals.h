// Why uploads were refused, for those who sent them: the answer itself has no room for it.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace sim {

// Keeps the reason for the login of this token, until its next upload to the same place ends.
void NoteRefusal(const std::string& token, const std::string& route, const std::string& reason);
void ForgetRefusal(const std::string& token, const std::string& route);

// [{"route","reason","age"},...], the newest first.
nlohmann::json RefusalsOf(const std::string& token);

}  // namespace sim
