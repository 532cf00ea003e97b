// JPEG pictures: decoded at an eighth of their size, which still reads every bit of them.
#include <turbojpeg.h>

#include <memory>
#include <vector>

#include "content/picture.h"

namespace sdkkit {
namespace {

// A progressive picture is kept whole in memory while it is decoded.
constexpr std::int64_t kMostProgressivePixels = 8847360;  // 4096 x 2160

constexpr unsigned char kMark = 0xff;
constexpr unsigned char kStartOfScan = 0xda;

struct DecoderDeleter {
  void operator()(void* handle) const { tjDestroy(handle); }
};
using DecoderPtr = std::unique_ptr<void, DecoderDeleter>;

// Looks at the kind of the first frame, which stands before the first scan.
bool IsProgressive(std::string_view bytes) {
  for (std::size_t at = 2; at + 4 <= bytes.size();) {
    const auto byteAt = [&](std::size_t offset) { return static_cast<unsigned char>(bytes[at + offset]); };
    if (byteAt(0) != kMark) return false;
    const unsigned kind = byteAt(1);
    if (kind == kStartOfScan) return false;
    if (kind == 0xc2 || kind == 0xc6 || kind == 0xca || kind == 0xce) return true;
    if (kind == kMark) {  // fill bytes may stand before a marker
      ++at;
      continue;
    }
    at += 2 + (static_cast<std::size_t>(byteAt(2)) << 8 | byteAt(3));
  }
  return false;
}

std::string Reason(tjhandle decoder) {
  return std::string("it is no whole JPEG picture: ") + tjGetErrorStr2(decoder);
}

int EighthOf(int side) { return (side + 7) / 8; }

}  // namespace

std::string JpegFault(std::string_view bytes) {
  const DecoderPtr decoder(tjInitDecompress());
  if (!decoder) return "memory is short";
  const auto* const data = reinterpret_cast<const unsigned char*>(bytes.data());
  const auto length = static_cast<unsigned long>(bytes.size());
  int width = 0;
  int height = 0;
  int sampling = 0;
  int colours = 0;
  if (tjDecompressHeader3(decoder.get(), data, length, &width, &height, &sampling, &colours) != 0) {
    return Reason(decoder.get());
  }
  std::string fault = SizeFault(width, height);
  if (!fault.empty()) return fault;
  if (std::int64_t{width} * height > kMostProgressivePixels && IsProgressive(bytes)) {
    return "it has too many pixels for a progressive JPEG";
  }
  const int pixelFormat = colours == TJCS_CMYK || colours == TJCS_YCCK ? TJPF_CMYK : TJPF_RGB;
  std::vector<unsigned char> small(static_cast<std::size_t>(EighthOf(width)) * EighthOf(height) *
                                   tjPixelSize[pixelFormat]);
  const int result = tjDecompress2(decoder.get(), data, length, small.data(), EighthOf(width), 0,
                                   EighthOf(height), pixelFormat, TJFLAG_LIMITSCANS);
  return result == 0 ? "" : Reason(decoder.get());
}

}  // namespace sdkkit
