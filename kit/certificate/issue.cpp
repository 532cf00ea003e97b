// Keys, self-signed certificates and signing requests that the device makes.
#include "certificate/issue.h"

#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/rsa.h>
#include <openssl/x509v3.h>

#include <array>
#include <stdexcept>

namespace sdkkit {
namespace {

constexpr int kKeyBits = 2048;  // RSA: the server's TLS 1.2 cipher list asks for it

// For what fails by want of memory alone `what` is the general word.
void Require(bool good, const char* what = "no certificate can be made") {
  if (!good) throw std::runtime_error(std::string(what) + ": " + OpenSslReason());
}

void NameIt(X509_NAME* name, const std::string& commonName) {
  const auto* const text = reinterpret_cast<const unsigned char*>(commonName.data());
  Require(X509_NAME_add_entry_by_NID(name, NID_commonName, MBSTRING_UTF8, text,
                                     static_cast<int>(commonName.size()), -1, 0) == 1,
          "the common name cannot be used");
}

void Number(X509* certificate) {
  std::uint64_t serial = 0;
  Require(RAND_bytes(reinterpret_cast<unsigned char*>(&serial), sizeof serial) == 1, "no random bytes");
  Require(ASN1_INTEGER_set_uint64(X509_get_serialNumber(certificate), serial >> 1) == 1);
}

CertificatePtr SelfSigned(const Subject& subject, std::uint32_t validDays, EVP_PKEY* key) {
  CertificatePtr certificate(X509_new());
  if (!certificate) throw std::bad_alloc();
  Require(X509_set_version(certificate.get(), X509_VERSION_3) == 1);
  Number(certificate.get());
  // From the beginning of time on: the clock of a device that was never set stands there.
  Require(ASN1_TIME_set(X509_getm_notBefore(certificate.get()), 0) != nullptr);
  Require(X509_time_adj_ex(X509_getm_notAfter(certificate.get()), static_cast<int>(validDays), 0, nullptr) !=
          nullptr);
  Require(X509_set_pubkey(certificate.get(), key) == 1);
  NameIt(X509_get_subject_name(certificate.get()), subject.commonName);
  Require(X509_set_issuer_name(certificate.get(), X509_get_subject_name(certificate.get())) == 1);
  Require(X509_add_ext(certificate.get(), AlternativeNames(subject).get(), -1) == 1);
  Require(X509_sign(certificate.get(), key, EVP_sha256()) != 0, "the certificate cannot be signed");
  return certificate;
}

}  // namespace

std::string MakeIdentity(const Subject& subject, std::uint32_t validDays, const std::string& passPhrase) {
  const KeyPtr key(EVP_RSA_gen(kKeyBits));
  Require(key != nullptr, "no key can be made");
  const CertificatePtr certificate = SelfSigned(subject, validDays, key.get());
  const BioPtr pem = BioToFill();
  Require(PEM_write_bio_X509(pem.get(), certificate.get()) == 1, "the certificate cannot be written");
  return ContentOf(pem) + EncryptedKey(key.get(), passPhrase);
}

std::string EncryptedKey(EVP_PKEY* key, const std::string& passPhrase) {
  const BioPtr pem = BioToFill();
  Require(PEM_write_bio_PKCS8PrivateKey(pem.get(), key, EVP_aes_256_cbc(), passPhrase.data(),
                                        static_cast<int>(passPhrase.size()), nullptr, nullptr) == 1,
          "the key cannot be encrypted");
  return ContentOf(pem);
}

std::string MakeRequest(const Subject& subject, EVP_PKEY* key) {
  const RequestPtr request(X509_REQ_new());
  const std::unique_ptr<STACK_OF(X509_EXTENSION), void (*)(STACK_OF(X509_EXTENSION)*)> extensions(
      sk_X509_EXTENSION_new_null(),
      [](STACK_OF(X509_EXTENSION) * stack) { sk_X509_EXTENSION_pop_free(stack, X509_EXTENSION_free); });
  if (!request || !extensions) throw std::bad_alloc();
  NameIt(X509_REQ_get_subject_name(request.get()), subject.commonName);
  Require(X509_REQ_set_pubkey(request.get(), key) == 1);
  ExtensionPtr names = AlternativeNames(subject);
  Require(sk_X509_EXTENSION_push(extensions.get(), names.get()) > 0);
  static_cast<void>(names.release());  // the stack's from here on
  Require(X509_REQ_add_extensions(request.get(), extensions.get()) == 1);
  Require(X509_REQ_sign(request.get(), key, EVP_sha256()) != 0, "the request cannot be signed");
  const BioPtr pem = BioToFill();
  Require(PEM_write_bio_X509_REQ(pem.get(), request.get()) == 1, "the request cannot be written");
  return ContentOf(pem);
}

std::string MakePassPhrase() {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::array<unsigned char, 16> bytes{};
  Require(RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) == 1, "no random bytes");
  std::string text;
  for (const unsigned char byte : bytes) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 0xf];
  }
  return text;
}

}  // namespace sdkkit
