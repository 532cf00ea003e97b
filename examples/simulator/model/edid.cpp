// EDIDs as units have them: hexadecimal text.
#include "model/edid.h"

#include <sdkapi/kit_content.h>
#include <sodium.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>

namespace sim {
namespace {

constexpr std::size_t kBlock = 128;
constexpr std::size_t kReason = 256;

// The kit judges files by their path; this one is never on the disk. One that cannot be made has no content.
class MemoryFile {
 public:
  explicit MemoryFile(const std::string& bytes) : descriptor_(memfd_create("edid", MFD_CLOEXEC)) {
    [[maybe_unused]] const ssize_t written = write(descriptor_, bytes.data(), bytes.size());
  }
  ~MemoryFile() { close(descriptor_); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

 private:
  int descriptor_;
};

}  // namespace

std::string FactoryEdid(int number) {
  std::array<unsigned char, kBlock> edid = {0x00, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00, 0x4D, 0x2D};
  edid[10] = 1;
  edid[12] = static_cast<unsigned char>(number);
  edid[17] = 34;
  edid[18] = 1;
  edid[19] = 3;
  constexpr std::array<unsigned char, 18> kFullHd = {0x02, 0x3A, 0x80, 0x18, 0x71, 0x38, 0x2D, 0x40, 0x58,
                                                     0x2C, 0x45, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x1E};
  std::copy(kFullHd.begin(), kFullHd.end(), edid.begin() + 54);
  unsigned int sum = 0;
  for (const unsigned char byte : edid) sum += byte;
  edid.back() = static_cast<unsigned char>(0U - sum);

  std::string text(2 * kBlock + 1, '\0');
  sodium_bin2hex(text.data(), text.size(), edid.data(), edid.size());
  text.pop_back();
  return text;
}

std::string EdidFault(const std::string& digits) {
  if (digits.size() != 2 * kBlock && digits.size() != 4 * kBlock) return "it is not 128 or 256 bytes long";
  std::string bytes(digits.size() / 2, '\0');
  std::size_t length = 0;
  if (sodium_hex2bin(reinterpret_cast<unsigned char*>(bytes.data()), bytes.size(), digits.data(),
                     digits.size(), nullptr, &length, nullptr) != 0 ||
      length != bytes.size())
    return "it is not hexadecimal";
  const MemoryFile file(bytes);
  std::array<char, kReason> why{};
  return SdkKitContent_Edid(file.path().c_str(), why.data(), why.size()) == 0 ? "" : why.data();
}

}  // namespace sim
