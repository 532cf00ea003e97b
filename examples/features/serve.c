/* Starts a server, waits for the signal to end, and stops it. */
#include "serve.h"

#include <sdkapi/extension.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>

/* Errors only: lines of level 1 show tokens. */
static void Log(int level, const char* text) {
  if (level == 4) fprintf(stderr, "%s\n", text);
}

void Copy(char* target, size_t size, const char* text) { snprintf(target, size, "%s", text); }

/* The log has no line for it. */
static int Explain(void) {
  char why[2048];
  SdkAPIExt_StartFailure_Get(why, sizeof why);
  fprintf(stderr, "the server cannot start: %s\n", why);
  return 1;
}

int Serve(int argc, char** argv, const SdkAPISerHandle* table, int (*started)(void), void (*stopping)(void)) {
  sigset_t ending;
  int received;

  /* Blocked before the start, so that the server's threads inherit it and sigwait gets the signal. */
  sigemptyset(&ending);
  sigaddset(&ending, SIGINT);
  sigaddset(&ending, SIGTERM);
  sigprocmask(SIG_BLOCK, &ending, NULL);

  SdkApiSer_Printf(Log);
  SdkAPISer_Port_Set(argc > 1 ? atoi(argv[1]) : 8080, 0);
  SdkAPiSer_DocumentRoot_Set("/nonexistent"); /* without one the working directory is public */
  SdkAPISer_WebsocketUrl_Set("/ws");
  SdkAPISer_AuthenticationSwitch_Set(table->LoginCb != NULL);
  SdkAPISer_Init();
  if (SdkAPISer_Start(table) != 0) return Explain();
  const int failed = started != NULL && started() != 0;

  if (!failed) sigwait(&ending, &received);
  if (stopping != NULL) stopping();
  SdkAPISer_Stop(NULL);
  return failed;
}
