// The download slots of what the device makes itself: its log and its report.
#include "slots/downloads.h"

#include <cstdio>
#include <sstream>
#include <string>

#include "model/device.h"
#include "model/units.h"
#include "slots/slot_guard.h"
#include "store/files.h"

namespace sim {
namespace {

constexpr const char* kReportPath = "export/custom.txt";

template <typename Info>
int Offer(Info* info, const std::string& name, const std::string& path) {
  if (!StatusOf(path)) return kRefused;
  std::snprintf(info->name, sizeof(info->name), "%s", name.c_str());
  std::snprintf(info->path, sizeof(info->path), "%s", path.c_str());
  return 0;
}

// A report for the service desk.
std::string DeviceReport() {
  std::ostringstream report;
  report << "model " << kDeviceModel << "\nversion " << SoftwareVersion() << "\n\nunits\n";
  for (const Unit& unit : ListUnits()) {
    report << "  " << unit.name << ' ' << (unit.online ? "online" : "offline") << ' ' << unit.ip << ' '
           << unit.mac;
    if (!unit.input.empty()) report << " input " << unit.input;
    report << '\n';
  }
  report << "\nfiles\n";
  for (const FileKind& kind : FileKinds()) {
    const auto status = StatusOf(kind.path);
    if (status) report << "  " << kind.kind << ' ' << status->size << " bytes\n";
  }
  return report.str();
}

int OfferLog(const char* /*token*/, DownloadFileInfo* info) {
  return Guarded([&] { return Offer(info, "device.log", "log/device.log"); });
}

int OfferReport(const char* /*token*/, DownloadFileInfo* info) {
  return Guarded([&] {
    if (!ReplaceFile(kReportPath, DeviceReport())) return kRefused;
    return Offer(info, "custom.txt", kReportPath);
  });
}

}  // namespace

void FillDownloads(SdkAPISerHandle& table) {
  table.DownloadLogFileCb = OfferLog;
  table.DownloadCustomCb = OfferReport;
}

}  // namespace sim
