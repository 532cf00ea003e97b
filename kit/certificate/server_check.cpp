// Whether the server can use a PEM file: it is loaded as the server loads it, and shakes hands.
#include "certificate/server_check.h"

#include <openssl/err.h>
#include <openssl/pem.h>

#include "base/file.h"

namespace sdkkit {
namespace {

constexpr int kLeastSecurityBits = 112;
constexpr int kMostFlights = 100;
// As the library sets them.
constexpr const char* kCiphers = "DES-CBC3-SHA:AES128-GCM-SHA256";

ContextPtr NewContext(const SSL_METHOD* method) {
  ContextPtr context(SSL_CTX_new(method));
  if (!context) throw std::bad_alloc();
  SSL_CTX_set_min_proto_version(context.get(), TLS1_2_VERSION);
  return context;
}

std::string Because(const char* what) { return std::string(what) + ": " + OpenSslReason(); }

std::string StrengthFault(X509* certificate) {
  const EVP_PKEY* const key = X509_get0_pubkey(certificate);
  if (key == nullptr) return "its public key cannot be read";
  return EVP_PKEY_get_security_bits(key) < kLeastSecurityBits ? "its key is too weak" : "";
}

// Server and client in memory: what the one writes, the other reads.
std::string HandshakeFault(SSL_CTX* serverContext) {
  const ContextPtr clientContext = NewContext(TLS_client_method());
  const SslPtr server(SSL_new(serverContext));
  const SslPtr client(SSL_new(clientContext.get()));
  BIO* serverSide = nullptr;
  BIO* clientSide = nullptr;
  if (!server || !client || BIO_new_bio_pair(&serverSide, 0, &clientSide, 0) != 1) throw std::bad_alloc();
  SSL_set_bio(server.get(), serverSide, serverSide);
  SSL_set_bio(client.get(), clientSide, clientSide);
  SSL_set_accept_state(server.get());
  SSL_set_connect_state(client.get());
  for (int flight = 0; flight < kMostFlights; ++flight) {
    const int clientResult = SSL_do_handshake(client.get());
    const int serverResult = SSL_do_handshake(server.get());
    if (clientResult == 1 && serverResult == 1) return "";
    if (SSL_get_error(server.get(), serverResult) == SSL_ERROR_SSL) break;
  }
  return Because("no handshake succeeds with it");
}

}  // namespace

std::string LoadFault(const std::string& path, const std::string& passPhrase) {
  ERR_clear_error();
  const ContextPtr context = NewContext(TLS_server_method());
  std::string phrase = passPhrase;
  SSL_CTX_set_default_passwd_cb(context.get(), GivePassPhrase);
  SSL_CTX_set_default_passwd_cb_userdata(context.get(), phrase.data());
  const char* const file = path.c_str();
  if (SSL_CTX_use_certificate_file(context.get(), file, SSL_FILETYPE_PEM) != 1) {
    return Because("its certificate cannot be used");
  }
  if (SSL_CTX_use_PrivateKey_file(context.get(), file, SSL_FILETYPE_PEM) != 1) {
    return Because("its key cannot be used");
  }
  if (SSL_CTX_check_private_key(context.get()) != 1) return Because("its key cannot be used");
  if (SSL_CTX_use_certificate_chain_file(context.get(), file) != 1)
    return Because("its chain cannot be used");
  SSL_CTX_set_cipher_list(context.get(), kCiphers);
  std::string fault = StrengthFault(SSL_CTX_get0_certificate(context.get()));
  if (fault.empty()) fault = HandshakeFault(context.get());
  ERR_clear_error();
  return fault;
}

std::string MatchFault(X509* certificate, EVP_PKEY* key) {
  ERR_clear_error();
  const ContextPtr context = NewContext(TLS_server_method());
  if (SSL_CTX_use_certificate(context.get(), certificate) != 1)
    return Because("its certificate cannot be used");
  if (SSL_CTX_use_PrivateKey(context.get(), key) != 1) return Because("its key cannot be used");
  return StrengthFault(certificate);
}

CertificatePtr CertificateOf(const std::string& pem) {
  const BioPtr bio = BioOver(pem);
  CertificatePtr certificate(PEM_read_bio_X509_AUX(bio.get(), nullptr, GivePassPhrase, nullptr));
  ERR_clear_error();
  return certificate;
}

std::string DateFault(const std::string& path) {
  const CertificatePtr certificate = CertificateOf(ReadFile(path, kMostPemBytes).value_or(""));
  if (!certificate) return "it holds no certificate";
  return X509_cmp_current_time(X509_get0_notAfter(certificate.get())) < 0 ? "it has expired" : "";
}

}  // namespace sdkkit
