/* Events: every client gets the state when it connects and each change; a client sets it with a text.
 *
 *   websocat ws://localhost:8080/ws        or a browser: new WebSocket("ws://localhost:8080/ws", "any") */
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "sdkapi/extension.h"
#include "serve.h"

enum { kConnected = 0, kText = 1, kKeep = 0 };

static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
static int volume = 50;

/* Changes and first states leave under one lock, so that no client sees an old value last. No send waits. */
static void Tell(uint64_t client, int newVolume) {
  char text[32];
  pthread_mutex_lock(&lock);
  if (newVolume >= 0) volume = newVolume;
  const int length = snprintf(text, sizeof text, "{\"volume\":%d}", volume);
  if (client != 0)
    SdkAPIExt_WebSocket_Send(client, kExtText, text, (size_t)length);
  else
    SdkAPIExt_WebSocket_Send_Valid(kExtText, text, (size_t)length);
  pthread_mutex_unlock(&lock);
}

static int OnWebSocket(int event, const char* token, const char* data, int length) {
  (void)token;
  if (event == kConnected) Tell(SdkAPIExt_WebSocket_Current(), -1);
  if (event == kText) {
    char* end;
    const long wanted = strtol(data, &end, 10); /* a NUL stands behind the text */
    const int good = length > 0 && end == data + length && wanted >= 0 && wanted <= 100;
    if (good)
      Tell(0, (int)wanted);
    else
      SdkAPIExt_WebSocket_Send(SdkAPIExt_WebSocket_Current(), kExtText, "{\"error\":\"0 to 100\"}", 20);
  }
  return kKeep;
}

int main(int argc, char** argv) {
  const SdkAPISerHandle table = {.WebSocketCb = OnWebSocket};
  const SdkAPIExtWebSocketLimits limits = {.size = sizeof limits, .mostMessageBytes = 64};
  if (SdkAPIExt_WebSocket_Limits_Set(&limits) != 0) return 1;
  return Serve(argc, argv, &table, NULL, NULL);
}
