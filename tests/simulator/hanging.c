/* Loaded into the simulated device: what it does every second hangs while the file that SDKAPI_HANGS names is
 * there. */
#include <sdkapi/kit_events.h>
#include <stdlib.h>
#include <unistd.h>

/* In place of the kit's: nobody listens here. */
int SdkKitEvents_Clients(void) {
  const char* const file = getenv("SDKAPI_HANGS");
  while (file != NULL && access(file, F_OK) == 0) usleep(10000);
  return 0;
}
