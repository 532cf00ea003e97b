/* Own routes: a value that is read and set, a file that is taken, the same file given back.
 *
 *   curl http://localhost:8080/brightness; curl -d 70 http://localhost:8080/brightness
 *   curl -F file=@any http://localhost:8080/note; curl http://localhost:8080/my_note */
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "sdkapi/extension.h"
#include "serve.h"

enum { kPost = 1, kJson = 1, kMost = 64 * 1024, kFailed = -1 };

static atomic_int brightness = 50;

/* One number from 0 to 100 and nothing else; the body has no NUL behind it. */
static int Parse(const CustomReqInfo* request) {
  char text[8] = "", *end = text;
  if (request->bodyLength < 1 || request->bodyLength >= (int64_t)sizeof text) return -1;
  memcpy(text, request->body, (size_t)request->bodyLength);
  const long value = strtol(text, &end, 10);
  return *end == '\0' && value >= 0 && value <= 100 ? (int)value : -1;
}

static int Brightness(struct mg_connection* conn, CustomReqInfo* request) {
  char body[32];
  if (request->method == kPost) {
    const int wanted = Parse(request);
    if (wanted < 0) return SendReponseInfo(conn, 400, kJson, "{\"error\":\"0 to 100\"}", 20);
    brightness = wanted;
  }
  const int length = snprintf(body, sizeof body, "{\"brightness\":%d}", brightness);
  return SendReponseInfo(conn, 200, kJson, body, length);
}

/* Into a file of this upload's own, whose name is kept in `extra`; the last call puts it in its place. */
static int TakeNote(struct mg_connection* conn, UploadCustomCtx* upload) {
  (void)conn;
  if (upload->endFlag) return upload->extra != NULL ? rename(upload->extra, "note") : kFailed;
  if (upload->noFileName) return 0;
  if (upload->pieceState == 0) {
    if (upload->extra != NULL) return kFailed; /* one file only */
    upload->extra = strdup("note.XXXXXX");
    const int made = upload->extra != NULL ? mkstemp(upload->extra) : -1;
    return made < 0 ? kFailed : close(made);
  }
  FILE* const file = fopen(upload->extra, "ab");
  if (file == NULL) return kFailed;
  const int good = fseek(file, 0, SEEK_END) == 0 && ftell(file) + upload->length <= kMost &&
                   fwrite(upload->data, 1, (size_t)upload->length, file) == (size_t)upload->length;
  return fclose(file) == 0 && good ? 0 : kFailed;
}

/* What did not get to its place goes, also when the client vanished. */
static void EndUpload(const SdkAPIExtUpload* upload) {
  if (upload->custom->extra != NULL) unlink(upload->custom->extra);
}

static int GiveNote(struct mg_connection* conn, CustomDownloadInfo* info) {
  (void)conn;
  if (access("note", R_OK) != 0) return kFailed;
  Copy(info->filePath, sizeof info->filePath, "note");
  Copy(info->downloadName, sizeof info->downloadName, "note.txt");
  return 0;
}

static int Started(void) {
  if (SdkAPISer_Custom_Get_Post_Api_Add("/brightness$", Brightness) != 0) return -1; /* "$": no other */
  if (SdkAPISer_Custom_Upload_Api_Add("/note$", TakeNote) != 0) return -1;
  return SdkAPISer_Custom_Download_Api_Add("/my_note$", GiveNote);
}

int main(int argc, char** argv) {
  const SdkAPISerHandle table = {0};
  SdkAPIExt_UploadEnd_Set(EndUpload);
  return Serve(argc, argv, &table, Started, NULL);
}
