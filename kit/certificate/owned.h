// Owners of OpenSSL's objects.
#pragma once

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <memory>
#include <new>
#include <string>
#include <string_view>

namespace sdkkit {

template <auto kFree>
struct FreeWith {
  template <class Object>
  void operator()(Object* object) const {
    kFree(object);
  }
};

using BioPtr = std::unique_ptr<BIO, FreeWith<BIO_free_all>>;
using KeyPtr = std::unique_ptr<EVP_PKEY, FreeWith<EVP_PKEY_free>>;
using CertificatePtr = std::unique_ptr<X509, FreeWith<X509_free>>;
using RequestPtr = std::unique_ptr<X509_REQ, FreeWith<X509_REQ_free>>;
using ExtensionPtr = std::unique_ptr<X509_EXTENSION, FreeWith<X509_EXTENSION_free>>;
using GeneralNamesPtr = std::unique_ptr<GENERAL_NAMES, FreeWith<GENERAL_NAMES_free>>;
using ContextPtr = std::unique_ptr<SSL_CTX, FreeWith<SSL_CTX_free>>;
using SslPtr = std::unique_ptr<SSL, FreeWith<SSL_free>>;

// One that reads these bytes, which must outlive it.
inline BioPtr BioOver(std::string_view bytes) {
  BioPtr bio(BIO_new_mem_buf(bytes.data(), static_cast<int>(bytes.size())));
  if (!bio) throw std::bad_alloc();
  return bio;
}

// One that collects what is written.
inline BioPtr BioToFill() {
  BioPtr bio(BIO_new(BIO_s_mem()));
  if (!bio) throw std::bad_alloc();
  return bio;
}

inline std::string ContentOf(const BioPtr& bio) {
  char* bytes = nullptr;
  const long length = BIO_get_mem_data(bio.get(), &bytes);
  return std::string(bytes, length > 0 ? static_cast<std::size_t>(length) : 0);
}

// What OpenSSL says of the last failure; its list of them is empty then.
std::string OpenSslReason();

// A pass phrase for OpenSSL's readers: user data is its text. Without one, nobody is asked.
int GivePassPhrase(char* buffer, int size, int writing, void* phrase);

}  // namespace sdkkit
