// The firmware container: reading it as it arrives and handing a good one to the device.
#include "firmware.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <nlohmann/json.hpp>

#include "device.h"
#include "events.h"
#include "files.h"

namespace sim {
namespace {

using nlohmann::json;

constexpr std::string_view kMagic = "SDKFW1\n";
constexpr size_t kHeadLimit = 512;
constexpr size_t kVersionLimit = 15;
constexpr size_t kHashDigits = 64;
constexpr std::chrono::milliseconds kReportInterval{250};

bool IsVersion(const std::string& text) {
  return !text.empty() && text.size() <= kVersionLimit &&
         std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

bool IsHash(const std::string& text) {
  return text.size() == kHashDigits && text.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
}

// Reads the head with its two line feeds.
std::optional<FirmwareHeader> ParseHead(std::string_view head) {
  const json line = json::parse(head.substr(kMagic.size()), nullptr, false);
  if (!line.is_object() || !line.contains("version") || !line.contains("size") || !line.contains("sha256")) {
    return std::nullopt;
  }
  if (!line["version"].is_string() || !line["size"].is_number_unsigned() || !line["sha256"].is_string()) {
    return std::nullopt;
  }
  FirmwareHeader header{.version = line["version"], .size = line["size"], .sha256 = line["sha256"]};
  if (!IsVersion(header.version) || !IsHash(header.sha256) || header.size > kFirmwareLimit)
    return std::nullopt;
  return header;
}

std::string ToHex(const unsigned char* bytes, size_t count) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text;
  for (size_t i = 0; i < count; ++i) {
    text += kDigits[bytes[i] >> 4];
    text += kDigits[bytes[i] & 15];
  }
  return text;
}

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'A' && c <= 'F' ? char(c + 32) : c; });
  return text;
}

// The head of a stored container, found again after the upload.
std::optional<std::string> HeadOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::array<char, kHeadLimit> buffer{};
  file.read(buffer.data(), buffer.size());
  const std::string_view bytes(buffer.data(), static_cast<size_t>(file.gcount()));
  const size_t end = bytes.find('\n', kMagic.size());
  if (!bytes.starts_with(kMagic) || end == std::string_view::npos) return std::nullopt;
  return std::string(bytes.substr(0, end + 1));
}

}  // namespace

FirmwareReader::FirmwareReader() : digest_(EVP_MD_CTX_new()), reported_(std::chrono::steady_clock::now()) {
  EVP_DigestInit_ex(digest_.get(), EVP_sha256(), nullptr);
}

int FirmwareReader::Feed(std::string_view piece) {
  if (piece.empty()) return 0;
  if (!header_) {
    const size_t used = FeedHead(piece);
    if (used == std::string_view::npos) return kNotFirmware;
    piece.remove_prefix(used);
    if (!header_) return 0;
  }
  if (!FeedImage(piece)) return kNotFirmware;
  Report();
  return 0;
}

size_t FirmwareReader::FeedHead(std::string_view piece) {
  const size_t before = head_.size();
  head_.append(piece.substr(0, kHeadLimit - before));
  const std::string_view head = head_;
  const size_t common = std::min(head.size(), kMagic.size());
  if (head.substr(0, common) != kMagic.substr(0, common)) return std::string_view::npos;
  const size_t end = head.find('\n', kMagic.size());
  if (end == std::string_view::npos) return head.size() < kHeadLimit ? piece.size() : std::string_view::npos;
  header_ = ParseHead(head.substr(0, end + 1));
  return header_ ? end + 1 - before : std::string_view::npos;
}

// The hash is compared when the announced length is there: after the last piece it would be too late to say
// so.
bool FirmwareReader::FeedImage(std::string_view piece) {
  if (piece.size() > header_->size - received_) return false;
  received_ += piece.size();
  EVP_DigestUpdate(digest_.get(), piece.data(), piece.size());
  return received_ < header_->size || HashIsRight();
}

bool FirmwareReader::HashIsRight() {
  std::array<unsigned char, EVP_MAX_MD_SIZE> hash{};
  unsigned int length = 0;
  EVP_DigestFinal_ex(digest_.get(), hash.data(), &length);
  return ToHex(hash.data(), length) == Lower(header_->sha256);
}

void FirmwareReader::Report() {
  const auto now = std::chrono::steady_clock::now();
  if (now - reported_ < kReportInterval) return;
  reported_ = now;
  const uint64_t percent = header_->size == 0 ? 100 : received_ * 100 / header_->size;
  Publish(UpgradeEvent("receiving", percent, header_->version));
}

json UpgradeEvent(const char* phase, uint64_t percent, const std::string& version) {
  return {{"type", "upgrade"}, {"phase", phase}, {"percent", percent}, {"version", version}};
}

bool IsWholeFirmware(const std::string& path) {
  const auto head = HeadOf(path);
  const auto status = StatusOf(path);
  if (!head || !status) return false;
  const auto header = ParseHead(*head);
  return header && static_cast<uint64_t>(status->size) == head->size() + header->size;
}

bool InstallFirmware(const std::string& path) {
  const auto head = HeadOf(path);
  const auto header = head ? ParseHead(*head) : std::nullopt;
  if (!header) return false;
  Publish(UpgradeEvent("verifying", 100, header->version));
  return BeginRebootSimulation(header->version);
}

void ReportFirmwareFailure() { Publish(UpgradeEvent("failed", 0, "")); }

}  // namespace sim
