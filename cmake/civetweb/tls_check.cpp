// Configure-time check: does this CivetWeb answer one HTTPS request with the installed OpenSSL?
#include <arpa/inet.h>
#include <civetweb.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

bool WriteCertificate(const char* path) {
  EVP_PKEY* const key = EVP_EC_gen("P-256");
  X509* const certificate = X509_new();
  X509_gmtime_adj(X509_getm_notBefore(certificate), 0);
  X509_gmtime_adj(X509_getm_notAfter(certificate), 3600);
  X509_set_pubkey(certificate, key);
  X509_sign(certificate, key, EVP_sha256());
  std::FILE* const file = std::fopen(path, "w");
  const bool written = file != nullptr && PEM_write_X509(file, certificate) == 1 &&
                       PEM_write_PrivateKey(file, key, nullptr, nullptr, 0, nullptr, nullptr) == 1;
  if (file != nullptr) std::fclose(file);
  return written;
}

bool RequestWorks(int port) {
  const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) return false;
  SSL* const ssl = SSL_new(SSL_CTX_new(TLS_client_method()));
  SSL_set_fd(ssl, socket);
  if (SSL_connect(ssl) != 1) return false;
  const char request[] = "GET / HTTP/1.0\r\n\r\n";
  char reply[16] = {};
  return SSL_write(ssl, request, sizeof request - 1) > 0 && SSL_read(ssl, reply, sizeof reply - 1) > 0 &&
         std::strncmp(reply, "HTTP/1.1 ", 9) == 0;
}

}  // namespace

int main() {
  alarm(20);
  char path[] = "/tmp/tls-check-XXXXXX";
  close(mkstemp(path));
  if (!WriteCertificate(path)) return 2;
  const char* options[] = {"listening_ports", "127.0.0.1:0s", "ssl_certificate", path, nullptr};
  const mg_callbacks callbacks{};
  mg_context* const context = mg_start(&callbacks, nullptr, options);
  mg_server_port port{};
  const bool works =
      context != nullptr && mg_get_server_ports(context, 1, &port) == 1 && RequestWorks(port.port);
  unlink(path);
  std::_Exit(works ? 0 : 1);
}
