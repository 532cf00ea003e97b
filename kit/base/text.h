// The bounded copy into a record, and lines that stay one line.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <string>

namespace sdkkit {

// Cut where it has no room.
template <std::size_t kSize>
void CopyText(char (&to)[kSize], const std::string& text) {
  std::snprintf(to, kSize, "%s", text.c_str());
}

// Up to its NUL the text holds no control character afterwards, whatever a client sent.
template <std::size_t kSize>
void HideControls(std::array<char, kSize>& text) {
  const auto isControl = [](char letter) {
    return static_cast<unsigned char>(letter) < 0x20 || letter == 0x7f;
  };
  std::replace_if(text.begin(), std::find(text.begin(), text.end(), '\0'), isControl, '?');
}

}  // namespace sdkkit
