/* A device program for the tests of the runner: says what it is asked, and fails in the way that it is told.
 */
#include <sdkapi/kit.h>
#include <sdkapi/sdkapi.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

static int64_t g_number = 7;
static int64_t g_flag;
static char g_text[8] = "old";
static char g_path[4096];
static char g_failing[16] = "";

static const SdkKitOption g_options[] = {
    {.name = "number",
     .help = "a number",
     .kind = kKitOptionNumber,
     .least = 1,
     .most = 9,
     .number = &g_number},
    {.name = "flag", .help = "a flag", .kind = kKitOptionFlag, .number = &g_flag},
    {.name = "text", .help = "a text", .kind = kKitOptionText, .text = g_text, .room = sizeof g_text},
    {.name = "path", .help = "a file", .kind = kKitOptionPath, .text = g_path, .room = sizeof g_path},
    {.name = "failing",
     .help = "what fails",
     .kind = kKitOptionText,
     .text = g_failing,
     .room = sizeof g_failing},
};

static int Fails(const char* step) { return strcmp(g_failing, step) == 0; }

static void Say(const char* text) {
  puts(text);
  fflush(stdout);
}

static int Login(LoginInfo* info) {
  snprintf(info->token, sizeof info->token, "S3cret-token");
  return 0;
}

static int StopRoute(struct mg_connection* conn, CustomReqInfo* request) {
  /* Before the stop, which lets nobody send any more. */
  const int sent = SendReponseInfo(conn, 200, 1, "{}", 2);
  (void)request;
  SdkKitLog_Write(kKitAudit, "host", "asked to stop\nby a client");
  SdkKitRun_Stop();
  return sent;
}

static int Prepare(const SdkKitSettings* settings, SdkAPISerHandle* table) {
  char folder[4096];
  printf("number %d, flag %d, text %s\n", (int)g_number, (int)g_flag, g_text);
  printf("ports %d %d, no-auth %d, www %s\n", settings->httpPort, settings->httpsPort, settings->noAuth,
         settings->documentRoot);
  printf("in its folder: %s\n",
         getcwd(folder, sizeof folder) != NULL && strcmp(folder, settings->dataFolder) == 0 ? "yes" : "no");
  if (*g_path != '\0') puts(g_path);
  fflush(stdout);
  table->LoginCb = Login;
  return Fails("prepare") ? -1 : 0;
}

static int Started(const SdkKitSettings* settings) {
  (void)settings;
  Say("started");
  SdkAPISer_Custom_Get_Post_Api_Add("/stop$", StopRoute);
  return Fails("started") ? -1 : 0;
}

static void Stopping(void) {
  Say("stopping");
  while (Fails("stopping")) pause();
}

static void Stopped(void) { Say("stopped"); }

static int Healthy(void) { return Fails("healthy") ? -1 : 0; }

int main(int argc, char** argv) {
  const SdkKitProgram program = {.size = sizeof program,
                                 .optionSize = sizeof(SdkKitOption),
                                 .name = "runner-host",
                                 .version = "1.2.3",
                                 .description = "A host.",
                                 .httpPort = 8080,
                                 .stopSeconds = 1,
                                 .options = g_options,
                                 .optionCount = sizeof g_options / sizeof *g_options,
                                 .prepare = Prepare,
                                 .started = Started,
                                 .stopping = Stopping,
                                 .stopped = Stopped,
                                 .healthy = Healthy};
  return SdkKitRun(argc, argv, &program);
}
