// Every path below the data folder: nobody else writes one down.
#pragma once

#include <array>

namespace sim {

// They are relative: the process works in the data folder, and the records of the library hold 255 characters
// only.
inline constexpr const char* kDataDir = ".";
inline constexpr const char* kDatabasePath = "device.db";
inline constexpr const char* kRunningMark = "running";          // there while the device runs
inline constexpr const char* kFirmwareConfig = "build.config";  // the library reads it

inline constexpr const char* kFirmwareDir = "firmware";
inline constexpr std::array kFirmwareImages{"firmware/slot-0", "firmware/slot-1"};
inline constexpr const char* kFirmwareTrial = "firmware/trial";

inline constexpr const char* kTlsDir = "tls";
inline constexpr const char* kPortCertificate = "tls/ieee802_1x.pem";

inline constexpr const char* kFileDir = "files";
inline constexpr const char* kLogoPath = "files/logo";
inline constexpr const char* kBackgroundPath = "files/bg";
inline constexpr const char* kSetBackgroundPath = "files/setbgimage";
inline constexpr const char* kSetBasePath = "files/setbaseimage";
inline constexpr const char* kPngPath = "files/png";
inline constexpr const char* kScenePath = "files/scene.json";
inline constexpr const char* kEdidPath = "files/edid.bin";
inline constexpr const char* kXytePath = "files/xyte.json";
inline constexpr const char* kNotePath = "files/note";
inline constexpr const char* kPrivDir = "files/priv/";

inline constexpr const char* kExportDir = "export";
inline constexpr const char* kReportPath = "export/custom.txt";
inline constexpr const char* kBuiltInLogo = "export/logo.jpg";  // until one is uploaded

inline constexpr const char* kTempDir = "tmp";

inline constexpr const char* kDeviceLog = "log/device.log";  // the kit's

}  // namespace sim
