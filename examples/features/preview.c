/* Preview: ten times a second the picture that lies in the file picture.jpg, for any number of viewers.
 *
 *   ffplay http://localhost:8080/stream        or that address as the source of an <img> */
#include <pthread.h>
#include <stdio.h>
#include <string.h>
#include <time.h>

#include "serve.h"

enum { kEveryMilliseconds = 100, kNoSuchSource = -1, kEnd = -1 };

static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
static pthread_cond_t changed;
static int ending;

/* Waits for the next picture's time; the stop ends all waits at once. */
static int WaitForNext(void) {
  struct timespec until;
  clock_gettime(CLOCK_MONOTONIC, &until);
  until.tv_nsec += kEveryMilliseconds * 1000000L;
  until.tv_sec += until.tv_nsec / 1000000000L;
  until.tv_nsec %= 1000000000L;
  pthread_mutex_lock(&lock);
  while (!ending && pthread_cond_timedwait(&changed, &lock, &until) == 0) {
  }
  const int result = ending;
  pthread_mutex_unlock(&lock);
  return result;
}

static int Load(PreviewFrame* frame) {
  FILE* const file = fopen("picture.jpg", "rb");
  if (file == NULL) return kEnd;
  frame->length = (int64_t)fread(frame->frame, 1, sizeof frame->frame, file);
  const int whole = frame->length > 0 && fgetc(file) == EOF;
  fclose(file);
  return whole ? 0 : kEnd;
}

static int Preview(PreviewFrame* frame) {
  switch (frame->state) {
    case 0: /* open: the device has one source, the unnamed */
      return frame->hostname[0] == '\0' ? 0 : kNoSuchSource;
    case 1: /* the next picture */
      return WaitForNext() ? kEnd : Load(frame);
    default: /* closed */
      return 0;
  }
}

static void Stopping(void) {
  pthread_mutex_lock(&lock);
  ending = 1;
  pthread_cond_broadcast(&changed);
  pthread_mutex_unlock(&lock);
}

int main(int argc, char** argv) {
  const SdkAPISerHandle table = {.PreviewCb = Preview};
  pthread_condattr_t monotonic; /* so that setting the clock neither holds nor hurries a stream */
  pthread_condattr_init(&monotonic);
  pthread_condattr_setclock(&monotonic, CLOCK_MONOTONIC);
  pthread_cond_init(&changed, &monotonic);
  return Serve(argc, argv, &table, NULL, Stopping);
}
