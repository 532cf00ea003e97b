// SHA-256 of bytes that arrive piece by piece.
#pragma once

#include <openssl/evp.h>

#include <memory>
#include <string>
#include <string_view>

namespace sdkkit {

class Digest {
 public:
  // Throws std::bad_alloc when memory is short.
  Digest();

  void Add(std::string_view bytes);
  // The hash as 64 hexadecimal digits; nothing may be added afterwards.
  std::string Finish();

 private:
  struct Free {
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
  };

  std::unique_ptr<EVP_MD_CTX, Free> context_;
};

}  // namespace sdkkit
