// The download slots of what the device makes itself: its log and its report.
#include "slots/downloads.h"

#include <cstdio>
#include <filesystem>
#include <sstream>
#include <string>

#include "model/device.h"
#include "model/units.h"
#include "slots/slot_guard.h"
#include "store/files.h"
#include "store/paths.h"

namespace sim {
namespace {

// Under its own name.
int Offer(DownloadFileInfo* info, const char* path) {
  if (!StatusOf(path)) return kRefused;
  const std::string name = std::filesystem::path(path).filename();
  std::snprintf(info->name, sizeof(info->name), "%s", name.c_str());
  std::snprintf(info->path, sizeof(info->path), "%s", path);
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
  return Guarded([&] { return Offer(info, kDeviceLog); });
}

int OfferReport(const char* /*token*/, DownloadFileInfo* info) {
  return Guarded([&] {
    if (!ReplaceFile(kReportPath, DeviceReport())) return kRefused;
    return Offer(info, kReportPath);
  });
}

}  // namespace

void FillDownloads(SdkAPISerHandle& table) {
  table.DownloadLogFileCb = OfferLog;
  table.DownloadCustomCb = OfferReport;
}

}  // namespace sim
