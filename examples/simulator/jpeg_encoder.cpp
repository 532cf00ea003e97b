// Makes JPEG pictures of test patterns.
#include "jpeg_encoder.h"

#include <turbojpeg.h>

#include <array>

namespace sim {
namespace {

constexpr int kBestQuality = 85;
constexpr int kWorstQuality = 25;
constexpr int kQualityStep = 15;

}  // namespace

void JpegEncoder::HandleDeleter::operator()(void* handle) const { tjDestroy(handle); }

JpegEncoder::JpegEncoder()
    : handle_(tjInitCompress()), buffer_(tjBufSize(kPictureWidth, kPictureHeight, TJSAMP_420)) {}

std::shared_ptr<const Jpeg> JpegEncoder::Encode(const TestPattern& pattern, size_t room) {
  for (int quality = kBestQuality; quality >= kWorstQuality; quality -= kQualityStep) {
    const size_t length = EncodeAt(pattern, quality);
    if (length > 0 && length <= room) return std::make_shared<Jpeg>(buffer_.data(), buffer_.data() + length);
  }
  return nullptr;
}

size_t JpegEncoder::EncodeAt(const TestPattern& pattern, int quality) {
  auto planes = pattern.planes();
  const std::array<int, 3> strides{kPictureWidth, kPictureWidth / 2, kPictureWidth / 2};
  unsigned char* out = buffer_.data();
  auto length = static_cast<unsigned long>(buffer_.size());
  const int result =
      tjCompressFromYUVPlanes(handle_.get(), planes.data(), kPictureWidth, strides.data(), kPictureHeight,
                              TJSAMP_420, &out, &length, quality, TJFLAG_NOREALLOC);
  return result == 0 ? length : 0;
}

}  // namespace sim
