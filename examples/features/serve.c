/* Starts a server, waits for the signal to end, and stops it. */
#include "serve.h"

#include <signal.h>
#include <stdio.h>
#include <stdlib.h>

/* Errors only: lines of level 1 show tokens. */
static void Log(int level, const char* text) {
  if (level == 4) fprintf(stderr, "%s\n", text);
}

void Copy(char* target, size_t size, const char* text) { snprintf(target, size, "%s", text); }

int Serve(int argc, char** argv, const SdkAPISerHandle* table, void (*started)(void),
          void (*stopping)(void)) {
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
  if (SdkAPISer_Start(table) != 0) return 1;
  if (started != NULL) started();

  sigwait(&ending, &received);
  if (stopping != NULL) stopping();
  SdkAPISer_Stop(NULL);
  return 0;
}
