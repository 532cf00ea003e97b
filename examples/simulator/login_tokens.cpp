// The tokens of logins, and the lock-out after wrong passwords.
#include "login_tokens.h"

#include <sodium.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <deque>
#include <map>
#include <mutex>

#include "sdkapi/sdkapi.h"
#include "users.h"

namespace sim {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kMostFailures = 5;
constexpr auto kLockTime = std::chrono::seconds(60);
// The library registers a login after this program's answer.
constexpr auto kLoginGrace = std::chrono::seconds(5);
constexpr std::size_t kMostTokens = 256;
constexpr std::size_t kMostLockNames = 1000;

struct Attempts {
  int failures = 0;
  Clock::time_point lockedUntil;
};

struct TokenEntry {
  std::string token;
  std::string user;
  Clock::time_point made;
};

std::mutex mutex;  // guards the two below
std::map<std::string, Attempts, std::less<>> attempts;
std::deque<TokenEntry> tokens;

std::string NewToken() {
  std::array<unsigned char, 32> bytes{};
  randombytes_buf(bytes.data(), bytes.size());
  std::array<char, sodium_base64_ENCODED_LEN(32, sodium_base64_VARIANT_URLSAFE_NO_PADDING)> text{};
  sodium_bin2base64(text.data(), text.size(), bytes.data(), bytes.size(),
                    sodium_base64_VARIANT_URLSAFE_NO_PADDING);
  return text.data();
}

}  // namespace

int64_t LockedSeconds(const std::string& name) {
  const std::lock_guard lock(mutex);
  const auto found = attempts.find(name);
  if (found == attempts.end()) return 0;
  const auto left = found->second.lockedUntil - Clock::now();
  return std::max<int64_t>(0, std::chrono::ceil<std::chrono::seconds>(left).count());
}

void NoteFailure(const std::string& name) {
  const std::lock_guard lock(mutex);
  // Made-up names must not push out the failures of real ones.
  if (attempts.size() > kMostLockNames)
    std::erase_if(attempts, [](const auto& known) { return !FindUser(known.first); });
  Attempts& entry = attempts[name];
  if (++entry.failures < kMostFailures) return;
  entry = {0, Clock::now() + kLockTime};
}

std::string RememberToken(const std::string& name) {
  const std::lock_guard lock(mutex);
  attempts.erase(name);
  if (tokens.size() >= kMostTokens) tokens.pop_front();
  tokens.push_back({NewToken(), name, Clock::now()});
  return tokens.back().token;
}

void RenameTokens(const std::string& from, const std::string& to) {
  const std::lock_guard lock(mutex);
  for (TokenEntry& entry : tokens) {
    if (entry.user == from) entry.user = to;
  }
}

void EndTokensOf(const std::string& name) {
  const std::lock_guard lock(mutex);
  std::erase_if(tokens, [&](const TokenEntry& entry) { return entry.user == name; });
}

std::optional<std::string> OwnerOfToken(std::string_view token) {
  const std::lock_guard lock(mutex);
  const auto found = std::find_if(tokens.begin(), tokens.end(),
                                  [&](const TokenEntry& entry) { return entry.token == token; });
  if (found == tokens.end()) return std::nullopt;
  return found->user;
}

void ForgetEndedLogins() {
  const std::lock_guard lock(mutex);
  const auto oldest = Clock::now() - kLoginGrace;
  std::erase_if(tokens, [&](const TokenEntry& entry) {
    return entry.made < oldest && GetLoginHandle(entry.token.c_str()) == nullptr;
  });
}

void ForgetAllLogins() {
  const std::lock_guard lock(mutex);
  tokens.clear();
  attempts.clear();
}

}  // namespace sim
