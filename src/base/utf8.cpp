// Is a text UTF-8?
#include "base/utf8.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace sdkapi {
namespace {

// Leading bytes of characters, and what their second byte may be; all further bytes are 80 to BF.
struct Form {
  unsigned char first, last;
  unsigned char following;
  unsigned char secondFirst, secondLast;
};
constexpr Form kForms[] = {
    {0xC2, 0xDF, 1, 0x80, 0xBF}, {0xE0, 0xE0, 2, 0xA0, 0xBF}, {0xE1, 0xEC, 2, 0x80, 0xBF},
    {0xED, 0xED, 2, 0x80, 0x9F}, {0xEE, 0xEF, 2, 0x80, 0xBF}, {0xF0, 0xF0, 3, 0x90, 0xBF},
    {0xF1, 0xF3, 3, 0x80, 0xBF}, {0xF4, 0xF4, 3, 0x80, 0x8F},
};

unsigned char At(std::string_view text, std::size_t index) { return static_cast<unsigned char>(text[index]); }

bool IsBetween(unsigned char byte, unsigned char first, unsigned char last) {
  return byte >= first && byte <= last;
}

// The length of the character at the front, whose first byte is above 7F; 0 when it is none.
std::size_t LengthOfFirst(std::string_view text) {
  for (const Form& form : kForms) {
    if (!IsBetween(At(text, 0), form.first, form.last)) continue;
    if (text.size() <= form.following) return 0;
    if (!IsBetween(At(text, 1), form.secondFirst, form.secondLast)) return 0;
    for (std::size_t i = 2; i <= form.following; ++i) {
      if (!IsBetween(At(text, i), 0x80, 0xBF)) return 0;
    }
    return form.following + 1;
  }
  return 0;
}

bool StartsWithEightOfAscii(std::string_view text) {
  uint64_t word = 0;
  if (text.size() < sizeof word) return false;
  std::memcpy(&word, text.data(), sizeof word);
  return (word & 0x8080808080808080) == 0;
}

}  // namespace

bool IsUtf8(std::string_view text) {
  while (!text.empty()) {
    if (StartsWithEightOfAscii(text)) {
      text.remove_prefix(sizeof(uint64_t));
      continue;
    }
    const std::size_t length = At(text, 0) < 0x80 ? 1 : LengthOfFirst(text);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

}  // namespace sdkapi
