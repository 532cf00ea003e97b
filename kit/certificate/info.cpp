// What a certificate says.
#include "certificate/info.h"

#include <openssl/asn1.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <cstdio>
#include <ctime>

#include "base/text.h"
#include "certificate/owned.h"
#include "certificate/server_check.h"

namespace sdkkit {
namespace {

std::string NameText(const X509_NAME* name) {
  const BioPtr bio = BioToFill();
  X509_NAME_print_ex(bio.get(), name, 0, XN_FLAG_RFC2253 & ~ASN1_STRFLGS_ESC_MSB);
  return ContentOf(bio);
}

std::string AlternativeNames(X509* certificate) {
  const int at = X509_get_ext_by_NID(certificate, NID_subject_alt_name, -1);
  if (at < 0) return "";
  const BioPtr bio = BioToFill();
  X509V3_EXT_print(bio.get(), X509_get_ext(certificate, at), 0, 0);
  return ContentOf(bio);
}

std::string Fingerprint(const X509* certificate) {
  unsigned char hash[EVP_MAX_MD_SIZE];
  unsigned int length = 0;
  X509_digest(certificate, EVP_sha256(), hash, &length);
  std::string text;
  for (unsigned int i = 0; i < length; ++i) {
    char digits[4];
    std::snprintf(digits, sizeof digits, i == 0 ? "%02X" : ":%02X", hash[i]);
    text += digits;
  }
  return text;
}

std::int64_t Seconds(const ASN1_TIME* time) {
  std::tm parts{};
  return ASN1_TIME_to_tm(time, &parts) == 1 ? timegm(&parts) : 0;
}

// The certificates behind the first one, as far as they can be read.
std::int32_t ChainOf(const std::string& pem) {
  const BioPtr bio = BioOver(pem);
  std::int32_t count = 0;
  while (const CertificatePtr next{PEM_read_bio_X509_AUX(bio.get(), nullptr, GivePassPhrase, nullptr)})
    ++count;
  ERR_clear_error();
  return count - 1;
}

}  // namespace

bool Describe(const std::string& pem, SdkKitCertificateInfo& info) {
  const CertificatePtr certificate = CertificateOf(pem);
  if (!certificate) return false;
  const EVP_PKEY* const key = X509_get0_pubkey(certificate.get());
  info.keyBits = key == nullptr ? 0 : EVP_PKEY_get_bits(key);
  const char* const kind = key == nullptr ? nullptr : EVP_PKEY_get0_type_name(key);
  CopyText(info.key, kind == nullptr ? "" : kind);
  info.notBefore = Seconds(X509_get0_notBefore(certificate.get()));
  info.notAfter = Seconds(X509_get0_notAfter(certificate.get()));
  CopyText(info.subject, NameText(X509_get_subject_name(certificate.get())));
  CopyText(info.issuer, NameText(X509_get_issuer_name(certificate.get())));
  CopyText(info.names, AlternativeNames(certificate.get()));
  CopyText(info.fingerprint, Fingerprint(certificate.get()));
  info.selfSigned = X509_self_signed(certificate.get(), 1) == 1 ? 1 : 0;
  info.chain = ChainOf(pem);
  ERR_clear_error();
  return true;
}

}  // namespace sdkkit
