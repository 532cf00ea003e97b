// A firmware container, read as it arrives.
#pragma once

#include <sodium.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "firmware/version.h"

namespace sdkkit::firmware {

using Key = std::array<unsigned char, crypto_sign_PUBLICKEYBYTES>;

// Which containers are taken.
struct Rules {
  std::vector<Key> keys;
  std::string model;
  Version running;
  bool mayBeOlder = false;
  uint64_t most = 0;
};

// What a container says of its image.
struct Head {
  std::string version;
  uint64_t bytes = 0;
  std::string sha256;
  bool isOlder = false;
};

// Reads the head, byte by byte if need be, and judges it.
class HeadReader {
 public:
  explicit HeadReader(const Rules& rules) : rules_(rules) {}

  // Takes bytes up to the end of the head, and removes them from the piece. An empty text, or what is wrong.
  std::string Feed(std::string_view& piece);
  // Nothing as long as bytes are missing.
  const std::optional<Head>& head() const { return head_; }

 private:
  std::string Judge();

  const Rules& rules_;
  std::string bytes_;
  std::optional<Head> head_;
};

// Counts and hashes the image.
class ImageReader {
 public:
  explicit ImageReader(Head head);

  // An empty text, or what is wrong: known with the last byte at the latest.
  std::string Feed(std::string_view piece);
  bool IsWhole() const { return received_ == head_.bytes; }
  uint32_t Percent() const { return static_cast<uint32_t>(received_ * 100 / head_.bytes); }

 private:
  Head head_;
  uint64_t received_ = 0;
  crypto_hash_sha256_state hash_;
};

}  // namespace sdkkit::firmware
