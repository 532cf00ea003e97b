// One upload of firmware: judged as it arrives, written beside the running one.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "firmware/container.h"
#include "sdkapi/kit_firmware.h"

namespace sdkkit::firmware {

// The host's functions, and where a trial is kept.
struct Device {
  std::string state;
  decltype(SdkKitFirmwareOptions::open) open;
  decltype(SdkKitFirmwareOptions::write) write;
  decltype(SdkKitFirmwareOptions::close) close;
  decltype(SdkKitFirmwareOptions::activate) activate;
  decltype(SdkKitFirmwareOptions::progress) progress;

  // The token is that of the upload; empty outside of one.
  void Tell(int phase, uint32_t percent, const std::string& version, const std::string& why,
            const std::string& token) const;
};

class Install {
 public:
  Install(Device device, Rules rules, std::string token)
      : device_(std::move(device)), rules_(std::move(rules)), token_(std::move(token)), head_(rules_) {}
  Install(const Install&) = delete;
  Install& operator=(const Install&) = delete;
  // What did not end well leaves the slot that is not running of no use, and is told as failed.
  ~Install();

  // An empty text, or why the container is refused. Nothing more is taken then.
  std::string Feed(std::string_view piece);
  // After the last piece: from here on the new firmware is the next one to start.
  std::string Finish();

  // Whether what went wrong is no matter of the container.
  bool IsDevicesFault() const { return isDevicesFault_; }
  const std::string& version() const { return version_; }

 private:
  std::string Take(std::string_view piece);
  std::string Begin();
  std::string Activate();
  void Tell(int phase, uint32_t percent, const std::string& why = {}) const {
    device_.Tell(phase, percent, version_, why, token_);
  }
  void Report();

  using Clock = std::chrono::steady_clock;

  const Device device_;
  const Rules rules_;
  const std::string token_;
  HeadReader head_;
  std::optional<ImageReader> image_;
  std::string version_;
  std::string fault_ = "it broke off";
  bool isOpen_ = false;
  bool isDone_ = false;
  bool isDevicesFault_ = false;
  Clock::time_point reported_ = Clock::now();
};

}  // namespace sdkkit::firmware
