/* Loaded into the simulated device: a page of SDKAPI_TEST_ORIGIN may read its replies. */
#include <sdkapi/extension.h>
#include <stdlib.h>

__attribute__((constructor)) static void AllowOrigin(void) {
  if (SdkAPIExt_Option_Set("access_control_allow_origin", getenv("SDKAPI_TEST_ORIGIN")) != 0) abort();
}
