// BMP pictures: uncompressed ones that hold all of their rows.
#include <algorithm>
#include <array>

#include "content/picture.h"

namespace sdkkit {
namespace {

constexpr std::size_t kHeads = 54;  // the file's and the smallest picture's

// Where the heads have what.
constexpr std::size_t kPixelsAt = 10;
constexpr std::size_t kHeadSize = 14;
constexpr std::size_t kWidth = 18;
constexpr std::size_t kHeight = 22;
constexpr std::size_t kPlanes = 26;
constexpr std::size_t kDepth = 28;
constexpr std::size_t kCompression = 30;

constexpr std::array<std::uint32_t, 5> kHeadSizes{40, 52, 56, 108, 124};
constexpr std::array<std::uint32_t, 6> kDepths{1, 4, 8, 16, 24, 32};
constexpr std::uint32_t kPlain = 0;
constexpr std::uint32_t kBitFields = 3;

std::uint32_t LittleEndian(std::string_view bytes, std::size_t at, std::size_t length) {
  std::uint32_t value = 0;
  for (std::size_t i = length; i-- > 0;) value = value << 8 | static_cast<unsigned char>(bytes[at + i]);
  return value;
}

template <std::size_t kCount>
bool IsOneOf(const std::array<std::uint32_t, kCount>& values, std::uint32_t value) {
  return std::ranges::find(values, value) != values.end();
}

}  // namespace

std::string BmpFault(std::string_view bytes) {
  if (bytes.size() < kHeads) return "it is no whole BMP picture";
  const std::uint32_t depth = LittleEndian(bytes, kDepth, 2);
  const std::uint32_t compression = LittleEndian(bytes, kCompression, 4);
  if (!IsOneOf(kHeadSizes, LittleEndian(bytes, kHeadSize, 4)) || LittleEndian(bytes, kPlanes, 2) != 1 ||
      !IsOneOf(kDepths, depth)) {
    return "it has an unknown kind of BMP head";
  }
  if (compression != kPlain && !(compression == kBitFields && depth >= 16))
    return "it is a compressed BMP picture";
  const std::int64_t width = static_cast<std::int32_t>(LittleEndian(bytes, kWidth, 4));
  const std::int64_t height = static_cast<std::int32_t>(LittleEndian(bytes, kHeight, 4));
  const std::int64_t rows = height < 0 ? -height : height;  // below 0: the rows go from top to bottom
  std::string fault = SizeFault(width, rows);
  if (!fault.empty()) return fault;
  const std::int64_t rowBytes = (width * depth + 31) / 32 * 4;
  const std::uint32_t pixelsAt = LittleEndian(bytes, kPixelsAt, 4);
  const bool whole =
      pixelsAt >= kHeads && pixelsAt + rowBytes * rows <= static_cast<std::int64_t>(bytes.size());
  return whole ? "" : "it is no whole BMP picture";
}

}  // namespace sdkkit
