// EDID 1.3 and 1.4: a display's description of itself in blocks of 128 bytes.
#include <cstdint>
#include <numeric>
#include <string>
#include <string_view>

#include "content/judge.h"
#include "sdkapi/kit_content.h"

namespace sdkkit {
namespace {

using namespace std::string_view_literals;

constexpr auto kHeader = "\0\xff\xff\xff\xff\xff\xff\0"sv;
constexpr std::size_t kBlock = 128;
constexpr std::size_t kMostBlocks = 8;

// Where the base block has what.
constexpr std::size_t kMaker = 8;
constexpr std::size_t kVersion = 18;
constexpr std::size_t kFirstTiming = 54;
constexpr std::size_t kExtensions = 126;

unsigned ByteAt(std::string_view bytes, std::size_t at) { return static_cast<unsigned char>(bytes[at]); }

// Three letters of five bits each, 1 for A, below a bit that is 0.
bool HasMaker(std::string_view base) {
  const unsigned code = ByteAt(base, kMaker) << 8 | ByteAt(base, kMaker + 1);
  const auto isLetter = [code](int shift) {
    const unsigned letter = code >> shift & 0x1f;
    return letter >= 1 && letter <= 26;
  };
  return (code & 0x8000) == 0 && isLetter(10) && isLetter(5) && isLetter(0);
}

// The first detailed timing is the preferred one. Without a pixel clock it is no timing.
bool HasPreferredTiming(std::string_view base) {
  const auto part = [base](std::size_t at) { return ByteAt(base, kFirstTiming + at); };
  const unsigned clock = part(0) | part(1) << 8;
  const unsigned width = part(2) | (part(4) & 0xf0) << 4;
  const unsigned height = part(5) | (part(7) & 0xf0) << 4;
  return clock != 0 && width != 0 && height != 0;
}

bool SumIsRight(std::string_view block) {
  return std::accumulate(block.begin(), block.end(), 0U,
                         [](unsigned total, char c) { return total + static_cast<unsigned char>(c); }) %
             256 ==
         0;
}

std::string BaseFault(std::string_view base) {
  if (!base.starts_with(kHeader)) return "it has no EDID header";
  const unsigned revision = ByteAt(base, kVersion + 1);
  if (ByteAt(base, kVersion) != 1 || (revision != 3 && revision != 4)) return "it is not EDID 1.3 or 1.4";
  if (!HasMaker(base)) return "it names no maker";
  return HasPreferredTiming(base) ? "" : "it has no preferred timing";
}

std::string EdidFault(std::string_view bytes) {
  if (bytes.size() < kBlock || bytes.size() % kBlock != 0) return "it is not made of whole EDID blocks";
  std::string fault = BaseFault(bytes.substr(0, kBlock));
  if (!fault.empty()) return fault;
  if (bytes.size() / kBlock != 1 + ByteAt(bytes, kExtensions))
    return "it has another number of blocks than it says";
  for (std::size_t at = 0; at < bytes.size(); at += kBlock) {
    if (!SumIsRight(bytes.substr(at, kBlock)))
      return "block " + std::to_string(at / kBlock) + " has a wrong checksum";
  }
  return "";
}

}  // namespace
}  // namespace sdkkit

int SdkKitContent_Edid(const char* path, char* why, size_t whySize) {
  using namespace sdkkit;
  return Judge(path, kMostBlocks * kBlock, why, whySize,
               [](const std::string& bytes) { return EdidFault(bytes); });
}
