// The counts of attempts, and the growing delay after the free ones.
#include "accounts/attempts.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <algorithm>
#include <array>
#include <utility>

namespace sdkkit::accounts {
namespace {

using std::chrono::seconds;

constexpr int kFreeOfName = 5;
constexpr int kFreeOfAddress = 20;  // several users can share one
constexpr seconds kFirstDelay{10};
constexpr seconds kLongestDelay{900};
constexpr seconds kForgottenAfter{3600};
constexpr seconds kLongestWait{10};
constexpr int kMostWaiting = 16;
constexpr std::size_t kMostEntries = 2048;
constexpr int kMostDoublings = 7;

}  // namespace

std::string NetworkOf(const std::string& address) {
  in6_addr parsed{};
  if (inet_pton(AF_INET6, address.c_str(), &parsed) != 1) return address;
  std::array<char, INET6_ADDRSTRLEN> text{};
  if (IN6_IS_ADDR_V4MAPPED(&parsed)) {
    inet_ntop(AF_INET, &parsed.s6_addr[12], text.data(), text.size());
    return text.data();
  }
  std::fill(std::begin(parsed.s6_addr) + 8, std::end(parsed.s6_addr), uint8_t{0});
  inet_ntop(AF_INET6, &parsed, text.data(), text.size());
  return text.data();
}

Attempts::Keys::Keys(const std::string& name, const std::string& address)
    : ofAddress('@' + NetworkOf(address)) {
  ofName = name + ofAddress;
}

int64_t Attempts::Begin(const Keys& keys) {
  std::unique_lock lock(mutex_);
  const auto deadline = Clock::now() + kLongestWait;
  for (;;) {
    if (const int64_t locked = SecondsLocked(keys); locked > 0) return locked;
    if (!MustWait(keys)) break;
    if (waiting_ >= kMostWaiting) return 1;
    ++waiting_;
    const auto result = judged_.wait_until(lock, deadline);
    --waiting_;
    if (result == std::cv_status::timeout) return 1;
  }
  ++Take(keys.ofName).pending;
  try {
    ++Take(keys.ofAddress).pending;
  } catch (...) {
    Leave(keys.ofName);
    throw;
  }
  return 0;
}

int64_t Attempts::End(const Keys& keys, bool isGood) {
  int64_t delay = 0;
  {
    const std::lock_guard lock(mutex_);
    Entry& ofName = entries_[keys.ofName];
    if (isGood) ofName.failures = 0;
    if (!isGood) delay = std::max(Fail(ofName, kFreeOfName), Fail(entries_[keys.ofAddress], kFreeOfAddress));
    for (const std::string* const key : {&keys.ofName, &keys.ofAddress}) Leave(*key);
  }
  judged_.notify_all();
  return delay;
}

void Attempts::Cancel(const Keys& keys) {
  {
    const std::lock_guard lock(mutex_);
    for (const std::string* const key : {&keys.ofName, &keys.ofAddress}) Leave(*key);
  }
  judged_.notify_all();
}

void Attempts::Forget() {
  const std::lock_guard lock(mutex_);
  std::erase_if(entries_, [](const auto& known) { return known.second.pending == 0; });
}

std::size_t Attempts::size() const {
  const std::lock_guard lock(mutex_);
  return entries_.size();
}

Attempts::Entry& Attempts::Take(const std::string& key) {
  if (entries_.size() >= kMostEntries && !entries_.contains(key)) MakeRoom();
  Entry& entry = entries_[key];
  const auto now = Clock::now();
  if (entry.pending == 0 && now - entry.lastUse > kForgottenAfter) entry.failures = 0;
  entry.lastUse = now;
  return entry;
}

// What is being judged stays: End will ask for it.
void Attempts::MakeRoom() {
  auto least = entries_.end();
  for (auto entry = entries_.begin(); entry != entries_.end(); ++entry) {
    if (entry->second.pending > 0) continue;
    const auto rank = [](const Entry& one) { return std::pair(one.lockedUntil, one.lastUse); };
    if (least == entries_.end() || rank(entry->second) < rank(least->second)) least = entry;
  }
  if (least != entries_.end()) entries_.erase(least);
}

int64_t Attempts::SecondsLocked(const Keys& keys) {
  auto until = Clock::now();
  const auto now = until;
  for (const std::string* const key : {&keys.ofName, &keys.ofAddress}) {
    const auto found = entries_.find(*key);
    if (found != entries_.end()) until = std::max(until, found->second.lockedUntil);
  }
  return std::chrono::ceil<seconds>(until - now).count();
}

bool Attempts::MustWait(const Keys& keys) {
  const auto isFull = [&](const std::string& key, int freeOnes) {
    const auto found = entries_.find(key);
    return found != entries_.end() && found->second.pending > 0 &&
           found->second.failures + found->second.pending >= freeOnes;
  };
  return isFull(keys.ofName, kFreeOfName) || isFull(keys.ofAddress, kFreeOfAddress);
}

void Attempts::Leave(const std::string& key) {
  const auto found = entries_.find(key);
  if (found == entries_.end()) return;
  if (found->second.pending > 0) --found->second.pending;
  if (found->second.pending == 0 && found->second.failures == 0) entries_.erase(found);
}

int64_t Attempts::Fail(Entry& entry, int freeOnes) {
  ++entry.failures;
  if (entry.failures < freeOnes) return 0;
  const int doublings = std::min(entry.failures - freeOnes, kMostDoublings);
  const seconds delay = std::min(kFirstDelay * (1 << doublings), kLongestDelay);
  entry.lockedUntil = Clock::now() + delay;
  return delay.count();
}

}  // namespace sdkkit::accounts
