// Uploaded certificates: what makes a PEM file acceptable, and where it goes.
#pragma once

#include <openssl/evp.h>
#include <openssl/x509.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace sim {

inline constexpr size_t kCertificateLimit = size_t{256} << 10;
inline constexpr const char* kServerCertificate = "tls/server.pem";
inline constexpr const char* kPortCertificate = "tls/ieee802_1x.pem";
inline constexpr const char* kPortNumberFile = "tls/ieee802_1x.port";

// Reads a PEM file piece by piece. It can refuse early: at the first block that is broken, encrypted or does
// not match.
class PemReader {
 public:
  // False when no continuation can make the file acceptable.
  bool Feed(std::string_view piece);
  // True when certificate and key are there and belong together.
  bool Complete() const { return certificate_ && key_; }

 private:
  struct X509Deleter {
    void operator()(X509* certificate) const { X509_free(certificate); }
  };
  struct KeyDeleter {
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
  };

  bool TakeBlock(std::string_view label, const std::string& block);
  bool TakeCertificate(const std::string& block);
  bool TakeKey(const std::string& block);
  bool Match() const;

  std::string text_;
  size_t parsed_ = 0;
  std::unique_ptr<X509, X509Deleter> certificate_;
  std::unique_ptr<EVP_PKEY, KeyDeleter> key_;
};

bool IsCertificateWithKey(const std::string& path);

// A port as the "Port" header gives it: 1 to 65535 in decimal digits.
bool IsPortNumber(std::string_view text);

}  // namespace sim
