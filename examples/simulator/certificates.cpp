// Uploaded certificates: what makes a PEM file acceptable, and where it goes.
#include "certificates.h"

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <system_error>

#include "files.h"

namespace sim {
namespace {

constexpr std::string_view kBegin = "-----BEGIN ";
constexpr std::string_view kEnd = "-----END ";
constexpr std::string_view kDashes = "-----";

// How a file that tools write begins; anything else is refused before its end is known.
constexpr std::array<std::string_view, 3> kBeginnings{kBegin, "Bag Attributes", "Certificate:"};

struct BioDeleter {
  void operator()(BIO* bio) const { BIO_free(bio); }
};
struct ContextDeleter {
  void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
};

std::unique_ptr<BIO, BioDeleter> BioOver(const std::string& block) {
  return std::unique_ptr<BIO, BioDeleter>(BIO_new_mem_buf(block.data(), static_cast<int>(block.size())));
}

// An unattended device has nobody to ask for a pass phrase.
int NoPassphrase(char*, int, int, void*) { return -1; }

bool IsText(std::string_view piece) {
  return std::all_of(piece.begin(), piece.end(), [](char c) {
    return c == '\n' || c == '\r' || c == '\t' || static_cast<unsigned char>(c) >= ' ';
  });
}

bool MayBegin(std::string_view text) {
  return std::any_of(kBeginnings.begin(), kBeginnings.end(), [&](std::string_view beginning) {
    const size_t common = std::min(beginning.size(), text.size());
    return text.substr(0, common) == beginning.substr(0, common);
  });
}

}  // namespace

bool PemReader::Feed(std::string_view piece) {
  text_.append(piece);
  if (!IsText(piece) || !MayBegin(text_)) return false;
  while (true) {
    const std::string_view text = text_;
    const size_t begin = text.find(kBegin, parsed_);
    if (begin == std::string_view::npos) return true;
    const size_t labelEnd = text.find(kDashes, begin + kBegin.size());
    if (labelEnd == std::string_view::npos) return true;
    const std::string label(text.substr(begin + kBegin.size(), labelEnd - begin - kBegin.size()));
    const std::string closing = std::string(kEnd) + label + std::string(kDashes);
    const size_t end = text.find(closing, labelEnd);
    if (end == std::string_view::npos) return true;
    parsed_ = end + closing.size();
    if (!TakeBlock(label, std::string(text.substr(begin, parsed_ - begin)) + "\n")) return false;
  }
}

bool PemReader::TakeBlock(std::string_view label, const std::string& block) {
  const bool isCertificate = label.ends_with("CERTIFICATE");
  const bool isKey = label.ends_with("PRIVATE KEY");
  bool good = true;
  // The first certificate is the server's own, those behind it are its chain.
  if (isCertificate) good = TakeCertificate(block);
  if (isKey && !key_) good = TakeKey(block);
  if (good && Complete()) good = Match();
  ERR_clear_error();
  return good;
}

bool PemReader::TakeCertificate(const std::string& block) {
  const auto bio = BioOver(block);
  std::unique_ptr<X509, X509Deleter> certificate(
      PEM_read_bio_X509_AUX(bio.get(), nullptr, NoPassphrase, nullptr));
  const bool good = certificate != nullptr;
  if (!certificate_) certificate_ = std::move(certificate);
  return good;
}

bool PemReader::TakeKey(const std::string& block) {
  const auto bio = BioOver(block);
  key_.reset(PEM_read_bio_PrivateKey(bio.get(), nullptr, NoPassphrase, nullptr));
  return key_ != nullptr;
}

// Asks a TLS context, as the server's next start will: it also refuses keys that are too weak.
bool PemReader::Match() const {
  const std::unique_ptr<SSL_CTX, ContextDeleter> context(SSL_CTX_new(TLS_server_method()));
  return context && SSL_CTX_use_certificate(context.get(), certificate_.get()) == 1 &&
         SSL_CTX_use_PrivateKey(context.get(), key_.get()) == 1 &&
         SSL_CTX_check_private_key(context.get()) == 1;
}

bool IsCertificateWithKey(const std::string& path) {
  const auto text = ReadFile(path, kCertificateLimit);
  PemReader reader;
  return text && reader.Feed(*text) && reader.Complete();
}

bool IsPortNumber(std::string_view text) {
  unsigned int port = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
  return error == std::errc() && end == text.data() + text.size() && port >= 1 && port <= 65535;
}

}  // namespace sim
