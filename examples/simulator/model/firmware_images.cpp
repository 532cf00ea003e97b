// The firmware's two images, and build.config, which says which one starts.
#include "model/firmware_images.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string_view>

#include "sdkapi/kit_storage.h"
#include "store/files.h"
#include "store/paths.h"

namespace sim {
namespace {

using nlohmann::json;

constexpr size_t kConfigLimit = 4096;
constexpr std::string_view kDoesNotStart = "does not start";

int written = -1;  // the image that is being written, by one upload at a time

// build.config: {"SoftwareVersion":TEXT,"Slot":0 or 1,"Before":TEXT}. The library reads the version.
json Config() {
  const auto text = ReadFile(kFirmwareConfig, kConfigLimit);
  const json config = text ? json::parse(*text, nullptr, false) : json();
  return config.is_object() ? config : json::object();
}

int SlotOf(const json& config) { return config.value("Slot", 0) == 1 ? 1 : 0; }
int RunningSlot() { return SlotOf(Config()); }
int OtherSlot() { return 1 - RunningSlot(); }

bool Select(const std::string& version, int number, const std::string& before) {
  return ReplaceFile(kFirmwareConfig,
                     json{{"SoftwareVersion", version}, {"Slot", number}, {"Before", before}}.dump() + '\n');
}

}  // namespace

void StartFirmwareImages() {
  if (!std::filesystem::exists(kFirmwareConfig) && !Select("1.0.0", 0, ""))
    throw std::runtime_error("build.config cannot be written");
}

bool OpenImage() {
  written = open(kFirmwareImages.at(OtherSlot()), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  return written >= 0;
}

bool WriteImage(const char* bytes, size_t length) {
  while (length > 0) {
    const ssize_t count = write(written, bytes, length);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    bytes += count;
    length -= static_cast<size_t>(count);
  }
  return true;
}

bool CloseImage(bool isGood) {
  const bool durable = !isGood || fsync(written) == 0;
  close(written);
  return durable && (!isGood || SdkKitStorage_Folder_Sync(kFirmwareDir) == 0);
}

bool SelectOtherImage(const std::string& version, const std::string& before) {
  return Select(version, OtherSlot(), before);
}

bool SelectImageBefore() { return SelectOtherImage(Config().at("Before"), ""); }

ImageChoice ChosenImage() {
  const json config = Config();
  return {SlotOf(config), config.value("Before", "")};
}

bool ImageWorks() {
  std::ifstream image(kFirmwareImages.at(RunningSlot()), std::ios::binary);
  std::string beginning(kDoesNotStart.size(), '\0');
  image.read(beginning.data(), static_cast<std::streamsize>(beginning.size()));
  return beginning != kDoesNotStart;
}

}  // namespace sim
