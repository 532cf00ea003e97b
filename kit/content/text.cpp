// Texts: JSON within bounds, and plain UTF-8.
#include <algorithm>
#include <cstdint>
#include <string>

#include "base/json.h"
#include "content/judge.h"
#include "sdkapi/kit_content.h"

namespace sdkkit {
namespace {

constexpr std::uint64_t kMostBytes = std::uint64_t{1} << 20;

bool IsControl(char letter) {
  const auto code = static_cast<unsigned char>(letter);
  return (code < 0x20 && letter != '\t' && letter != '\r' && letter != '\n') || code == 0x7f;
}

std::string TextFault(const std::string& text) {
  if (std::any_of(text.begin(), text.end(), IsControl)) return "it holds control characters";
  return IsUtf8(text) ? "" : "it is not UTF-8";
}

}  // namespace
}  // namespace sdkkit

int SdkKitContent_Json(const char* path, char* why, size_t whySize) {
  using namespace sdkkit;
  return Judge(path, kMostBytes, why, whySize, [](const std::string& text) { return JsonFault(text); });
}

int SdkKitContent_Text(const char* path, char* why, size_t whySize) {
  using namespace sdkkit;
  return Judge(path, kMostBytes, why, whySize, TextFault);
}
