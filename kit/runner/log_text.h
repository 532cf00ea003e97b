// The text of a log line: without secrets, and unable to be anything but one line's text.
#pragma once

#include <string>
#include <string_view>

namespace sdkkit {

// The most bytes of a line's text in the log; the rest is left out.
inline constexpr size_t kMostLineBytes = 2048;

// Replaces what the library's lines and JSON texts hold of tokens, passwords and pass phrases by "***".
std::string WithoutSecrets(std::string_view text);

// Makes control characters, what turns the direction of writing, line separators and bytes that are no UTF-8
// visible ("\x0a"), and a backslash two, so that no text can look like another one. Cut to kMostLineBytes.
std::string AsOneLine(std::string_view text);

}  // namespace sdkkit
