// JPEG pictures: checking them, and making them of raw ones.
#include "preview/encoder.h"

#include <turbojpeg.h>

#include <algorithm>
#include <array>

namespace sdkkit {
namespace {

constexpr int kWorstQuality = 10;
constexpr int kQualityStep = 15;
constexpr uint32_t kSmallest = 16;
constexpr uint32_t kLargest = 4096;

bool IsGoodLength(uint32_t length) { return length >= kSmallest && length <= kLargest && length % 2 == 0; }

}  // namespace

void Encoder::HandleDeleter::operator()(void* handle) const { tjDestroy(handle); }

bool IsJpeg(std::string_view bytes) {
  if (bytes.empty() || bytes.size() > kMostPictureBytes) return false;
  const std::unique_ptr<void, decltype(&tjDestroy)> handle(tjInitDecompress(), tjDestroy);
  int width = 0;
  int height = 0;
  int sampling = 0;
  int colours = 0;
  const void* const data = bytes.data();
  return handle && tjDecompressHeader3(handle.get(), static_cast<const unsigned char*>(data), bytes.size(),
                                       &width, &height, &sampling, &colours) == 0;
}

bool RawShape::IsGood() const {
  return (format == kPreviewRgb || format == kPreviewI420) && IsGoodLength(width) && IsGoodLength(height);
}

std::size_t RawShape::Bytes() const {
  const std::size_t pixels = std::size_t{width} * height;
  return format == kPreviewRgb ? pixels * 3 : pixels / 2 * 3;
}

Encoder::Encoder() : handle_(tjInitCompress()) {}

Jpeg Encoder::Encode(const RawShape& shape, const unsigned char* pixels, int quality) {
  buffer_.resize(tjBufSize(static_cast<int>(shape.width), static_cast<int>(shape.height), TJSAMP_420));
  for (; quality > 0;
       quality = quality > kWorstQuality ? std::max(quality - kQualityStep, kWorstQuality) : 0) {
    const std::size_t length = EncodeAt(shape, pixels, quality);
    if (length == 0) return nullptr;
    if (length <= kMostPictureBytes) return std::make_shared<const std::string>(buffer_, 0, length);
  }
  return nullptr;
}

std::size_t Encoder::EncodeAt(const RawShape& shape, const unsigned char* pixels, int quality) {
  const int width = static_cast<int>(shape.width);
  const int height = static_cast<int>(shape.height);
  void* const room = buffer_.data();
  auto* out = static_cast<unsigned char*>(room);
  auto length = static_cast<unsigned long>(buffer_.size());
  if (shape.format == kPreviewRgb) {
    const int done = tjCompress2(handle_.get(), pixels, width, 0, height, TJPF_RGB, &out, &length, TJSAMP_420,
                                 quality, TJFLAG_NOREALLOC);
    return done == 0 ? length : 0;
  }
  const std::size_t plane = std::size_t{shape.width} * shape.height;
  std::array<const unsigned char*, 3> planes{pixels, pixels + plane, pixels + plane + plane / 4};
  const std::array<int, 3> strides{width, width / 2, width / 2};
  const int done = tjCompressFromYUVPlanes(handle_.get(), planes.data(), width, strides.data(), height,
                                           TJSAMP_420, &out, &length, quality, TJFLAG_NOREALLOC);
  return done == 0 ? length : 0;
}

}  // namespace sdkkit
