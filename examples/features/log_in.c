/* Log in: two users, a token for each login, and a pause after wrong passwords.
 *
 *   curl -d '{"username":"admin","password":"admin"}' http://localhost:8080/api/v1/auth/login
 *   curl -H "Authorization: Bearer TOKEN" http://localhost:8080/dev_info
 *   curl -H "Authorization: Bearer TOKEN" http://localhost:8080/logout
 *
 * A product keeps hashes of passwords and counts by name and address: the kit's accounts do. */
#include <pthread.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include "serve.h"

enum { kFree = 3, kPause = 30, kRefused = 1, kLocked = 2 };

static struct User {
  const char *name, *password;
  int failures;
  time_t openAt; /* no attempt is looked at before */
} users[] = {{"admin", "admin", 0, 0}, {"guest", "guest", 0, 0}};
static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER; /* slots run on several threads */

/* Takes the same time wherever the texts differ. */
static int Same(const char* one, const char* other) {
  size_t length = strlen(one), differs = length ^ strlen(other);
  for (size_t i = 0; i < length && i < strlen(other); ++i) differs |= (unsigned char)(one[i] ^ other[i]);
  return differs == 0;
}

static int MakeToken(char* token, size_t size) {
  unsigned char bytes[32];
  if (getentropy(bytes, sizeof bytes) != 0) return -1;
  for (size_t i = 0; i < sizeof bytes; ++i) snprintf(token + 2 * i, size - 2 * i, "%02x", bytes[i]);
  return 0;
}

static int Judge(struct User* user, LoginInfo* info) {
  const time_t now = time(NULL);
  if (now < user->openAt) {
    info->code = kLocked;
    info->lockTime = (uint64_t)(user->openAt - now);
    return 0;
  }
  if (!Same(info->password, user->password)) {
    if (++user->failures >= kFree) user->openAt = now + kPause;
    info->code = kRefused;
    return 0;
  }
  user->failures = 0;
  return MakeToken(info->token, sizeof info->token); /* the library keeps it until the log-out */
}

static int LogIn(LoginInfo* info) {
  int result = 0;
  info->code = kRefused;
  for (size_t i = 0; i < sizeof users / sizeof *users; ++i) {
    if (strcmp(users[i].name, info->username) != 0) continue;
    info->code = 0;
    pthread_mutex_lock(&lock);
    result = Judge(&users[i], info);
    pthread_mutex_unlock(&lock);
  }
  return result;
}

static int DeviceInformation(const char* token, DeviceInfo* info) {
  (void)token;
  Copy(info->model, sizeof info->model, "LOG-IN");
  return 0;
}

int main(int argc, char** argv) {
  const SdkAPISerHandle table = {.LoginCb = LogIn, .DeviceInfoCb = DeviceInformation};
  return Serve(argc, argv, &table, NULL, NULL);
}
