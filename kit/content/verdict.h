// What a check says: nothing for a good file, else why it is refused.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>

#include "base/file.h"
#include "base/guarded.h"

namespace sdkkit {

inline constexpr Log kContentLog{"content"};

// Gives a fault in the form of an SdkKitCheck.
inline int Verdict(const std::string& fault, char* why, std::size_t whySize) {
  std::snprintf(why, whySize, "%s", fault.c_str());
  return fault.empty() ? 0 : -1;
}

// Reads a file of at most limit bytes and asks `faultOf(bytes)`.
template <class FaultOf>
int Judge(const char* path, std::uint64_t limit, char* why, std::size_t whySize, FaultOf faultOf) noexcept {
  if (why == nullptr || whySize == 0) return -1;
  std::snprintf(why, whySize, "it cannot be checked");
  return Guarded(kContentLog, [&] {
    if (path == nullptr) return -1;
    const std::optional<std::string> bytes = ReadFile(path, limit);
    if (!bytes) return Verdict("it cannot be read, or is too large", why, whySize);
    return Verdict(faultOf(*bytes), why, whySize);
  });
}

}  // namespace sdkkit
