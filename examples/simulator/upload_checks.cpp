// Tests of uploaded content: is this file what its route asks for?
#include "upload_checks.h"

#include <turbojpeg.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <nlohmann/json.hpp>
#include <numeric>
#include <string_view>

#include "files.h"

namespace sim {
namespace {

using std::string_view_literals::operator""sv;

constexpr uint32_t kMaxSide = 16384;
constexpr auto kPngMagic = "\x89PNG\r\n\x1a\n"sv;
constexpr auto kJpegMagic = "\xff\xd8\xff"sv;
constexpr auto kBmpMagic = "BM"sv;
constexpr auto kEdidMagic = "\0\xff\xff\xff\xff\xff\xff\0"sv;
constexpr size_t kEdidBlock = 128;

uint32_t ByteAt(std::string_view bytes, size_t at) { return static_cast<unsigned char>(bytes[at]); }

uint32_t BigEndian32(std::string_view bytes, size_t at) {
  return ByteAt(bytes, at) << 24 | ByteAt(bytes, at + 1) << 16 | ByteAt(bytes, at + 2) << 8 |
         ByteAt(bytes, at + 3);
}

uint32_t LittleEndian32(std::string_view bytes, size_t at) {
  return ByteAt(bytes, at + 3) << 24 | ByteAt(bytes, at + 2) << 16 | ByteAt(bytes, at + 1) << 8 |
         ByteAt(bytes, at);
}

bool IsSide(int64_t pixels) { return pixels >= 1 && pixels <= kMaxSide; }

// Walks all chunks, so that a picture that was cut off is found out.
bool HasWholePngChunks(std::string_view bytes) {
  size_t at = kPngMagic.size();
  constexpr size_t kFrame = 12;
  while (bytes.size() - at >= kFrame) {
    const size_t length = BigEndian32(bytes, at);
    if (length > bytes.size() - at - kFrame) return false;
    if (bytes.substr(at + 4, 4) == "IEND") return true;
    at += length + kFrame;
  }
  return false;
}

bool IsPng(std::string_view bytes) {
  if (!bytes.starts_with(kPngMagic) || bytes.size() < 33) return false;
  if (BigEndian32(bytes, 8) != 13 || bytes.substr(12, 4) != "IHDR") return false;
  return IsSide(BigEndian32(bytes, 16)) && IsSide(BigEndian32(bytes, 20)) && HasWholePngChunks(bytes);
}

struct DecoderDeleter {
  void operator()(void* handle) const { tjDestroy(handle); }
};

bool IsJpeg(std::string_view bytes) {
  if (!bytes.starts_with(kJpegMagic)) return false;
  const std::unique_ptr<void, DecoderDeleter> decoder(tjInitDecompress());
  if (!decoder) return false;
  int width = 0;
  int height = 0;
  int sampling = 0;
  int colours = 0;
  const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
  const int result = tjDecompressHeader3(decoder.get(), data, static_cast<unsigned long>(bytes.size()),
                                         &width, &height, &sampling, &colours);
  return result == 0 && IsSide(width) && IsSide(height);
}

bool IsBmp(std::string_view bytes) {
  if (!bytes.starts_with(kBmpMagic) || bytes.size() < 54) return false;
  constexpr std::array<uint32_t, 5> kHeaderSizes{40, 52, 56, 108, 124};
  const bool knownHeader = std::ranges::find(kHeaderSizes, LittleEndian32(bytes, 14)) != kHeaderSizes.end();
  const auto width = static_cast<int32_t>(LittleEndian32(bytes, 18));
  const auto height = static_cast<int32_t>(LittleEndian32(bytes, 22));
  const int64_t rows = height < 0 ? -int64_t{height} : height;  // A negative height means rows from the top.
  return knownHeader && IsSide(width) && IsSide(rows) && LittleEndian32(bytes, 10) < bytes.size();
}

bool IsEdidBlock(std::string_view block) {
  const int sum = std::accumulate(block.begin(), block.end(), 0,
                                  [](int total, char c) { return total + static_cast<unsigned char>(c); });
  return sum % 256 == 0;
}

}  // namespace

const char* PictureSuffix(const std::string& path) {
  const auto bytes = ReadFile(path, kPictureLimit);
  if (!bytes) return "";
  if (IsPng(*bytes)) return ".png";
  if (IsJpeg(*bytes)) return ".jpg";
  return IsBmp(*bytes) ? ".bmp" : "";
}

bool IsPicture(const std::string& path) { return *PictureSuffix(path) != '\0'; }

bool IsJsonText(const std::string& path) {
  const auto text = ReadFile(path, kTextLimit);
  return text && nlohmann::json::accept(*text);
}

bool IsEdid(const std::string& path) {
  const auto bytes = ReadFile(path, kEdidLimit);
  if (!bytes || (bytes->size() != kEdidBlock && bytes->size() != 2 * kEdidBlock)) return false;
  const std::string_view all = *bytes;
  return all.starts_with(kEdidMagic) && IsEdidBlock(all.substr(0, kEdidBlock)) &&
         IsEdidBlock(all.substr(kEdidBlock));
}

bool IsAnything(const std::string&) { return true; }

}  // namespace sim
