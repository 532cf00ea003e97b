// The frame of a check: reads a file and judges its bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>

#include "base/file.h"
#include "base/guarded.h"
#include "base/verdict.h"

namespace sdkkit {

inline constexpr Log kContentLog{"content"};

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
