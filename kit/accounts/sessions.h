// Logins: who logged in with which token, how many may, and how they end.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "accounts/users.h"

namespace sdkkit::accounts {

// Of a token only this is kept: what a dump of the memory shows opens nothing.
using TokenHash = std::array<unsigned char, 32>;
TokenHash HashToken(std::string_view token);

struct Session {
  uint64_t id = 0;
  TokenHash hash{};
  std::string name;
  int role = 0;
  int firstLogin = 0;
  std::string address;
  std::chrono::steady_clock::time_point made;
  bool wasSeen = false;  // registered by the library
};

// A login as the library sees it.
struct LibraryLogin {
  std::string token;
  uint64_t ageSeconds = 0;
  uint64_t idleSeconds = 0;
  uint32_t webSockets = 0;
};
using LibraryLogins = std::map<TokenHash, LibraryLogin>;
LibraryLogins ListLibraryLogins();

struct SessionRules {
  int administrator = 1;
  std::size_t most = 20;
  std::size_t mostEach = 8;
};

// The library registers, finds and ends logins; this knows whose they are.
class Sessions {
 public:
  explicit Sessions(const SessionRules& rules) : rules_(rules) {}

  // A new login's token; nothing when there is no room for this user. Makes room by ending another login: the
  // user's own one, or for an administrator somebody else's.
  std::optional<std::string> Add(const User& user, const std::string& address);

  // Whose token a request has brought. The library has registered it, then.
  std::optional<Session> Find(std::string_view token);
  std::vector<Session> List() const;
  bool Has(uint64_t id) const;

  using Filter = std::function<bool(const Session&)>;
  // Ends all logins that it fits, and tells their WebSockets why; how many.
  std::size_t EndIf(const Filter& fits, const char* why);
  // The same for all logins of a user.
  void EndAllOf(const std::string& name, const char* why);
  // One login goes on as this user, all others of the old name end.
  void Continue(std::string_view token, const std::string& oldName, const User& user);

  // The library has ended this login.
  std::optional<Session> Forget(std::string_view token);
  // Notes what the library has registered: one that it no longer has is over, then, and not on its way.
  void Meet();
  // Drops what the library has ended without a word, and ends what it registered after its end here.
  void Reconcile();

 private:
  using Victim = std::vector<Session>::iterator;

  std::optional<Victim> MakeRoomFor(const User& user, const LibraryLogins& logins, bool& isRefused);
  Victim LongestIdle(const LibraryLogins& logins, const Filter& fits);
  std::size_t Count(const Filter& fits) const;
  std::string NameWithMost() const;
  std::set<TokenHash> Seen() const;

  SessionRules rules_;
  mutable std::mutex mutex_;
  std::vector<Session> sessions_;  // the oldest first
  uint64_t lastId_ = 0;
};

}  // namespace sdkkit::accounts
