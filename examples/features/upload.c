/* Upload: takes an EDID, checks it, and replaces the old one only when all of it is there.
 *
 *   curl -F file=@edid.bin http://localhost:8080/upload/edid */
#include <fcntl.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "sdkapi/extension.h"
#include "serve.h"

enum { kBlock = 128, kMost = 256, kBroken = -1 };

static const unsigned char kHeader[8] = {0, 255, 255, 255, 255, 255, 255, 0};

/* Two uploads may run at once: each keeps what it has in `extra`, which the library releases with `free`. */
struct Edid {
  size_t length;
  unsigned char bytes[kMost];
};

static int IsGood(const struct Edid* edid) {
  if (edid->length == 0 || edid->length % kBlock != 0 || memcmp(edid->bytes, kHeader, sizeof kHeader) != 0)
    return 0;
  for (size_t block = 0; block < edid->length; block += kBlock) {
    unsigned sum = 0;
    for (size_t i = 0; i < kBlock; ++i) sum += edid->bytes[block + i];
    if (sum % 256 != 0) return 0;
  }
  return 1;
}

/* Written beside the old file, on the disk before it takes its place: a loss of power leaves one of the two.
 */
static int Store(const struct Edid* edid) {
  static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
  int result = kBroken;
  pthread_mutex_lock(&lock);
  const int file = open("edid.new", O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (file >= 0) {
    const ssize_t written = write(file, edid->bytes, edid->length);
    const int flushed = fsync(file);
    if (close(file) == 0 && flushed == 0 && written == (ssize_t)edid->length)
      result = rename("edid.new", "edid.bin") == 0 ? 0 : kBroken;
  }
  pthread_mutex_unlock(&lock);
  return result;
}

/* Called for each field that is found, for each piece of it, and once at the end of the form. */
static int Upload(const char* token, int funcId, UploadFileCtx* upload) {
  (void)token;
  struct Edid* edid = (struct Edid*)(void*)upload->extra;
  if (funcId != kTextEdid) return kBroken;
  if (upload->endFlag) return edid != NULL && IsGood(edid) ? Store(edid) : kBroken;
  if (upload->noFileName) return 0; /* a plain field of the form */
  if (upload->pieceState == 0) {
    if (edid != NULL) return kBroken; /* one file only */
    upload->extra = calloc(1, sizeof *edid);
    return upload->extra != NULL ? 0 : kBroken;
  }
  if ((size_t)upload->length > kMost - edid->length) return kBroken;
  memcpy(edid->bytes + edid->length, upload->data, (size_t)upload->length);
  edid->length += (size_t)upload->length;
  return 0;
}

int main(int argc, char** argv) {
  const SdkAPISerHandle table = {.UploadTxtFileCb = Upload};
  if (SdkAPIExt_Upload_Limit_Set(kExtUploadText, 4096) != 0) return 1; /* a larger form is answered 413 */
  return Serve(argc, argv, &table, NULL, NULL);
}
