// Pictures: which format it is, and whether it is a good one.
#include "content/picture.h"

#include <mutex>

#include "content/judge.h"
#include "sdkapi/kit_content.h"

namespace sdkkit {
namespace {

constexpr std::uint64_t kMostBytes = std::uint64_t{32} << 20;
constexpr std::int64_t kMostSide = 16384;
constexpr std::int64_t kMostPixels = 33554432;  // 7680 x 4320 fits

struct Format {
  std::string_view magic;
  const char* suffix;
  std::string (*fault)(std::string_view bytes);
};

constexpr Format kFormats[] = {
    {kPngMagic, ".png", PngFault}, {kJpegMagic, ".jpg", JpegFault}, {kBmpMagic, ".bmp", BmpFault}};

const Format* FormatOf(std::string_view bytes) {
  for (const Format& format : kFormats) {
    if (bytes.starts_with(format.magic)) return &format;
  }
  return nullptr;
}

std::string PictureFault(std::string_view bytes) {
  // One at a time: what decoding takes is not multiplied by the number of uploads.
  static std::mutex mutex;
  const Format* const format = FormatOf(bytes);
  if (format == nullptr) return "it is no PNG, JPEG or BMP picture";
  const std::lock_guard lock(mutex);
  return format->fault(bytes);
}

// The first bytes of a file, enough for each magic.
std::string HeadOf(const char* path) {
  std::string head(kPngMagic.size(), '\0');
  const FileDescriptor file = OpenToRead(path);
  head.resize(file ? ReadUpTo(file, head) : 0);
  return head;
}

}  // namespace

std::string SizeFault(std::int64_t width, std::int64_t height) {
  if (width < 1 || height < 1) return "it has no pixels";
  if (width > kMostSide || height > kMostSide || width * height > kMostPixels)
    return "it has too many pixels";
  return "";
}

}  // namespace sdkkit

int SdkKitContent_Picture(const char* path, char* why, size_t whySize) {
  using namespace sdkkit;
  return Judge(path, kMostBytes, why, whySize, [](const std::string& bytes) { return PictureFault(bytes); });
}

const char* SdkKitContent_Picture_Suffix(const char* path) {
  using namespace sdkkit;
  return Guarded(
      kContentLog,
      [&]() -> const char* {
        const Format* const format = path == nullptr ? nullptr : FormatOf(HeadOf(path));
        return format == nullptr ? "" : format->suffix;
      },
      "");
}
