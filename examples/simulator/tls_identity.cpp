// The device's own certificate, made on first start.
#include "tls_identity.h"

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/x509v3.h>
#include <sodium.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>

#include "certificates.h"

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
struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using KeyPtr = std::unique_ptr<EVP_PKEY, FreeKey>;
using CertificatePtr = std::unique_ptr<X509, FreeCertificate>;

std::string ReadPassPhrase() {
  std::string phrase;
  std::getline(std::ifstream(kPassPhraseFile), phrase);
  return phrase;
}

std::string MakePassPhrase() {
  std::array<unsigned char, 16> bytes{};
  randombytes_buf(bytes.data(), bytes.size());
  std::array<char, 33> text{};
  sodium_bin2hex(text.data(), text.size(), bytes.data(), bytes.size());
  std::ofstream(kPassPhraseFile) << text.data() << '\n';
  return text.data();
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
  // Under another name first: a device that loses power here makes a new identity instead of half a one.
  const std::string unfinished = std::string(kServerCertificate) + ".new";
  std::unique_ptr<std::FILE, CloseFile> file(std::fopen(unfinished.c_str(), "w"));
  const bool written = file && PEM_write_X509(file.get(), certificate.get()) == 1 &&
                       PEM_write_PKCS8PrivateKey(file.get(), key.get(), EVP_aes_256_cbc(), phrase.data(),
                                                 static_cast<int>(phrase.size()), nullptr, nullptr) == 1 &&
                       std::fflush(file.get()) == 0 && fsync(fileno(file.get())) == 0;
  file.reset();
  if (!written || std::rename(unfinished.c_str(), kServerCertificate) != 0)
    throw std::runtime_error("tls/server.pem cannot be written");
}

}  // namespace

std::string PrepareTlsIdentity() {
  const mode_t before = umask(077);
  std::string phrase = ReadPassPhrase();
  if (phrase.empty()) phrase = MakePassPhrase();
  if (!std::ifstream(kServerCertificate).good()) WriteIdentity(phrase);
  umask(before);
  return phrase;
}

}  // namespace sim
