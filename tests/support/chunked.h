// A body as "Transfer-Encoding: chunked" has it.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>

namespace sdktest {

// The bytes in chunks of this size, the last one shorter, and the chunk that ends them.
inline std::string Chunked(const std::string& bytes, std::size_t chunk) {
  std::string framed;
  for (std::size_t at = 0; at < bytes.size(); at += chunk) {
    const std::string part = bytes.substr(at, chunk);
    char size[24];
    std::snprintf(size, sizeof size, "%zx\r\n", part.size());
    framed += size + part + "\r\n";
  }
  return framed + "0\r\n\r\n";
}

}  // namespace sdktest
