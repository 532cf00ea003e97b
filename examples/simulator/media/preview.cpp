// The previews: what the units and the device itself show.
#include "media/preview.h"

#include <sdkapi/kit_preview.h>

#include <chrono>
#include <cstring>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "media/test_pattern.h"
#include "model/device.h"
#include "model/units.h"
#include "slots/slot_guard.h"

namespace sim {
namespace {

constexpr uint32_t kMostViewers = 64;
constexpr const char* kNoSignal = "NO SIGNAL";

// A transmitter shows its own picture, a receiver that of its input. Nothing for units that are unknown or
// offline.
std::optional<std::string> ShownBy(const std::string& name) {
  if (name.empty()) return kDeviceModel;
  const auto unit = FindUnit(name);
  if (!unit || !unit->online) return std::nullopt;
  if (unit->type == "tx") return unit->name;
  const auto input = FindUnit(unit->input);
  return input && input->online ? input->name : kNoSignal;
}

// One source while somebody looks at it.
class Screen {
 public:
  Screen(std::string name, const std::string& shown)
      : name_(std::move(name)), shown_(shown), pattern_(shown) {}

  int Paint(const SdkKitPreviewPicture& picture) {
    const auto shown = ShownBy(name_);
    if (!shown) return kRefused;
    if (*shown != shown_) {
      pattern_ = TestPattern(*shown);
      shown_ = *shown;
    }
    pattern_.Advance(++number_, std::chrono::system_clock::now());
    pattern_.CopyTo(picture.data);
    return 0;
  }

 private:
  const std::string name_;
  std::string shown_;
  TestPattern pattern_;
  uint64_t number_ = 0;
};

void* Open(const char* name) {
  Screen* screen = nullptr;
  Guarded([&] {
    const auto shown = ShownBy(name);
    if (shown) screen = std::make_unique<Screen>(name, *shown).release();
    return 0;
  });
  return screen;
}

int Paint(void* run, SdkKitPreviewPicture* picture) {
  return Guarded([&] { return static_cast<Screen*>(run)->Paint(*picture); });
}

void Close(void* run) { const std::unique_ptr<Screen> ended(static_cast<Screen*>(run)); }

}  // namespace

void StartPreviews() {
  SdkKitPreviewOptions options{};
  options.size = sizeof options;
  options.mostViewers = kMostViewers;
  SdkKitPreviewSource source{};
  source.size = sizeof source;
  source.format = kPreviewI420;
  source.width = kPictureWidth;
  source.height = kPictureHeight;
  source.open = Open;
  source.picture = Paint;
  source.close = Close;
  if (SdkKitPreview_Start(&options) != 0 || SdkKitPreview_Source_Set(nullptr, &source) != 0)
    throw std::runtime_error("the previews cannot start");
}

void StopPreviews() { SdkKitPreview_Stop(); }

void FillPreviews(SdkAPISerHandle& table) { SdkKitPreview_Fill(&table); }

}  // namespace sim
