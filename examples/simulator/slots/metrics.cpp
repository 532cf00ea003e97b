// The device's own numbers on /metrics.
#include "slots/metrics.h"

#include <sdkapi/kit_accounts.h>
#include <sdkapi/kit_metrics.h>

#include <stdexcept>

#include "bus/events.h"
#include "model/device.h"
#include "model/units.h"
#include "sdkapi/sdkapi.h"

namespace sim {
namespace {

constexpr SdkKitMetric kMetrics[] = {
    {"device_temperature_celsius", "How warm the device is.", nullptr, kKitGauge, 0, DeviceTemperature},
    {"device_clients", "Clients that get events.", nullptr, kKitGauge, 0,
     [] { return static_cast<double>(CountClients()); }},
    {"device_units_online", "Units that are online.", nullptr, kKitGauge, 0,
     [] { return static_cast<double>(CountOnlineUnits()); }},
};

}  // namespace

void StartMetrics() {
  const SdkKitMetricsOptions options{sizeof options, sizeof(SdkKitMetric), kMetrics, std::size(kMetrics)};
  if (SdkKitMetrics_Start(&options) != 0) throw std::runtime_error("the metrics are not in order");
}

void RegisterMetrics() { SdkKitAccounts_Get_Post_Add("/metrics$", SdkKitMetrics_Answer); }

}  // namespace sim
