// The one bounded copy of text into a fixed array.
#pragma once

#include <cstddef>
#include <cstring>

namespace sdkapi {

// Cuts the text to the array and zero-fills what it leaves.
template <std::size_t kSize>
void CopyText(char (&dst)[kSize], const char* text) {
  const std::size_t length = strnlen(text, kSize - 1);
  std::memcpy(dst, text, length);
  std::memset(dst + length, 0, kSize - length);
}

// For arrays that the host filled: a forgotten NUL must not lead past the end.
template <std::size_t kSize>
void Terminate(char (&text)[kSize]) {
  text[kSize - 1] = '\0';
}

}  // namespace sdkapi
