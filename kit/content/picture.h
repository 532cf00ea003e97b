// Pictures: what the formats have in common.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace sdkkit {

using std::string_view_literals::operator""sv;

inline constexpr std::string_view kPngMagic = "\x89PNG\r\n\x1a\n"sv;
inline constexpr std::string_view kJpegMagic = "\xff\xd8\xff"sv;
inline constexpr std::string_view kBmpMagic = "BM"sv;

// Why a picture of this size is not decoded; empty for one that is. Memory and time grow with the pixels.
std::string SizeFault(std::int64_t width, std::int64_t height);

// Why bytes that begin with the format's magic are not such a picture; empty for a good one.
std::string PngFault(std::string_view bytes);
std::string JpegFault(std::string_view bytes);
std::string BmpFault(std::string_view bytes);

}  // namespace sdkkit
