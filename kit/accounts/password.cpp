// Argon2id by libsodium; two hashes at once, so that logins cannot take the device's memory.
#include "accounts/password.h"

#include <sodium.h>

#include <algorithm>
#include <array>
#include <condition_variable>
#include <mutex>
#include <stdexcept>

#include "sdkapi/values.h"

namespace sdkkit::accounts {
namespace {

constexpr unsigned long long kPasses = 3;
constexpr std::size_t kMemory = std::size_t{12} << 20;
constexpr std::string_view kPrefix = "$argon2id$v=19$m=12288,t=3,p=1$";
constexpr std::size_t kSaltLetters = 22;  // 16 bytes
constexpr std::size_t kSumLetters = 43;   // 32 bytes
constexpr std::size_t kShortestPassword = 8;
constexpr int kMostAtOnce = 2;
constexpr int kMostWaiting = 16;

// One of the places in which a hash is made. There is none when too many wait for one.
class Place {
 public:
  Place() {
    std::unique_lock lock(mutex_);
    if (waiting_ >= kMostWaiting) return;
    ++waiting_;
    free_.wait(lock, [] { return taken_ < kMostAtOnce; });
    --waiting_;
    ++taken_;
    isMine_ = true;
  }
  ~Place() {
    if (!isMine_) return;
    {
      const std::lock_guard lock(mutex_);
      --taken_;
    }
    free_.notify_one();
  }
  Place(const Place&) = delete;
  Place& operator=(const Place&) = delete;

  explicit operator bool() const { return isMine_; }

 private:
  static inline std::mutex mutex_;
  static inline std::condition_variable free_;
  static inline int taken_ = 0;
  static inline int waiting_ = 0;
  bool isMine_ = false;
};

// Nobody's password, so that unknown names cost what known ones do.
constexpr const char* kNobody =
    "$argon2id$v=19$m=12288,t=3,p=1$AAAAAAAAAAAAAAAAAAAAAA$AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA";

bool IsBase64(std::string_view text) {
  constexpr std::string_view kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  return text.find_first_not_of(kLetters) == std::string_view::npos;
}

}  // namespace

void StartPasswords() {
  if (sodium_init() < 0) throw std::runtime_error("libsodium cannot start");
}

std::optional<std::string> HashPassword(std::string_view password) {
  const Place place;
  if (!place) return std::nullopt;
  std::array<char, crypto_pwhash_STRBYTES> hash{};
  if (crypto_pwhash_str_alg(hash.data(), password.data(), password.size(), kPasses, kMemory,
                            crypto_pwhash_ALG_ARGON2ID13) != 0) {
    throw std::runtime_error("no memory to hash a password");
  }
  return hash.data();
}

Match MatchPassword(const std::optional<std::string>& hash, std::string_view password) {
  const bool isKnown = hash && IsOwnHash(*hash);
  const Place place;
  if (!place) return Match::kBusy;
  const char* const compared = isKnown ? hash->c_str() : kNobody;
  const bool matches = crypto_pwhash_str_verify(compared, password.data(), password.size()) == 0;
  return matches && isKnown ? Match::kYes : Match::kNo;
}

bool IsOwnHash(std::string_view hash) {
  if (!hash.starts_with(kPrefix)) return false;
  hash.remove_prefix(kPrefix.size());
  return hash.size() == kSaltLetters + 1 + kSumLetters && hash[kSaltLetters] == '$' &&
         IsBase64(hash.substr(0, kSaltLetters)) && IsBase64(hash.substr(kSaltLetters + 1));
}

std::string RandomPassword() {
  constexpr std::string_view kLetters = "abcdefghijkmnpqrstuvwxyzABCDEFGHJKLMNPQRSTUVWXYZ23456789-_";
  constexpr std::size_t kLength = 16;
  std::string password(kLength, ' ');
  do {
    std::ranges::generate(
        password, [&] { return kLetters[randombytes_uniform(static_cast<uint32_t>(kLetters.size()))]; });
  } while (!IsStrongPassword(password));
  return password;
}

bool IsStrongPassword(const std::string& password) {
  return password.size() >= kShortestPassword && DataFormatverification(password.c_str()) == 0;
}

bool IsName(std::string_view name) {
  constexpr std::string_view kAllowed = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789._-";
  constexpr std::size_t kMost = 31;
  return !name.empty() && name.size() <= kMost && name.find_first_not_of(kAllowed) == std::string_view::npos;
}

}  // namespace sdkkit::accounts
