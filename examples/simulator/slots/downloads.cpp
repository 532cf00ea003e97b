// The download slots: which file each route offers, and the files that are made for the purpose.
#include "slots/downloads.h"

#include <sdkapi/kit_preview.h>

#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "media/test_pattern.h"
#include "model/device.h"
#include "model/units.h"
#include "slots/media.h"
#include "slots/slot_guard.h"
#include "slots/upload_slots.h"
#include "store/files.h"

namespace sim {
namespace {

constexpr int kLogoQuality = 85;
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

}  // namespace

void PrepareBuiltInLogo() {
  std::vector<unsigned char> pixels(kPictureBytes);
  TestPattern(kDeviceModel).CopyTo(pixels.data());
  std::string jpeg(kPictureLimit, '\0');
  std::size_t length = jpeg.size();
  const bool made = SdkKitPreview_Encode(kPreviewI420, kPictureWidth, kPictureHeight, pixels.data(),
                                         kLogoQuality, jpeg.data(), &length) == 0;
  if (made) ReplaceFile(kBuiltInLogo, jpeg.substr(0, length));
}

int DownloadLog(const char*, DownloadFileInfo* info) {
  return Guarded([&] { return Offer(info, "device.log", "log/device.log"); });
}

int DownloadCustomFile(const char*, DownloadFileInfo* info) {
  return Guarded([&] {
    if (!ReplaceFile(kReportPath, DeviceReport())) return kRefused;
    return Offer(info, "custom.txt", kReportPath);
  });
}

}  // namespace sim
