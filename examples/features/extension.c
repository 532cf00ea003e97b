/* Extension: a server on IPv4 and IPv6 of this machine only, that says who asked, and ends idle logins.
 *
 *   curl -d '{"username":"a","password":"a"}' http://localhost:8080/api/v1/auth/login
 *   curl -H "Authorization: Bearer TOKEN" http://localhost:8080/who */
#include "sdkapi/extension.h"

#include <stdio.h>
#include <unistd.h>

#include "serve.h"

/* Anybody gets in here: log_in.c shows a real one. */
static int LogIn(LoginInfo* info) {
  unsigned char bytes[32];
  if (getentropy(bytes, sizeof bytes) != 0) return -1;
  for (size_t i = 0; i < sizeof bytes; ++i)
    snprintf(info->token + 2 * i, sizeof info->token - 2 * i, "%02x", bytes[i]);
  return 0;
}

static int Who(struct mg_connection* conn, CustomReqInfo* ignored) {
  (void)ignored;
  char body[256];
  SdkAPIExtRequest request = {.size = sizeof request};
  if (SdkAPIExt_Request_Get(&request) != 0) return -1;
  const int length = snprintf(body, sizeof body, "{\"address\":\"%s\",\"route\":\"%s\",\"method\":\"%s\"}",
                              request.address, request.route, request.method);
  return SendReponseInfo(conn, 200, 1, body, length);
}

static void Ended(const char* token, int reason) {
  (void)token; /* not for a log: it is a secret until it has ended everywhere */
  printf("a login ended, reason %d\n", reason);
  fflush(stdout);
}

static int Started(void) { return SdkAPISer_Custom_Get_Post_Api_Add("/who$", Who); }

int main(int argc, char** argv) {
  const SdkAPISerHandle table = {.LoginCb = LogIn};
  const SdkAPIExtLoginLimits limits = {.size = sizeof limits, .idleSeconds = 300, .most = 2, .ended = Ended};
  char ports[64];
  snprintf(ports, sizeof ports, "127.0.0.1:%s,[::1]:%s", argc > 1 ? argv[1] : "8080",
           argc > 1 ? argv[1] : "8080");
  if (SdkAPIExt_Option_Set("listening_ports", ports) != 0) return 1; /* else it listened everywhere */
  if (SdkAPIExt_Login_Limits_Set(&limits) != 0) return 1;
  SdkAPIExt_SilentFailure_Set(500); /* a function that answered nothing, such as Who without memory */
  return Serve(argc, argv, &table, Started, NULL);
}
