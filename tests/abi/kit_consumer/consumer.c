/* A small program on the kit: the library and the kit are there, and the kit takes a hook. */
#include <sdkapi/kit.h>
#include <sdkapi/sdkapi.h>
#include <stddef.h>

static void Log(int level, const char* subject, const char* text) {
  (void)level;
  (void)subject;
  (void)text;
}

int main(void) {
  SdkKitLog_Set(Log);
  SdkKitLog_Set(NULL);
  return SdkAPISer_Port_Set(0, 0);
}
