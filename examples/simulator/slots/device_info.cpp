// The slots that tell what the device is: its facts, its uptime and its units.
#include "slots/device_info.h"

#include <cstdio>
#include <ctime>
#include <string>

#include "model/device.h"
#include "model/reboot.h"
#include "model/unit_document.h"
#include "model/units.h"
#include "slots/slot_guard.h"

namespace sim {
namespace {

int TellDevice(const char* /*token*/, DeviceInfo* info) {
  return Guarded([&] {
    if (Rebooting()) return kRefused;
    std::snprintf(info->model, sizeof info->model, "%s", kDeviceModel);
    std::snprintf(info->security, sizeof info->security, "%s", "tls1.2");
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    gmtime_r(&now, &utc);
    std::strftime(info->devicetime, sizeof info->devicetime, "%Y-%m-%d %H:%M:%S", &utc);
    return 0;
  });
}

int TellUptime(char* uptime) {
  std::snprintf(uptime, kDeviceUptimeSize, "%lld", static_cast<long long>(DeviceUptime()));
  return 0;
}

int TellUnits(const char* /*token*/, char* list) {
  return Guarded([&] {
    const std::string text = UnitListText(ExportUnits());
    if (text.size() >= kTxRxListSize) return kRefused;
    std::snprintf(list, kTxRxListSize, "%s", text.c_str());
    return 0;
  });
}

}  // namespace

void FillDeviceInfo(SdkAPISerHandle& table) {
  table.DeviceInfoCb = TellDevice;
  table.DeviceStatusCb = TellUptime;
  table.GetTxRxListCb = TellUnits;
}

}  // namespace sim
