// Versions of firmware, and which one is newer.
#include "firmware/version.h"

#include <algorithm>
#include <charconv>

#include "sdkapi/kit_firmware.h"

namespace sdkkit::firmware {
namespace {

constexpr std::size_t kMostDigits = 9;

bool IsSuffix(std::string_view text) {
  return !text.empty() && std::ranges::all_of(text, [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.';
  });
}

// The next number; text then begins behind it.
std::optional<uint32_t> TakeNumber(std::string_view& text) {
  uint32_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  const auto digits = static_cast<std::size_t>(end - text.data());
  if (error != std::errc() || digits > kMostDigits) return std::nullopt;
  text.remove_prefix(digits);
  return number;
}

}  // namespace

std::optional<Version> Version::Parse(std::string_view text) {
  if (text.size() >= kKitFirmwareVersionSize) return std::nullopt;
  Version version;
  for (std::size_t place = 0;; ++place) {
    const auto number = place < version.numbers.size() ? TakeNumber(text) : std::nullopt;
    if (!number) return std::nullopt;
    version.numbers[place] = *number;
    if (text.empty()) return version;
    const char separator = text.front();
    text.remove_prefix(1);
    if (separator == '.') continue;
    if (separator != '-' || !IsSuffix(text)) return std::nullopt;
    version.suffix = text;
    return version;
  }
}

std::strong_ordering Version::operator<=>(const Version& other) const {
  if (numbers != other.numbers) return numbers <=> other.numbers;
  if (suffix.empty() != other.suffix.empty()) return suffix.empty() <=> other.suffix.empty();
  return suffix <=> other.suffix;
}

}  // namespace sdkkit::firmware

int SdkKitFirmware_Version_Compare(const char* left, const char* right) {
  using sdkkit::firmware::Version;
  if (left == nullptr || right == nullptr) return 0;
  const auto one = Version::Parse(left);
  const auto two = Version::Parse(right);
  if (!one || !two || *one == *two) return 0;
  return *one < *two ? -1 : 1;
}
