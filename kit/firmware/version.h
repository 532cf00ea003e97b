// Versions of firmware, and which one is newer.
#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace sdkkit::firmware {

// "1.10.2" or "2.0-rc1": up to four numbers, and a suffix that makes it older than the same without.
struct Version {
  std::array<uint32_t, 4> numbers{};
  std::string suffix;

  // Nothing for what is no version, or longer than 15 characters.
  static std::optional<Version> Parse(std::string_view text);

  std::strong_ordering operator<=>(const Version& other) const;
  bool operator==(const Version& other) const = default;
};

}  // namespace sdkkit::firmware
