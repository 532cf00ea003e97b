/* Download: a report that is made for each request, and a file that lies there.
 *
 *   curl http://localhost:8080/download/custom
 *   curl http://localhost:8080/log */
#include <stdio.h>
#include <stdlib.h>
#include <time.h>
#include <unistd.h>

#include "serve.h"

/* The library sends the head before it opens the file: a file that cannot be read is refused here. */
static int Offer(DownloadFileInfo* info, const char* path, const char* name) {
  if (access(path, R_OK) != 0) return -1;
  Copy(info->path, sizeof info->path, path);
  Copy(info->name, sizeof info->name, name); /* without quotes and line breaks: it goes into a header */
  return 0;
}

/* Made beside the file and renamed: a download under way keeps the report that it began with. */
static int Report(const char* token, DownloadFileInfo* info) {
  (void)token;
  char made[] = "report.XXXXXX";
  const int descriptor = mkstemp(made);
  FILE* const file = descriptor < 0 ? NULL : fdopen(descriptor, "w");
  if (file == NULL) return -1;
  const int printed = fprintf(file, "time %lld\n", (long long)time(NULL));
  if (fclose(file) != 0 || printed < 0 || rename(made, "report.txt") != 0) {
    unlink(made);
    return -1;
  }
  return Offer(info, "report.txt", "report.txt");
}

static int LogFile(const char* token, DownloadFileInfo* info) {
  (void)token;
  return Offer(info, "device.log", "device.log");
}

int main(int argc, char** argv) {
  const SdkAPISerHandle table = {.DownloadCustomCb = Report, .DownloadLogFileCb = LogFile};
  return Serve(argc, argv, &table, NULL, NULL);
}
