// Attempts to give a password: counted before they are judged, by name with address, and by address.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <unordered_map>

namespace sdkkit::accounts {

// A name is locked for the address that guessed only: from any other its user gets in. Bounded: made-up names
// and addresses push out what is oldest and counts least. Nothing outlives the process.
class Attempts {
 public:
  using Clock = std::chrono::steady_clock;

  // What an attempt counts for: its name at its address, and its address.
  struct Keys {
    Keys(const std::string& name, const std::string& address);

    std::string ofName;
    std::string ofAddress;
  };

  // 0: the password may be judged, and End must follow. Else the seconds until the next attempt. Waits while
  // so many attempts are being judged that this one would be beyond the free ones if they failed.
  int64_t Begin(const Keys& keys);
  // A failure counts; a success clears the name's count at this address, not the address's. The seconds of
  // the delay that begins, 0 without one. This and Cancel need no memory.
  int64_t End(const Keys& keys, bool isGood);
  // As if it had never begun: nothing was judged.
  void Cancel(const Keys& keys);

  void Forget();
  std::size_t size() const;

 private:
  struct Entry {
    int failures = 0;
    int pending = 0;
    Clock::time_point lockedUntil;
    Clock::time_point lastUse;
  };
  Entry& Take(const std::string& key);
  void MakeRoom();
  int64_t SecondsLocked(const Keys& keys);
  bool MustWait(const Keys& keys);
  void Leave(const std::string& key);
  static int64_t Fail(Entry& entry, int freeOnes);

  mutable std::mutex mutex_;
  std::condition_variable judged_;
  std::unordered_map<std::string, Entry> entries_;
  int waiting_ = 0;
};

// One attempt: begun with the scope, and as if it had never been unless it is judged in it.
class Attempt {
 public:
  Attempt(Attempts& attempts, const std::string& name, const std::string& address)
      : attempts_(attempts), keys_(name, address), secondsLocked_(attempts_.Begin(keys_)) {}
  ~Attempt() {
    if (isOpen_) attempts_.Cancel(keys_);
  }
  Attempt(const Attempt&) = delete;
  Attempt& operator=(const Attempt&) = delete;

  int64_t secondsLocked() const { return secondsLocked_; }
  int64_t Judged(bool isGood) {
    isOpen_ = false;
    return attempts_.End(keys_, isGood);
  }

 private:
  Attempts& attempts_;
  const Attempts::Keys keys_;
  const int64_t secondsLocked_;
  bool isOpen_ = secondsLocked_ == 0;
};

// What addresses share a count: an IPv4 address, or the 64 bits that one network of IPv6 has in common.
std::string NetworkOf(const std::string& address);

}  // namespace sdkkit::accounts
