// The checks of content: good files of each kind, and what makes one bad.
#include <gtest/gtest.h>
#include <png.h>
#include <turbojpeg.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <numeric>
#include <string>
#include <vector>

#include "base/file.h"
#include "sdkapi/kit_content.h"

namespace sdkkit {
namespace {

namespace fs = std::filesystem;

constexpr const char* kGood = "";

// What a check says of these bytes: kGood, or its reason.
std::string Say(SdkKitCheck check, const std::string& bytes) {
  std::string folder = (fs::temp_directory_path() / "sdkapi-content-XXXXXX").string();
  if (mkdtemp(folder.data()) == nullptr) return "no folder";
  const std::string path = folder + "/file";
  std::array<char, 256> why{};
  const int result = ReplaceFile(path, bytes) ? check(path.c_str(), why.data(), why.size()) : 1;
  fs::remove_all(folder);
  const std::string reason = why.data();
  EXPECT_EQ(result == 0, reason.empty());
  return reason;
}

std::string With(std::string bytes, std::size_t at, const std::string& part) {
  return bytes.replace(at, part.size(), part);
}

// A grey picture of noise, so that every byte of it counts.
std::vector<unsigned char> Noise(int width, int height, int channels) {
  std::vector<unsigned char> pixels(static_cast<std::size_t>(width) * height * channels);
  unsigned state = 1;
  for (auto& pixel : pixels) pixel = static_cast<unsigned char>((state = state * 1103515245 + 12345) >> 16);
  return pixels;
}

std::string Png(png_uint_32 width, png_uint_32 height) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  image.width = width;
  image.height = height;
  image.format = PNG_FORMAT_RGB;
  const auto pixels = Noise(static_cast<int>(width), static_cast<int>(height), 3);
  png_alloc_size_t length = 0;
  png_image_write_get_memory_size(image, length, 0, pixels.data(), 0, nullptr);
  std::string bytes(length, '\0');
  png_image_write_to_memory(&image, bytes.data(), &length, 0, pixels.data(), 0, nullptr);
  bytes.resize(length);
  return bytes;
}

std::string Jpeg(int width, int height, int flags = 0, int sampling = TJSAMP_420) {
  tjhandle encoder = tjInitCompress();
  const auto pixels = Noise(width, height, 3);
  unsigned char* jpeg = nullptr;
  unsigned long length = 0;
  tjCompress2(encoder, pixels.data(), width, 0, height, TJPF_RGB, &jpeg, &length, sampling, 80, flags);
  std::string bytes(reinterpret_cast<char*>(jpeg), length);
  tjFree(jpeg);
  tjDestroy(encoder);
  return bytes;
}

std::string Bytes(std::uint64_t value, int count) {
  std::string bytes;
  for (int i = 0; i < count; ++i, value >>= 8) bytes.push_back(static_cast<char>(value));
  return bytes;
}

std::string Bmp(int width, int height, int depth = 24) {
  const int rows = std::abs(height);
  return "BM" + Bytes(0, 8) + Bytes(54, 4) + Bytes(40, 4) + Bytes(static_cast<std::uint32_t>(width), 4) +
         Bytes(static_cast<std::uint32_t>(height), 4) + Bytes(1, 2) +
         Bytes(static_cast<std::uint32_t>(depth), 2) + Bytes(0, 24) +
         std::string(static_cast<std::size_t>((width * depth + 31) / 32 * 4 * rows), 'x');
}

TEST(ContentTest, Pictures) {
  const std::string png = Png(40, 30);
  const std::string jpeg = Jpeg(40, 30);
  const std::string noPng = "it is no whole PNG picture";
  const std::string noJpeg = "it is no whole JPEG picture";
  struct Row {
    const char* what;
    std::string bytes;
    std::string said;
  };
  const Row rows[] = {
      {"a PNG", png, kGood},
      {"a PNG of one pixel", Png(1, 1), kGood},
      {"a PNG without its end", png.substr(0, png.size() - 12), noPng},
      {"a PNG cut in its pixels", png.substr(0, png.size() / 2), noPng},
      {"a PNG with a changed bit", With(png, png.size() / 2, "\x55\xaa"), noPng},
      {"a PNG of 2^31 pixels a side", With(png, 16, "\x7f\xff\xff\xff"), noPng},
      {"a PNG's magic alone", png.substr(0, 8), noPng},
      {"a JPEG", jpeg, kGood},
      {"a grey JPEG", Jpeg(40, 30, 0, TJSAMP_GRAY), kGood},
      {"a progressive JPEG", Jpeg(40, 30, TJFLAG_PROGRESSIVE), kGood},
      {"a JPEG cut in its pixels", jpeg.substr(0, jpeg.size() / 2), noJpeg},
      {"a JPEG's magic alone", jpeg.substr(0, 3), "it has no pixels"},
      {"a large progressive JPEG", Jpeg(4096, 2161, TJFLAG_PROGRESSIVE),
       "it has too many pixels for a progressive JPEG"},
      {"a large JPEG", Jpeg(4096, 2161), kGood},
      {"a BMP", Bmp(3, 2), kGood},
      {"a BMP from the top", Bmp(3, -2), kGood},
      {"a BMP of one bit a pixel", Bmp(33, 2, 1), kGood},
      {"a BMP without its last byte", Bmp(3, 2).substr(0, 54 + 23), "it is no whole BMP picture"},
      {"a BMP without a width", Bmp(0, 2), "it has no pixels"},
      {"a BMP that is too high", With(Bmp(3, 2), 22, Bytes(0x80000000U, 4)), "it has too many pixels"},
      {"a compressed BMP", With(Bmp(3, 2, 8), 30, Bytes(1, 4)), "it is a compressed BMP picture"},
      {"a BMP of 23 bits a pixel", Bmp(3, 2, 23), "it has an unknown kind of BMP head"},
      {"a BMP's magic alone", "BM", "it is no whole BMP picture"},
      {"a text", "picture", "it is no PNG, JPEG or BMP picture"},
      {"nothing", "", "it is no PNG, JPEG or BMP picture"},
  };
  // Behind the colon stand the words of the decoder.
  for (const Row& row : rows) {
    const std::string said = Say(SdkKitContent_Picture, row.bytes);
    EXPECT_EQ(said.substr(0, said.find(':')), row.said) << row.what;
  }
}

TEST(ContentTest, TheSuffixOfAPictureIsThatOfItsContent) {
  const std::string path =
      (fs::temp_directory_path() / ("sdkapi-suffix-" + std::to_string(getpid()))).string();
  for (const auto& [bytes, suffix] : {std::pair<std::string, std::string>{Png(1, 1), ".png"},
                                      {Jpeg(8, 8), ".jpg"},
                                      {Bmp(1, 1), ".bmp"},
                                      {"text", ""},
                                      {"", ""}}) {
    ASSERT_TRUE(ReplaceFile(path, bytes));
    EXPECT_EQ(SdkKitContent_Picture_Suffix(path.c_str()), suffix);
  }
  fs::remove(path);
  EXPECT_STREQ(SdkKitContent_Picture_Suffix(path.c_str()), "");
  EXPECT_STREQ(SdkKitContent_Picture_Suffix(nullptr), "");
}

// With its checksum made right.
std::string Block(std::string block) {
  block.resize(127);
  const auto sum =
      std::accumulate(block.begin(), block.end(), 0, [](int total, char c) { return total + c; });
  return block + static_cast<char>(-sum);
}

std::string EdidBase() {
  std::string base(std::string("\0\xff\xff\xff\xff\xff\xff\0", 8) + "\x4c\x2d");
  base.resize(126);
  base = With(base, 18, "\x01\x04");
  return With(base, 54, std::string("\x02\x3a\x80\x18\x71\x38\x2d\x40", 8));
}

TEST(ContentTest, Edids) {
  const std::string base = EdidBase();
  const std::string two = Block(With(base + '\x01', 126, "\x01"));
  const std::string extension = Block("\x02\x03");
  const std::string zero(1, '\0');
  struct Row {
    const char* what;
    std::string bytes;
    std::string said;
  };
  const Row rows[] = {
      {"one block", Block(base), kGood},
      {"version 1.3", Block(With(base, 19, "\x03")), kGood},
      {"two blocks", two + extension, kGood},
      {"eight blocks",
       Block(base + '\x07') + extension + extension + extension + extension + extension + extension +
           extension,
       kGood},
      {"nine blocks", Block(base + '\x08') + std::string(1024, '\0'), "it cannot be read, or is too large"},
      {"nothing", "", "it is not made of whole EDID blocks"},
      {"a byte less", Block(base).substr(0, 127), "it is not made of whole EDID blocks"},
      {"a byte more", Block(base) + "x", "it is not made of whole EDID blocks"},
      {"another header", Block(With(base, 0, "\x01")), "it has no EDID header"},
      {"version 1.2", Block(With(base, 19, "\x02")), "it is not EDID 1.3 or 1.4"},
      {"version 2.3", Block(With(base, 18, "\x02\x03")), "it is not EDID 1.3 or 1.4"},
      {"no maker", Block(With(base, 8, zero + zero)), "it names no maker"},
      {"a maker of two letters", Block(With(base, 8, zero + "\x2d")), "it names no maker"},
      {"a maker beyond Z", Block(With(base, 8, "\x7f\xff")), "it names no maker"},
      {"no timing", Block(With(base, 54, zero + zero)), "it has no preferred timing"},
      {"a timing without a width", Block(With(With(base, 56, zero), 58, zero)), "it has no preferred timing"},
      {"a missing block", two, "it has another number of blocks than it says"},
      {"a block too many", Block(base) + extension, "it has another number of blocks than it says"},
      {"a wrong checksum", With(Block(base), 127, "\x01"), "block 0 has a wrong checksum"},
      {"a wrong checksum behind", two + With(extension, 100, "x"), "block 1 has a wrong checksum"},
  };
  for (const Row& row : rows) EXPECT_EQ(Say(SdkKitContent_Edid, row.bytes), row.said) << row.what;
}

TEST(ContentTest, Texts) {
  struct Row {
    SdkKitCheck check;
    std::string bytes;
    std::string said;
  };
  const std::string million(std::size_t{1} << 20, 'x');
  const Row rows[] = {
      {SdkKitContent_Json, R"({"scenes":[]})", kGood},
      {SdkKitContent_Json, std::string(32, '[') + std::string(32, ']'), kGood},
      {SdkKitContent_Json, million + "x", "it cannot be read, or is too large"},
      {SdkKitContent_Text, "a\tb\r\n\xc3\xa4", kGood},
      {SdkKitContent_Text, "", kGood},
      {SdkKitContent_Text, million, kGood},
      {SdkKitContent_Text, million + "x", "it cannot be read, or is too large"},
      {SdkKitContent_Text, std::string("a\0b", 3), "it holds control characters"},
      {SdkKitContent_Text, "a\x1b[31m", "it holds control characters"},
      {SdkKitContent_Text, "\xff\xfe", "it is not UTF-8"},
      {SdkKitContent_Text, "\xc0\xaf", "it is not UTF-8"},
      {SdkKitContent_Text, "\xed\xa0\x80", "it is not UTF-8"},
  };
  for (const Row& row : rows) EXPECT_EQ(Say(row.check, row.bytes), row.said) << row.bytes.substr(0, 40);
}

TEST(ContentTest, DeepAndBrokenJsonIsRefused) {
  for (const std::string& text : {std::string(33, '[') + std::string(33, ']'), std::string(1 << 19, '['),
                                  std::string("{"), std::string("\"\xff\""), std::string()}) {
    EXPECT_NE(Say(SdkKitContent_Json, text), kGood) << text.substr(0, 40);
  }
}

TEST(ContentTest, BadArgumentsAreRefused) {
  std::array<char, 8> why{};
  for (const SdkKitCheck check :
       {SdkKitContent_Picture, SdkKitContent_Edid, SdkKitContent_Json, SdkKitContent_Text}) {
    EXPECT_EQ(check(nullptr, why.data(), why.size()), -1);
    EXPECT_EQ(check("/nonexistent", why.data(), why.size()), -1);
    EXPECT_STREQ(why.data(), "it cann");
    EXPECT_EQ(check("/nonexistent", nullptr, 8), -1);
    EXPECT_EQ(check("/nonexistent", why.data(), 0), -1);
  }
}

}  // namespace
}  // namespace sdkkit
