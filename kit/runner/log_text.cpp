// The text of a log line: without secrets, and unable to be anything but one line's text.
#include "runner/log_text.h"

#include <array>
#include <cstdint>
#include <cstdio>

namespace sdkkit {
namespace {

constexpr std::string_view kMask = "***";

// What a line of the library has around a secret. The secret reaches to the last place where the text behind
// it stands: a client's token may hold that text itself.
struct Around {
  std::string_view before;
  std::string_view after;
};
constexpr Around kLibraryLines[] = {
    {"req http token ", " ["}, {"https cert passwd is [", "] ["}, {"token = ", " and g_NoLogin"},
    {"userid [", "] login"},   {"GetLoginHandle err ", "!!!!"},
};

// Members of JSON texts, such as the answer to a login.
constexpr std::string_view kMembers[] = {"token",     "password", "oldpassword", "newpassword", "oldpasswd",
                                         "newpasswd", "passwd",   "passphrase",  "userpassword"};

// False when the text does not begin as the line does.
bool MaskLibraryLine(std::string& text, const Around& around) {
  if (!text.starts_with(around.before)) return false;
  const std::size_t begin = around.before.size();
  const std::size_t end = text.rfind(around.after);
  const std::size_t length = end == std::string::npos || end < begin ? std::string::npos : end - begin;
  if (length != 0) text.replace(begin, length, kMask);
  return true;
}

// The end of a JSON string that begins behind its first quote.
std::size_t EndOfString(std::string_view text, std::size_t begin) {
  std::size_t end = begin;
  while (end < text.size() && text[end] != '"') end += text[end] == '\\' ? 2 : 1;
  return end < text.size() ? end : text.size();
}

bool EqualIgnoringCase(std::string_view text, std::string_view lower) {
  if (text.size() != lower.size()) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char letter = text[i];
    if ((letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + 32) : letter) != lower[i]) return false;
  }
  return true;
}

bool IsSecretMember(std::string_view name) {
  for (const std::string_view member : kMembers) {
    if (EqualIgnoringCase(name, member)) return true;
  }
  return false;
}

// Of a member whose name ends at the quote: where its text begins, behind the quote; or nothing.
std::size_t ValueBehind(std::string_view text, std::size_t quote) {
  std::size_t at = text.find_first_not_of(" \t", quote + 1);
  if (at == std::string_view::npos || text[at] != ':') return std::string_view::npos;
  at = text.find_first_not_of(" \t", at + 1);
  return at == std::string_view::npos || text[at] != '"' ? std::string_view::npos : at + 1;
}

void MaskMembers(std::string& text) {
  for (std::size_t quote = text.find('"'); quote < text.size();) {
    const std::size_t end = EndOfString(text, quote + 1);
    const std::size_t value = ValueBehind(text, end);
    if (value != std::string::npos &&
        IsSecretMember(std::string_view(text).substr(quote + 1, end - quote - 1))) {
      text.replace(value, EndOfString(text, value) - value, kMask);
      quote = text.find('"', value + kMask.size() + 1);
    } else {
      quote = text.find('"', end + 1);
    }
  }
}

// One character of UTF-8; no length when the bytes are none.
struct Character {
  uint32_t code;
  std::size_t length;
};

Character CharacterAt(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  if (byte(0) < 0x80) return {byte(0), 1};
  const std::size_t length = byte(0) >= 0xf0 ? 4 : byte(0) >= 0xe0 ? 3 : 2;
  if (byte(0) < 0xc2 || byte(0) > 0xf4 || text.size() < length) return {0, 0};
  uint32_t code = byte(0) & (0x7fU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xc0) != 0x80) return {0, 0};
    code = code << 6 | (byte(i) & 0x3fU);
  }
  constexpr std::array<uint32_t, 5> kLeast = {0, 0, 0x80, 0x800, 0x10000};
  const bool good = code >= kLeast[length] && code <= 0x10ffff && (code < 0xd800 || code > 0xdfff);
  return good ? Character{code, length} : Character{0, 0};
}

// Control characters, line and paragraph separators, and what turns the direction of writing.
bool Misleads(uint32_t code) {
  return code < 0x20 || (code >= 0x7f && code < 0xa0) || (code >= 0x200e && code <= 0x200f) ||
         (code >= 0x2028 && code <= 0x202e) || (code >= 0x2066 && code <= 0x2069) || code == 0xfeff;
}

void AppendVisible(std::string& line, std::string_view bytes) {
  for (const char byte : bytes) {
    std::array<char, 5> escape{};
    std::snprintf(escape.data(), escape.size(), "\\x%02x",
                  static_cast<unsigned>(static_cast<unsigned char>(byte)));
    line += escape.data();
  }
}

}  // namespace

std::string WithoutSecrets(std::string_view text) {
  std::string masked(text);
  for (const Around& around : kLibraryLines) {
    if (MaskLibraryLine(masked, around)) return masked;
  }
  MaskMembers(masked);
  return masked;
}

std::string AsOneLine(std::string_view text) {
  std::string line;
  while (!text.empty() && line.size() < kMostLineBytes) {
    const Character character = CharacterAt(text);
    const std::size_t length = character.length == 0 ? 1 : character.length;
    if (character.length == 0 || Misleads(character.code)) {
      AppendVisible(line, text.substr(0, length));
    } else {
      line += text.substr(0, length);
      if (character.code == '\\') line += '\\';
    }
    text.remove_prefix(length);
  }
  return line;
}

}  // namespace sdkkit
