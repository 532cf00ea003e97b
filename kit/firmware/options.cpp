// The host's options of firmware, judged and copied.
#include "firmware/options.h"

#include <cstring>
#include <vector>

namespace sdkkit::firmware {
namespace {

constexpr uint64_t kMostBytes = uint64_t{512} << 20;
constexpr uint32_t kMostStarts = 3;
constexpr uint32_t kMostKeys = 16;

bool HasFunctions(const SdkKitFirmwareOptions& options) {
  return options.open != nullptr && options.write != nullptr && options.close != nullptr &&
         options.activate != nullptr && options.rollBack != nullptr;
}

std::vector<Key> CopyKeys(const SdkKitFirmwareOptions& options) {
  std::vector<Key> keys(options.keyCount);
  for (std::size_t i = 0; i < keys.size(); ++i) {
    std::memcpy(keys[i].data(), options.keys + i * kKitFirmwareKeySize, kKitFirmwareKeySize);
  }
  return keys;
}

Device DeviceOf(const SdkKitFirmwareOptions& options) {
  return {.state = options.state != nullptr ? options.state : "firmware.state",
          .open = options.open,
          .write = options.write,
          .close = options.close,
          .activate = options.activate,
          .progress = options.progress};
}

Rules RulesOf(const SdkKitFirmwareOptions& options) {
  Rules rules{};
  rules.keys = CopyKeys(options);
  rules.model = options.model;
  rules.running = Version::Parse(options.version).value();
  rules.mayBeOlder = false;
  rules.most = options.most != 0 ? options.most : kMostBytes;
  return rules;
}

}  // namespace

const char* FaultOf(const SdkKitFirmwareOptions& options) {
  if (options.version == nullptr || !Version::Parse(options.version)) return "its version is none";
  if (options.model == nullptr) return "it has no model";
  if (options.keys == nullptr || options.keyCount == 0 || options.keyCount > kMostKeys)
    return "it needs 1 to 16 keys";
  return HasFunctions(options) ? nullptr : "one of open, write, close, activate and rollBack is missing";
}

std::shared_ptr<const Firmware> Copy(const SdkKitFirmwareOptions& options) {
  return std::make_shared<const Firmware>(
      Firmware{.device = DeviceOf(options),
               .rules = RulesOf(options),
               .mayDowngrade = options.mayDowngrade != 0,
               .may = options.may,
               .rollBack = options.rollBack,
               .mostStarts = options.mostStarts != 0 ? options.mostStarts : kMostStarts,
               .version = options.version});
}

}  // namespace sdkkit::firmware
