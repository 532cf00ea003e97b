/* Serialised TLS calls: one lock per TLS object. */
#include "tls_guard.h"

#include <pthread.h>
#include <stdlib.h>

static pthread_once_t indexOnce = PTHREAD_ONCE_INIT;
static int lockIndex = -1;

/* The error of this thread's last failed read or write, fixed under the lock: a call of another thread on the
 * same object would change it before the web server asks. */
static _Thread_local const SSL* failedSsl;
static _Thread_local int failedResult;
static _Thread_local int failedError;

static void FreeLock(void* parent, void* lock, CRYPTO_EX_DATA* data, int index, long argl, void* argp) {
  (void)parent, (void)data, (void)index, (void)argl, (void)argp;
  if (lock == NULL) return;
  pthread_mutex_destroy(lock);
  free(lock);
}

static void MakeIndex(void) { lockIndex = SSL_get_ex_new_index(0, NULL, NULL, NULL, FreeLock); }

static pthread_mutex_t* LockOf(const SSL* ssl) {
  pthread_mutex_t* const lock = SSL_get_ex_data(ssl, lockIndex);
  pthread_mutex_lock(lock);
  return lock;
}

static int Finish(const SSL* ssl, pthread_mutex_t* lock, int result) {
  if (result <= 0) {
    failedSsl = ssl;
    failedResult = result;
    failedError = SSL_get_error(ssl, result);
  }
  pthread_mutex_unlock(lock);
  return result;
}

SSL* sdkapi_tls_new(SSL_CTX* ctx) {
  pthread_once(&indexOnce, MakeIndex);
  pthread_mutex_t* const lock = malloc(sizeof *lock);
  SSL* const ssl = lock != NULL ? SSL_new(ctx) : NULL;
  if (ssl == NULL) {
    free(lock);
    return NULL;
  }
  pthread_mutex_init(lock, NULL);
  if (SSL_set_ex_data(ssl, lockIndex, lock) == 1) return ssl;
  pthread_mutex_destroy(lock);
  free(lock);
  SSL_free(ssl);
  return NULL;
}

/* The web server's sockets do not block, so no call holds the lock for longer than its own work. */
int sdkapi_tls_read(SSL* ssl, void* buf, int num) {
  pthread_mutex_t* const lock = LockOf(ssl);
  return Finish(ssl, lock, SSL_read(ssl, buf, num));
}

int sdkapi_tls_write(SSL* ssl, const void* buf, int num) {
  pthread_mutex_t* const lock = LockOf(ssl);
  return Finish(ssl, lock, SSL_write(ssl, buf, num));
}

int sdkapi_tls_has_pending(const SSL* ssl) {
  pthread_mutex_t* const lock = LockOf(ssl);
  const int pending = SSL_has_pending(ssl);
  pthread_mutex_unlock(lock);
  return pending;
}

int sdkapi_tls_shutdown(SSL* ssl) {
  pthread_mutex_t* const lock = LockOf(ssl);
  const int result = SSL_shutdown(ssl);
  pthread_mutex_unlock(lock);
  return result;
}

int sdkapi_tls_get_error(const SSL* ssl, int result) {
  if (ssl == failedSsl && result == failedResult) {
    failedSsl = NULL;
    return failedError;
  }
  pthread_mutex_t* const lock = LockOf(ssl);
  const int error = SSL_get_error(ssl, result);
  pthread_mutex_unlock(lock);
  return error;
}
