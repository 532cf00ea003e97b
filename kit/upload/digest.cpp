// SHA-256 of bytes that arrive piece by piece.
#include "upload/digest.h"

#include <array>
#include <new>

namespace sdkkit {

Digest::Digest() : context_(EVP_MD_CTX_new()) {
  if (!context_ || EVP_DigestInit_ex(context_.get(), EVP_sha256(), nullptr) != 1) throw std::bad_alloc();
}

void Digest::Add(std::string_view bytes) { EVP_DigestUpdate(context_.get(), bytes.data(), bytes.size()); }

std::string Digest::Finish() {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::array<unsigned char, EVP_MAX_MD_SIZE> hash{};
  unsigned int length = 0;
  EVP_DigestFinal_ex(context_.get(), hash.data(), &length);
  std::string text;
  for (unsigned int i = 0; i < length; ++i) {
    text += kDigits[hash[i] >> 4];
    text += kDigits[hash[i] & 0xf];
  }
  return text;
}

}  // namespace sdkkit
