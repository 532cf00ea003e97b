// The device's own routes, all of them.
#include "slots/own_routes.h"

#include "slots/account_routes.h"
#include "slots/certificate_routes.h"
#include "slots/file_routes.h"
#include "slots/firmware_routes.h"
#include "slots/health_routes.h"
#include "slots/metrics.h"
#include "slots/preset_routes.h"
#include "slots/refusal_routes.h"
#include "slots/unit_routes.h"

namespace sim {

void RegisterOwnRoutes() {
  RegisterUnitRoutes();
  RegisterPresetRoutes();
  RegisterFileRoutes();
  RegisterAccountRoutes();
  RegisterRefusalRoutes();
  RegisterCertificateRoutes();
  RegisterFirmwareRoutes();
  RegisterMetrics();
  RegisterHealthRoutes();
}

}  // namespace sim
