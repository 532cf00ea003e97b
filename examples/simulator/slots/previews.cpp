// The preview slot: what the units and the device itself show.
#include "slots/previews.h"

#include <sdkapi/kit_preview.h>

#include <memory>
#include <stdexcept>

#include "media/screen.h"
#include "media/test_pattern.h"
#include "slots/slot_guard.h"

namespace sim {
namespace {

constexpr uint32_t kMostViewers = 64;

void* Open(const char* name) {
  Screen* screen = nullptr;
  Guarded([&] {
    screen = OpenScreen(name).release();
    return 0;
  });
  return screen;
}

int Paint(void* run, SdkKitPreviewPicture* picture) {
  return Guarded([&] { return static_cast<Screen*>(run)->Paint(picture->data) ? 0 : kRefused; });
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
