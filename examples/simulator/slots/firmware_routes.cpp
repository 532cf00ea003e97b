// The device's own route that says which firmware runs.
#include "slots/firmware_routes.h"

#include <sdkapi/kit_accounts.h>
#include <sdkapi/kit_firmware.h>

#include "model/device.h"
#include "model/firmware_images.h"
#include "slots/replies.h"
#include "slots/slot_guard.h"

namespace sim {
namespace {

int ServeFirmware(mg_connection* conn, CustomReqInfo* request) {
  return Guarded([&] {
    if (request->method != kGet) return AnswerError(conn, 405, "method not allowed");
    const ImageChoice image = ChosenImage();
    return Answer(conn, 200,
                  {{"version", SoftwareVersion()},
                   {"before", image.before},
                   {"slot", image.slot},
                   {"trial", SdkKitFirmware_Trial() == 1}});
  });
}

}  // namespace

void RegisterFirmwareRoutes() { SdkKitAccounts_Get_Post_Add("/sim/firmware$", ServeFirmware); }

}  // namespace sim
