// The firmware container: reading it as it arrives and handing a good one to the device.
#pragma once

#include <openssl/evp.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>

namespace sim {

inline constexpr size_t kFirmwareLimit = size_t{512} << 20;

// The result of an upload slot that says "this is no firmware".
inline constexpr int kNotFirmware = 5;

// The line of JSON at the head of a container.
struct FirmwareHeader {
  std::string version;
  uint64_t size;
  std::string sha256;
};

// Checks a container piece by piece, without keeping it.
class FirmwareReader {
 public:
  FirmwareReader();

  // 0, or kNotFirmware as soon as the container is known to be wrong.
  int Feed(std::string_view piece);

 private:
  struct DigestDeleter {
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
  };

  // How many bytes of the piece belong to the head; npos when the head is wrong.
  size_t FeedHead(std::string_view piece);
  bool FeedImage(std::string_view piece);
  bool HashIsRight();
  void Report();

  std::string head_;
  std::optional<FirmwareHeader> header_;
  uint64_t received_ = 0;
  std::unique_ptr<EVP_MD_CTX, DigestDeleter> digest_;
  std::chrono::steady_clock::time_point reported_;
};

// The event of one phase of an upgrade; a reboot without one ends with the version that it began with.
nlohmann::json UpgradeEvent(const char* phase, uint64_t percent, const std::string& version);

// Is this file a container of exactly the announced length? Its hash was checked on arrival.
bool IsWholeFirmware(const std::string& path);

// Starts the upgrade to the container in path.
bool InstallFirmware(const std::string& path);

// Tells the clients that an upgrade came to nothing.
void ReportFirmwareFailure();

}  // namespace sim
