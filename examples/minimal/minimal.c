/* The smallest useful host: a login, the device information, and one route of its own. */
#include <sdkapi/sdkapi.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

/* A token must be hard to guess: 128 bits from the operating system, as text. */
static int MakeToken(char* token, size_t size) {
  unsigned char bytes[16];
  if (getentropy(bytes, sizeof bytes) != 0) return -1;
  for (size_t i = 0; i < sizeof bytes; ++i) snprintf(token + 2 * i, size - 2 * i, "%02x", bytes[i]);
  return 0;
}

/* POST /api/v1/auth/login; code 1 refuses, and a token makes the login known to the library. */
static int Login(LoginInfo* info) {
  if (strcmp(info->username, "admin") != 0 || strcmp(info->password, "admin") != 0) {
    info->code = 1;
    return 0;
  }
  return MakeToken(info->token, sizeof info->token);
}

/* GET /dev_info; only the members that are set appear in the reply. */
static int DeviceInformation(const char* token, DeviceInfo* info) {
  (void)token;
  snprintf(info->model, sizeof info->model, "MINIMAL");
  info->timeout = 300;
  return 0;
}

/* Any request to /hello; the function writes the whole reply. */
static int Hello(struct mg_connection* conn, CustomReqInfo* request) {
  static const char* const kMethods[] = {"GET", "POST", "other"};
  char body[64];
  const int length = snprintf(body, sizeof body, "{\"hello\":\"%s\"}", kMethods[request->method]);
  return SendReponseInfo(conn, 200, 1, body, length);
}

static void Log(int level, const char* text) {
  if (level == 4) fprintf(stderr, "%s\n", text); /* level 1 shows secrets */
}

int main(int argc, char** argv) {
  const int port = argc > 1 ? atoi(argv[1]) : 8080;
  sigset_t ending;
  int received;
  SdkAPISerHandle table = {0}; /* an empty slot answers 404 */
  table.LoginCb = Login;
  table.DeviceInfoCb = DeviceInformation;

  /* Blocked before the start, so that the server's threads inherit it and sigwait gets the signal. */
  sigemptyset(&ending);
  sigaddset(&ending, SIGINT);
  sigaddset(&ending, SIGTERM);
  sigprocmask(SIG_BLOCK, &ending, NULL);

  SdkApiSer_Printf(Log);
  SdkAPISer_Port_Set(port, 0);                /* no HTTPS here: it needs a certificate */
  SdkAPiSer_DocumentRoot_Set("/nonexistent"); /* without one the working directory is public */
  SdkAPISer_AuthenticationSwitch_Set(1);
  SdkAPISer_Init();
  if (SdkAPISer_Start(&table) != 0) {
    fprintf(stderr, "the server cannot start on port %d; error.log says why\n", port);
    return 1;
  }
  if (SdkAPISer_Custom_Get_Post_Api_Add("/hello$", Hello) == 0) sigwait(&ending, &received);
  SdkAPISer_Stop(NULL);
  return 0;
}
