// What OpenSSL says and asks.
#include "certificate/owned.h"

#include <openssl/err.h>

#include <algorithm>
#include <cstring>

namespace sdkkit {

std::string OpenSslReason() {
  const char* const reason = ERR_reason_error_string(ERR_peek_error());
  std::string text = reason == nullptr ? "no reason" : reason;
  ERR_clear_error();
  return text;
}

int GivePassPhrase(char* buffer, int size, int /*writing*/, void* phrase) {
  const auto* const text = static_cast<const char*>(phrase);
  const std::size_t length = text == nullptr ? 0 : std::strlen(text);
  if (length == 0 || length > static_cast<std::size_t>(size)) return -1;
  std::copy_n(text, length, buffer);
  return static_cast<int>(length);
}

}  // namespace sdkkit
