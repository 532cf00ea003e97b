// The device's own certificate, made on first start.
#include "tls_identity.h"

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/x509v3.h>
#include <sodium.h>

#include <array>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include "certificates.h"
#include "files.h"

namespace sim {
namespace {

constexpr const char* kPassPhraseFile = "tls/passphrase";
constexpr int kKeyBits = 2048;  // RSA: the server's TLS 1.2 cipher list asks for it
constexpr long kLifetime = 10L * 365 * 24 * 3600;

struct FreeKey {
  void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
};
struct FreeCertificate {
  void operator()(X509* certificate) const { X509_free(certificate); }
};
struct FreeExtension {
  void operator()(X509_EXTENSION* extension) const { X509_EXTENSION_free(extension); }
};
struct FreeBio {
  void operator()(BIO* bio) const { BIO_free(bio); }
};
using KeyPtr = std::unique_ptr<EVP_PKEY, FreeKey>;
using BioPtr = std::unique_ptr<BIO, FreeBio>;
using CertificatePtr = std::unique_ptr<X509, FreeCertificate>;

std::string ReadPassPhrase() {
  std::string phrase;
  std::getline(std::ifstream(kPassPhraseFile), phrase);
  return phrase;
}

void Store(const std::string& path, std::string_view text) {
  if (!ReplaceFile(path, text)) throw std::runtime_error(path + " cannot be written");
}

std::string MakePassPhrase() {
  std::array<unsigned char, 16> bytes{};
  randombytes_buf(bytes.data(), bytes.size());
  std::array<char, 33> text{};
  sodium_bin2hex(text.data(), text.size(), bytes.data(), bytes.size());
  const std::string phrase = text.data();
  Store(kPassPhraseFile, phrase + '\n');
  return phrase;
}

void AddExtension(X509* certificate, int nid, const char* value) {
  X509V3_CTX context;
  X509V3_set_ctx(&context, certificate, certificate, nullptr, nullptr, 0);
  const std::unique_ptr<X509_EXTENSION, FreeExtension> extension(
      X509V3_EXT_conf_nid(nullptr, &context, nid, value));
  if (extension) X509_add_ext(certificate, extension.get(), -1);
}

CertificatePtr MakeCertificate(EVP_PKEY* key) {
  CertificatePtr certificate(X509_new());
  X509_set_version(certificate.get(), X509_VERSION_3);
  ASN1_INTEGER_set_int64(X509_get_serialNumber(certificate.get()),
                         static_cast<int64_t>(randombytes_random()));
  X509_gmtime_adj(X509_getm_notBefore(certificate.get()), 0);
  X509_gmtime_adj(X509_getm_notAfter(certificate.get()), kLifetime);
  X509_set_pubkey(certificate.get(), key);
  X509_NAME* const name = X509_get_subject_name(certificate.get());
  constexpr std::array<unsigned char, 7> kCommonName = {'S', 'I', 'M', '-', '8', 'X', '8'};
  X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, kCommonName.data(),
                             static_cast<int>(kCommonName.size()), -1, 0);
  X509_set_issuer_name(certificate.get(), name);
  AddExtension(certificate.get(), NID_subject_alt_name, "DNS:localhost,IP:127.0.0.1,IP:::1");
  if (X509_sign(certificate.get(), key, EVP_sha256()) == 0)
    throw std::runtime_error("the certificate cannot be signed");
  return certificate;
}

void WriteIdentity(const std::string& phrase) {
  const KeyPtr key(EVP_RSA_gen(kKeyBits));
  if (!key) throw std::runtime_error("no TLS key can be made");
  const CertificatePtr certificate = MakeCertificate(key.get());
  const BioPtr pem(BIO_new(BIO_s_mem()));
  const bool composed = pem && PEM_write_bio_X509(pem.get(), certificate.get()) == 1 &&
                        PEM_write_bio_PKCS8PrivateKey(pem.get(), key.get(), EVP_aes_256_cbc(), phrase.data(),
                                                      static_cast<int>(phrase.size()), nullptr, nullptr) == 1;
  if (!composed) throw std::runtime_error("the TLS key cannot be encrypted");
  char* bytes = nullptr;
  const long length = BIO_get_mem_data(pem.get(), &bytes);
  Store(kServerCertificate, {bytes, static_cast<std::size_t>(length)});
}

}  // namespace

std::string PrepareTlsIdentity() {
  std::string phrase = ReadPassPhrase();
  if (phrase.empty()) phrase = MakePassPhrase();
  if (!std::ifstream(kServerCertificate).good()) WriteIdentity(phrase);
  return phrase;
}

}  // namespace sim
