// A firmware container, read as it arrives.
#include "firmware/container.h"

#include <algorithm>
#include <utility>

#include "base/json.h"

namespace sdkkit::firmware {
namespace {

constexpr std::string_view kMagic = "SDKFW2\n";
constexpr std::string_view kUnsigned = "SDKFW1\n";
constexpr std::size_t kHeadBytes = 1024;
constexpr std::size_t kHashDigits = std::size_t{2} * crypto_hash_sha256_BYTES;

const unsigned char* Bytes(std::string_view text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

bool BeginsAs(std::string_view text, std::string_view magic) {
  const std::size_t common = std::min(text.size(), magic.size());
  return text.substr(0, common) == magic.substr(0, common);
}

template <std::size_t kSize>
bool FromHex(std::string_view text, std::array<unsigned char, kSize>& bytes) {
  std::size_t length = 0;
  return text.size() == 2 * kSize &&
         sodium_hex2bin(bytes.data(), kSize, text.data(), text.size(), nullptr, &length, nullptr) == 0 &&
         length == kSize;
}

bool IsSigned(const std::vector<Key>& keys, std::string_view text, std::string_view signature) {
  std::array<unsigned char, crypto_sign_BYTES> bytes{};
  return FromHex(signature, bytes) && std::ranges::any_of(keys, [&](const Key& key) {
           return crypto_sign_verify_detached(bytes.data(), Bytes(text), text.size(), key.data()) == 0;
         });
}

std::string TextOf(const nlohmann::json& object, const char* member) {
  const auto found = object.find(member);
  return found != object.end() && found->is_string() ? found->get<std::string>() : "";
}

uint64_t NumberOf(const nlohmann::json& object, const char* member) {
  const auto found = object.find(member);
  return found != object.end() && found->is_number_unsigned() ? found->get<uint64_t>() : 0;
}

bool IsHash(const std::string& text) {
  return text.size() == kHashDigits && text.find_first_not_of("0123456789abcdef") == std::string::npos;
}

}  // namespace

std::string HeadReader::Feed(std::string_view& piece) {
  while (!piece.empty() && !head_) {
    bytes_ += piece.front();
    piece.remove_prefix(1);
    if (bytes_.size() <= kMagic.size() && !BeginsAs(bytes_, kMagic)) {
      return BeginsAs(bytes_, kUnsigned) ? "a container without a signature" : "no firmware container";
    }
    if (bytes_.size() > kHeadBytes) return "a head of more than 1024 bytes";
    if (bytes_.back() != '\n' || std::ranges::count(bytes_, '\n') < 3) continue;
    if (std::string fault = Judge(); !fault.empty()) return fault;
  }
  return "";
}

// The signature comes first: nothing that was not signed is interpreted.
std::string HeadReader::Judge() {
  const std::size_t signatureAt = bytes_.find('\n', kMagic.size()) + 1;
  const std::string_view all = bytes_;
  const std::string_view signedText = all.substr(0, signatureAt);
  if (!IsSigned(rules_.keys, signedText, all.substr(signatureAt, all.size() - signatureAt - 1)))
    return "a wrong signature";
  const auto line = ParseJson(signedText.substr(kMagic.size()), {.bytes = kHeadBytes, .depth = 2});
  if (!line || !line->is_object()) return "a bad head";
  Head head{.version = TextOf(*line, "version"),
            .bytes = NumberOf(*line, "size"),
            .sha256 = TextOf(*line, "sha256"),
            .isOlder = false};
  const auto version = Version::Parse(head.version);
  if (!version || !IsHash(head.sha256)) return "a bad head";
  if (TextOf(*line, "model") != rules_.model) return "made for another model";
  if (head.bytes == 0) return "an empty image";
  if (head.bytes > rules_.most) return "an image of more than " + std::to_string(rules_.most) + " bytes";
  head.isOlder = *version < rules_.running;
  if (head.isOlder && !rules_.mayBeOlder) return "version " + head.version + " is older than what runs";
  head_ = std::move(head);
  return "";
}

ImageReader::ImageReader(Head head) : head_(std::move(head)), hash_() { crypto_hash_sha256_init(&hash_); }

std::string ImageReader::Feed(std::string_view piece) {
  if (piece.size() > head_.bytes - received_) return "bytes behind the image";
  received_ += piece.size();
  crypto_hash_sha256_update(&hash_, Bytes(piece), piece.size());
  if (!IsWhole() || piece.empty()) return "";
  std::array<unsigned char, crypto_hash_sha256_BYTES> hash{};
  crypto_hash_sha256_final(&hash_, hash.data());
  std::array<char, kHashDigits + 1> text{};
  sodium_bin2hex(text.data(), text.size(), hash.data(), hash.size());
  return head_.sha256 == text.data() ? "" : "a wrong hash";
}

}  // namespace sdkkit::firmware
