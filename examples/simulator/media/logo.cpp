// The logo that the device shows until one is uploaded.
#include "media/logo.h"

#include <sdkapi/kit_preview.h>

#include <cstddef>
#include <string>
#include <vector>

#include "media/test_pattern.h"
#include "model/device.h"
#include "store/files.h"
#include "store/paths.h"

namespace sim {
namespace {

constexpr int kQuality = 85;

}  // namespace

void DrawBuiltInLogo() {
  std::vector<unsigned char> pixels(kPictureBytes);
  TestPattern(kDeviceModel).CopyTo(pixels.data());
  std::string jpeg(kPictureLimit, '\0');
  std::size_t length = jpeg.size();
  const bool made = SdkKitPreview_Encode(kPreviewI420, kPictureWidth, kPictureHeight, pixels.data(), kQuality,
                                         jpeg.data(), &length) == 0;
  if (made) ReplaceFile(kBuiltInLogo, jpeg.substr(0, length));
}

}  // namespace sim
