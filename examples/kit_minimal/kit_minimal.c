/* A device on the kit: users, a safe EDID upload and download, a preview, events, and one route of its own.
 */
#include <sdkapi/kit.h>
#include <sdkapi/sdkapi.h>
#include <stdio.h>
#include <string.h>

/* GET /dev_info; the accounts put the time of a login in. */
static int DeviceInformation(const char* token, DeviceInfo* info) {
  snprintf(info->model, sizeof info->model, "KIT-MINIMAL");
  info->timeout = -1;
  return 0;
}

/* An EDID was stored: all clients hear of it. */
static void EdidStored(const SdkKitUpload* upload) {
  char event[128];
  snprintf(event, sizeof event, "{\"type\":\"edid\",\"sha256\":\"%s\"}", upload->sha256);
  SdkKitEvents_Publish("edid", event);
}

/* The next picture of /preview and /stream: a shade of grey that changes. */
static int NextPicture(void* run, SdkKitPreviewPicture* picture) {
  memset(picture->data, picture->data[0] + 1, picture->room);
  return 0;
}

/* GET /hello, behind the rights of the accounts. */
static int Hello(struct mg_connection* conn, CustomReqInfo* request) {
  return SendReponseInfo(conn, 200, 1, "{\"hello\":\"kit\"}", 15);
}

static int Prepare(const SdkKitSettings* settings, SdkAPISerHandle* table) {
  static const SdkKitUploadRow edid = {.family = kExtUploadText,
                                       .funcId = kTextEdid,
                                       .file = "edid.bin",
                                       .download = kKitDownloadEdid,
                                       .check = SdkKitContent_Edid,
                                       .stored = EdidStored};
  const SdkKitAccountsOptions accounts = {
      .size = sizeof accounts, .path = "users.db", .noAuthentication = settings->noAuth};
  const SdkKitUploadOptions uploads = {
      .size = sizeof uploads, .rowSize = sizeof edid, .rows = &edid, .rowCount = 1, .root = "files"};
  const SdkKitPreviewSource grey = {
      .size = sizeof grey, .format = kPreviewRgb, .width = 320, .height = 180, .picture = NextPicture};
  const SdkKitPreviewOptions previews = {.size = sizeof previews};
  const SdkKitEventsOptions events = {.size = sizeof events};
  if (SdkKitAccounts_Start(&accounts) != 0 || SdkKitUpload_Start(&uploads) != 0 ||
      SdkKitPreview_Start(&previews) != 0 || SdkKitPreview_Source_Set("", &grey) != 0 ||
      SdkKitEvents_Start(&events) != 0)
    return -1;
  table->DeviceInfoCb = DeviceInformation;
  SdkKitAccounts_Fill(table);
  SdkKitUpload_Fill(table);
  SdkKitPreview_Fill(table);
  SdkKitEvents_Fill(table);
  SdkKitAccounts_Guard(table); /* last: it checks the rights before every slot that is filled */
  return 0;
}

static int Started(const SdkKitSettings* settings) { return SdkKitAccounts_Get_Post_Add("/hello$", Hello); }

static void Stopped(void) {
  SdkKitPreview_Stop();
  SdkKitEvents_Stop();
  SdkKitUpload_Stop();
  SdkKitAccounts_Stop();
}

int main(int argc, char** argv) {
  const SdkKitProgram program = {.size = sizeof program,
                                 .name = "kit-minimal",
                                 .version = "1.0",
                                 .httpPort = 8080,
                                 .prepare = Prepare,
                                 .started = Started,
                                 .stopped = Stopped};
  return SdkKitRun(argc, argv, &program);
}
