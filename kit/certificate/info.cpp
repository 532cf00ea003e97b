// What a certificate says.
#include "certificate/info.h"

#include <openssl/asn1.h>
#include <openssl/x509v3.h>

#include <cstdio>
#include <ctime>

#include "certificate/owned.h"

namespace sdkkit {
namespace {

template <std::size_t kSize>
void CopyTo(char (&to)[kSize], const std::string& text) {
  std::snprintf(to, kSize, "%s", text.c_str());
}

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

}  // namespace

void Describe(X509* certificate, SdkKitCertificateInfo& info) {
  const EVP_PKEY* const key = X509_get0_pubkey(certificate);
  info.keyBits = key == nullptr ? 0 : EVP_PKEY_get_bits(key);
  const char* const kind = key == nullptr ? nullptr : EVP_PKEY_get0_type_name(key);
  CopyTo(info.key, kind == nullptr ? "" : kind);
  info.notBefore = Seconds(X509_get0_notBefore(certificate));
  info.notAfter = Seconds(X509_get0_notAfter(certificate));
  CopyTo(info.subject, NameText(X509_get_subject_name(certificate)));
  CopyTo(info.issuer, NameText(X509_get_issuer_name(certificate)));
  CopyTo(info.names, AlternativeNames(certificate));
  CopyTo(info.fingerprint, Fingerprint(certificate));
}

}  // namespace sdkkit
