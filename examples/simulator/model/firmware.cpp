// The device's firmware: two slots, a simulated start, and what the clients are told.
#include "model/firmware.h"

#include <fcntl.h>
#include <sodium.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <vector>

#include "bus/events.h"
#include "model/device.h"
#include "model/refusals.h"
#include "model/users.h"
#include "sdkapi/kit_firmware.h"
#include "slots/slot_guard.h"
#include "store/files.h"

namespace sim {
namespace {

using nlohmann::json;

constexpr const char* kFolder = "firmware";
constexpr const char* kConfig = "build.config";
constexpr const char* kUploadRoute = "/api/v1/fw_upload";
constexpr size_t kConfigLimit = 4096;
constexpr std::string_view kDoesNotStart = "does not start";

std::array<unsigned char, kKitFirmwareKeySize> key;
int slot = -1;  // the one that is being written, by one upload at a time

// build.config: {"SoftwareVersion":TEXT,"Slot":0 or 1,"Before":TEXT}. The library reads the version.
json Config() {
  const auto text = ReadFile(kConfig, kConfigLimit);
  const json config = text ? json::parse(*text, nullptr, false) : json();
  return config.is_object() ? config : json::object();
}

int RunningSlot() { return Config().value("Slot", 0); }

std::string SlotPath(int number) { return std::string(kFolder) + "/slot-" + std::to_string(number); }

bool Select(const std::string& version, int number, const std::string& before) {
  return ReplaceFile(kConfig,
                     json{{"SoftwareVersion", version}, {"Slot", number}, {"Before", before}}.dump() + '\n');
}

int OpenSlot(const SdkKitFirmwareImage*) {
  return Guarded([] {
    slot = open(SlotPath(1 - RunningSlot()).c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    return slot >= 0 ? 0 : kRefused;
  });
}

int WriteSlot(const char* bytes, size_t length) {
  while (length > 0) {
    const ssize_t written = write(slot, bytes, length);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return kRefused;
    bytes += written;
    length -= static_cast<size_t>(written);
  }
  return 0;
}

int CloseSlot(int good) {
  const bool durable = good == 0 || fsync(slot) == 0;
  close(slot);
  return durable && (good == 0 || SyncFolder(kFolder)) ? 0 : kRefused;
}

int Activate(const char* version) {
  return Guarded([&] { return Select(version, 1 - RunningSlot(), SdkAPiSer_Version_Get()) ? 0 : kRefused; });
}

int RollBack() {
  return Guarded([] {
    const json config = Config();
    return Select(config.at("Before"), 1 - RunningSlot(), "") ? 0 : kRefused;
  });
}

int MayUpgrade(const char* token) {
  return Guarded([&] { return IsAdministrator(token) ? 0 : kNotAuthorised; });
}

// A firmware that was taken back is told when the reboot is over.
void TellClients(const SdkKitFirmwareProgress* progress) {
  Guarded([&] {
    const std::string version = progress->version;
    switch (progress->phase) {
      case kKitFirmwareReceiving:
        Publish(UpgradeEvent("receiving", progress->percent, version));
        break;
      case kKitFirmwareInstalling:
        Publish(UpgradeEvent("verifying", 100, version));
        break;
      case kKitFirmwareInstalled:
        ForgetRefusal(progress->token, kUploadRoute);
        BeginRebootSimulation(version);
        break;
      case kKitFirmwareFailed:
        Publish(UpgradeEvent("failed", 0, version, progress->why));
        [[fallthrough]];
      case kKitFirmwareRefused:
        NoteRefusal(progress->token, kUploadRoute, progress->why);
        break;
      default:
        break;
    }
    return 0;
  });
}

bool Start() {
  const std::string version = SdkAPiSer_Version_Get();
  SdkKitFirmwareOptions options{};
  options.size = sizeof options;
  options.keyCount = 1;
  options.keys = key.data();
  options.model = kDeviceModel;
  options.version = version.c_str();
  options.state = "firmware/trial";
  options.mayDowngrade = 1;
  options.may = MayUpgrade;
  options.open = OpenSlot;
  options.write = WriteSlot;
  options.close = CloseSlot;
  options.activate = Activate;
  options.rollBack = RollBack;
  options.progress = TellClients;
  return SdkKitFirmware_Start(&options) == 0;
}

void ReadKey(const std::string& path) {
  constexpr std::string_view kDigits = SIM_DEVELOPMENT_KEY;
  if (path.empty()) {
    sodium_hex2bin(key.data(), key.size(), kDigits.data(), kDigits.size(), nullptr, nullptr, nullptr);
  } else if (SdkKitFirmware_Key_Read(path.c_str(), key.data()) != 0) {
    throw std::runtime_error("no firmware key in " + path);
  }
}

}  // namespace

// A start that went back to the old slot has to be followed by another one.
bool RestartFirmware() {
  SdkKitFirmware_Stop();
  return Start() || Start();
}

void StartFirmware(const std::string& keyFile) {
  std::filesystem::create_directories(kFolder);
  ReadKey(keyFile);
  if (!std::filesystem::exists(kConfig) && !Select("1.0.0", 0, ""))
    throw std::runtime_error("build.config cannot be written");
  if (!RestartFirmware()) throw std::runtime_error("the firmware cannot start");
}

bool FirmwareWorks() {
  std::ifstream image(SlotPath(RunningSlot()), std::ios::binary);
  std::string beginning(kDoesNotStart.size(), '\0');
  image.read(beginning.data(), static_cast<std::streamsize>(beginning.size()));
  return beginning != kDoesNotStart;
}

void FillFirmware(SdkAPISerHandle* table) { SdkKitFirmware_Fill(table); }

json UpgradeEvent(const char* phase, uint64_t percent, const std::string& version,
                  const std::string& reason) {
  json event{{"type", "upgrade"}, {"phase", phase}, {"percent", percent}, {"version", version}};
  if (!reason.empty()) event["reason"] = reason;
  return event;
}

}  // namespace sim
