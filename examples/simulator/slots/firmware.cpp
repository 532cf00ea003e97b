// The firmware: its slot, the start of a new one, and its trial.
#include "slots/firmware.h"

#include <sdkapi/kit_firmware.h>
#include <sodium.h>

#include <array>
#include <stdexcept>
#include <string_view>

#include "model/device.h"
#include "model/firmware_images.h"
#include "model/reboot.h"
#include "model/refusals.h"
#include "slots/slot_guard.h"
#include "store/paths.h"

namespace sim {
namespace {

constexpr const char* kUploadRoute = "/api/v1/fw_upload";

std::array<unsigned char, kKitFirmwareKeySize> key;

// The tick's own: false as long as the storage does not let the firmware start.
bool isRunning = true;

// The answer of a function that the kit calls.
template <typename Work>
int Answered(Work work) {
  return Guarded([&] { return work() ? 0 : kRefused; });
}

int OpenSlot(const SdkKitFirmwareImage* /*image*/) { return Answered(OpenImage); }

int WriteSlot(const char* bytes, size_t length) {
  return Answered([&] { return WriteImage(bytes, length); });
}

int CloseSlot(int good) {
  return Answered([&] { return CloseImage(good != 0); });
}

int Activate(const char* version) {
  return Answered([&] { return SelectOtherImage(version, SdkAPiSer_Version_Get()); });
}

int RollBack() { return Answered(SelectImageBefore); }

// A firmware that was taken back is told when the reboot is over.
void TellClients(const SdkKitFirmwareProgress* progress) {
  Guarded([&] {
    const std::string version = progress->version;
    switch (progress->phase) {
      case kKitFirmwareReceiving:
        TellUpgrade("receiving", progress->percent, version);
        break;
      case kKitFirmwareInstalling:
        TellUpgrade("verifying", 100, version);
        break;
      case kKitFirmwareInstalled:
        ForgetRefusal(progress->token, kUploadRoute);
        BeginReboot(version);
        break;
      case kKitFirmwareFailed:
        TellUpgrade("failed", 0, version, progress->why);
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
  options.state = kFirmwareTrial;
  options.mayDowngrade = 1;
  options.open = OpenSlot;
  options.write = WriteSlot;
  options.close = CloseSlot;
  options.activate = Activate;
  options.rollBack = RollBack;
  options.progress = TellClients;
  return SdkKitFirmware_Start(&options) == 0;
}

// What a reboot does: starts what build.config names now. A start that went back to the old image has to be
// followed by another one. False when the storage does not let it.
bool Restart() {
  SdkKitFirmware_Stop();
  bool started = Start();
  if (!started) started = Start();
  StartDevice();
  return started;
}

void ReadKey(const std::string& path) {
  constexpr std::string_view kDigits = SIM_DEVELOPMENT_KEY;
  if (path.empty()) {
    sodium_hex2bin(key.data(), key.size(), kDigits.data(), kDigits.size(), nullptr, nullptr, nullptr);
  } else if (SdkKitFirmware_Key_Read(path.c_str(), key.data()) != 0) {
    throw std::runtime_error("no firmware key in " + path);
  }
}

void TellEnd(const std::string& expected) {
  if (SoftwareVersion() != expected) return TellUpgrade("failed", 0, expected, "it did not confirm itself");
  if (isRunning && ImageWorks() && SdkKitFirmware_Confirm() == 0) TellUpgrade("done", 100, expected);
}

void JudgeTrial() {
  if (!isRunning) isRunning = Restart();
  if (SdkKitFirmware_Trial() == 0) return;
  if (ImageWorks()) {
    SdkKitFirmware_Confirm();
  } else {
    BeginReboot(SoftwareVersion());
  }
}

}  // namespace

void StartFirmware(const std::string& keyFile) {
  ReadKey(keyFile);
  StartFirmwareImages();
  if (!Restart()) throw std::runtime_error("the firmware cannot start");
}

void StopFirmware() { SdkKitFirmware_Stop(); }

void FillFirmware(SdkAPISerHandle& table) { SdkKitFirmware_Fill(&table); }

void TickFirmware() {
  if (!Rebooting()) return JudgeTrial();
  const auto expected = EndReboot([] { isRunning = Restart(); });
  if (expected) TellEnd(*expected);
}

}  // namespace sim
