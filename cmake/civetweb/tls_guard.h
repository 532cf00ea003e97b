/* Serialised TLS calls: one lock per TLS object. */
#ifndef SDKAPI_TLS_GUARD_H
#define SDKAPI_TLS_GUARD_H

#include <openssl/ssl.h>

/*
 * The web server reads a connection on its worker thread while another thread may write to it, which OpenSSL
 * does not allow on one TLS object. The web server is compiled with these names in place of OpenSSL's own.
 */
SSL* sdkapi_tls_new(SSL_CTX* ctx);
int sdkapi_tls_read(SSL* ssl, void* buf, int num);
int sdkapi_tls_write(SSL* ssl, const void* buf, int num);
int sdkapi_tls_has_pending(const SSL* ssl);
int sdkapi_tls_shutdown(SSL* ssl);
int sdkapi_tls_get_error(const SSL* ssl, int result);

#endif
