// The settings as one zip archive: export, test and import.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace sim {

inline constexpr size_t kSettingsLimit = size_t{128} << 20;

// Writes the archive for a method ("" means "full") and gives its path; empty optional for an unknown method
// or when it cannot be written.
std::optional<std::string> ExportSettings(std::string_view method);

// Does this method's archive hold password hashes?
bool HoldsUsers(std::string_view method);

// Takes over what the archive holds, after every entry of it was found sound; false leaves the device as it
// was.
bool ImportSettings(const std::string& path);

}  // namespace sim
