// The host's options of firmware, judged and copied.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "firmware/install.h"
#include "sdkapi/kit_firmware.h"

namespace sdkkit::firmware {

struct Firmware {
  Device device;
  Rules rules;
  bool mayDowngrade;
  decltype(SdkKitFirmwareOptions::may) may;
  decltype(SdkKitFirmwareOptions::rollBack) rollBack;
  uint32_t mostStarts;
  std::string version;
};

// What is wrong with them; null when nothing is.
const char* FaultOf(const SdkKitFirmwareOptions& options);

// Of options without a fault.
std::shared_ptr<const Firmware> Copy(const SdkKitFirmwareOptions& options);

}  // namespace sdkkit::firmware
