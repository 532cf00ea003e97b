// One upload of firmware: judged as it arrives, written beside the running one.
#include "firmware/install.h"

#include <utility>

#include "base/file.h"
#include "base/log.h"
#include "firmware/trial.h"

namespace sdkkit::firmware {
namespace {

constexpr Log kLog{"firmware"};
constexpr std::chrono::milliseconds kReportInterval{250};

}  // namespace

void Device::Tell(int phase, uint32_t percent, const std::string& version, const std::string& why,
                  const std::string& token) const {
  if (progress == nullptr) return;
  const SdkKitFirmwareProgress told{.size = sizeof told,
                                    .phase = phase,
                                    .percent = percent,
                                    .reserved = 0,
                                    .version = version.c_str(),
                                    .why = why.c_str(),
                                    .token = token.c_str()};
  progress(&told);
}

Install::~Install() {
  if (isOpen_) device_.close(0);
  if (!isDone_) Tell(kKitFirmwareFailed, 0, fault_);
}

std::string Install::Feed(std::string_view piece) {
  std::string fault = Take(piece);
  if (!fault.empty()) fault_ = fault;
  return fault;
}

std::string Install::Take(std::string_view piece) {
  if (!image_) {
    if (std::string fault = head_.Feed(piece); !fault.empty()) return fault;
    if (!head_.head()) return "";
    if (std::string fault = Begin(); !fault.empty()) return fault;
  }
  if (piece.empty()) return "";
  if (std::string fault = image_->Feed(piece); !fault.empty()) return fault;
  isDevicesFault_ = device_.write(piece.data(), piece.size()) != 0;
  if (isDevicesFault_) return "it cannot be written";
  Report();
  return "";
}

std::string Install::Begin() {
  const Head& head = *head_.head();
  version_ = head.version;
  image_.emplace(head);
  const SdkKitFirmwareImage image{.size = sizeof image,
                                  .downgrade = head.isOlder ? 1 : 0,
                                  .bytes = head.bytes,
                                  .version = head.version.c_str(),
                                  .sha256 = head.sha256.c_str()};
  isOpen_ = device_.open(&image) == 0;
  isDevicesFault_ = !isOpen_;
  return isOpen_ ? "" : "no room for it";
}

void Install::Report() {
  const auto now = Clock::now();
  if (now - reported_ < kReportInterval) return;
  reported_ = now;
  Tell(kKitFirmwareReceiving, image_->Percent());
}

std::string Install::Finish() {
  fault_ = image_ && image_->IsWhole() ? Activate() : "it is shorter than it says";
  isDone_ = fault_.empty();
  if (isDone_) Tell(kKitFirmwareInstalled, 100);
  return fault_;
}

// The trial is written before the slot is switched: a firmware that was never counted could not be taken
// back. When the power goes in between, the next start finds a trial of what does not run, and drops it.
std::string Install::Activate() {
  Tell(kKitFirmwareInstalling, 100);
  isOpen_ = false;
  if (device_.close(1) != 0) return "it cannot be written";
  if (!WriteTrial(device_.state, {.version = version_, .starts = 0})) return "its trial cannot be written";
  if (device_.activate(version_.c_str()) == 0) return "";
  if (!RemoveFile(device_.state)) kLog.Warning("the trial of %s is left behind", version_.c_str());
  return "it cannot be made the next one to start";
}

}  // namespace sdkkit::firmware
