// A self-signed certificate for 127.0.0.1 with its private key, made for one test run.
#include "certificate.h"

#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/x509v3.h>

#include <memory>
#include <stdexcept>

namespace integration {
namespace {

using BioPtr = std::unique_ptr<BIO, decltype(&BIO_free)>;
using KeyPtr = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;
using X509Ptr = std::unique_ptr<X509, decltype(&X509_free)>;
using ExtensionPtr = std::unique_ptr<X509_EXTENSION, decltype(&X509_EXTENSION_free)>;

void Check(bool good, const char* what) {
  if (!good) throw std::runtime_error(std::string("certificate: ") + what);
}

std::string TextOf(BIO* bio) {
  char* bytes = nullptr;
  const long length = BIO_get_mem_data(bio, &bytes);
  return {bytes, static_cast<std::size_t>(length)};
}

void AddExtension(X509* certificate, int nid, const char* value) {
  X509V3_CTX context;
  X509V3_set_ctx_nodb(&context);
  X509V3_set_ctx(&context, certificate, certificate, nullptr, nullptr, 0);
  const ExtensionPtr extension(X509V3_EXT_conf_nid(nullptr, &context, nid, value), X509_EXTENSION_free);
  Check(extension != nullptr && X509_add_ext(certificate, extension.get(), -1) == 1, "extension");
}

std::string KeyText(EVP_PKEY* key, const std::string& passPhrase) {
  const BioPtr bio(BIO_new(BIO_s_mem()), BIO_free);
  const EVP_CIPHER* const cipher = passPhrase.empty() ? nullptr : EVP_aes_256_cbc();
  std::string secret = passPhrase;
  Check(PEM_write_bio_PKCS8PrivateKey(bio.get(), key, cipher, secret.data(), static_cast<int>(secret.size()),
                                      nullptr, nullptr) == 1,
        "key text");
  return TextOf(bio.get());
}

}  // namespace

Certificate MakeCertificate(const std::string& passPhrase, const std::string& name, KeyKind kind) {
  const KeyPtr key(kind == KeyKind::kRsa ? EVP_RSA_gen(2048) : EVP_EC_gen("P-256"), EVP_PKEY_free);
  const X509Ptr certificate(X509_new(), X509_free);
  Check(key != nullptr && certificate != nullptr, "memory");
  X509_set_version(certificate.get(), 2);
  ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), 1);
  X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -3600);
  X509_gmtime_adj(X509_getm_notAfter(certificate.get()), 24L * 3600);
  X509_set_pubkey(certificate.get(), key.get());
  X509_NAME* const subject = X509_get_subject_name(certificate.get());
  X509_NAME_add_entry_by_txt(subject, "CN", MBSTRING_ASC,
                             reinterpret_cast<const unsigned char*>(name.c_str()), -1, -1, 0);
  X509_set_issuer_name(certificate.get(), subject);
  AddExtension(certificate.get(), NID_basic_constraints, "critical,CA:TRUE");
  AddExtension(certificate.get(), NID_subject_alt_name, "IP:127.0.0.1");
  Check(X509_sign(certificate.get(), key.get(), EVP_sha256()) > 0, "signature");

  const BioPtr bio(BIO_new(BIO_s_mem()), BIO_free);
  Check(PEM_write_bio_X509(bio.get(), certificate.get()) == 1, "certificate text");
  return {TextOf(bio.get()), KeyText(key.get(), passPhrase)};
}

}  // namespace integration
