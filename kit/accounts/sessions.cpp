// The table of logins beside the library's own.
#include "accounts/sessions.h"

#include <sodium.h>

#include <algorithm>

#include "base/library_list.h"
#include "sdkapi/extension.h"

namespace sdkkit::accounts {
namespace {

using Clock = std::chrono::steady_clock;

// Between a token's birth and its login's registration lies one answer of a slot.
constexpr auto kRegistrationTime = std::chrono::seconds(10);
constexpr std::size_t kTokenBytes = 32;
constexpr int kPolicyViolation = 1008;

std::string NewToken() {
  std::array<unsigned char, kTokenBytes> bytes{};
  randombytes_buf(bytes.data(), bytes.size());
  std::array<char, sodium_base64_ENCODED_LEN(kTokenBytes, sodium_base64_VARIANT_URLSAFE_NO_PADDING)> text{};
  sodium_bin2base64(text.data(), text.size(), bytes.data(), bytes.size(),
                    sodium_base64_VARIANT_URLSAFE_NO_PADDING);
  return text.data();
}

// The library would say no more than that the login has ended.
void CloseWebSockets(const std::set<TokenHash>& hashes, const char* why) {
  for (const SdkAPIExtWebSocket& socket : ListAll(SdkAPIExt_WebSocket_List)) {
    if (hashes.contains(HashToken(socket.token))) SdkAPIExt_WebSocket_Close(socket.id, kPolicyViolation, why);
  }
}

void EndInLibrary(const std::set<TokenHash>& hashes, const char* why) {
  if (hashes.empty()) return;
  CloseWebSockets(hashes, why);
  for (const auto& [hash, login] : ListLibraryLogins()) {
    if (hashes.contains(hash)) SdkAPIExt_Login_End(login.token.c_str());
  }
}

}  // namespace

TokenHash HashToken(std::string_view token) {
  TokenHash hash{};
  const void* const bytes = token.data();
  crypto_generichash(hash.data(), hash.size(), static_cast<const unsigned char*>(bytes), token.size(),
                     nullptr, 0);
  return hash;
}

LibraryLogins ListLibraryLogins() {
  LibraryLogins logins;
  for (const SdkAPIExtLogin& login : ListAll(SdkAPIExt_Login_List)) {
    logins.emplace(HashToken(login.token),
                   LibraryLogin{login.token, login.ageSeconds, login.idleSeconds, login.webSockets});
  }
  return logins;
}

std::optional<std::string> Sessions::Add(const User& user, const std::string& address) {
  Reconcile();
  const LibraryLogins logins = ListLibraryLogins();
  const std::string token = NewToken();
  std::set<TokenHash> ended;
  {
    const std::lock_guard lock(mutex_);
    bool isRefused = false;
    if (const auto victim = MakeRoomFor(user, logins, isRefused)) {
      ended.insert((*victim)->hash);
      sessions_.erase(*victim);
    }
    if (isRefused) return std::nullopt;
    sessions_.push_back(
        {++lastId_, HashToken(token), user.name, user.role, user.firstLogin, address, Clock::now(), false});
  }
  EndInLibrary(ended, "login made room");
  return token;
}

// Places for as many administrators as one user may have logins are never anybody else's.
std::optional<Sessions::Victim> Sessions::MakeRoomFor(const User& user, const LibraryLogins& logins,
                                                      bool& isRefused) {
  const auto isOwn = [&](const Session& session) { return session.name == user.name; };
  const auto isOrdinary = [&](const Session& session) { return session.role != rules_.administrator; };
  if (Count(isOwn) >= rules_.mostEach) return LongestIdle(logins, isOwn);
  if (user.role == rules_.administrator) {
    if (sessions_.size() < rules_.most) return std::nullopt;
    return LongestIdle(
        logins, Count(isOrdinary) > 0 ? Filter(isOrdinary) : Filter([](const Session&) { return true; }));
  }
  const std::size_t reserved = rules_.most - rules_.mostEach;
  if (sessions_.size() < rules_.most && Count(isOrdinary) < reserved) return std::nullopt;
  const std::string greedy = NameWithMost();
  isRefused = greedy.empty();
  if (isRefused) return std::nullopt;
  return LongestIdle(logins, [&](const Session& session) { return session.name == greedy; });
}

Sessions::Victim Sessions::LongestIdle(const LibraryLogins& logins, const Filter& fits) {
  const auto idle = [&](const Session& session) {
    const auto found = logins.find(session.hash);
    return found != logins.end() ? found->second.idleSeconds : 0;
  };
  Victim longest = sessions_.end();
  for (auto session = sessions_.begin(); session != sessions_.end(); ++session) {
    if (fits(*session) && (longest == sessions_.end() || idle(*session) > idle(*longest))) longest = session;
  }
  return longest;
}

std::size_t Sessions::Count(const Filter& fits) const {
  return static_cast<std::size_t>(std::ranges::count_if(sessions_, fits));
}

// Who has several logins can spare one; empty when nobody but administrators has.
std::string Sessions::NameWithMost() const {
  std::map<std::string, int> counts;
  for (const Session& session : sessions_) {
    if (session.role != rules_.administrator) ++counts[session.name];
  }
  const auto most = std::ranges::max_element(counts, {}, [](const auto& entry) { return entry.second; });
  return most != counts.end() && most->second > 1 ? most->first : "";
}

std::optional<Session> Sessions::Find(std::string_view token) {
  const TokenHash hash = HashToken(token);
  const std::lock_guard lock(mutex_);
  const auto found = std::ranges::find(sessions_, hash, &Session::hash);
  if (found == sessions_.end()) return std::nullopt;
  found->wasSeen = true;
  return *found;
}

std::vector<Session> Sessions::List() const {
  const std::lock_guard lock(mutex_);
  return sessions_;
}

bool Sessions::Has(uint64_t id) const {
  const std::lock_guard lock(mutex_);
  return std::ranges::find(sessions_, id, &Session::id) != sessions_.end();
}

std::size_t Sessions::EndIf(const Filter& fits, const char* why) {
  std::set<TokenHash> ended;
  {
    const std::lock_guard lock(mutex_);
    for (const Session& session : sessions_) {
      if (fits(session)) ended.insert(session.hash);
    }
    std::erase_if(sessions_, [&](const Session& session) { return ended.contains(session.hash); });
  }
  EndInLibrary(ended, why);
  return ended.size();
}

void Sessions::EndAllOf(const std::string& name, const char* why) {
  EndIf([&](const Session& session) { return session.name == name; }, why);
}

void Sessions::Continue(std::string_view token, const std::string& oldName, const User& user) {
  const TokenHash own = HashToken(token);
  EndIf([&](const Session& session) { return session.name == oldName && session.hash != own; },
        "account changed");
  const std::lock_guard lock(mutex_);
  const auto found = std::ranges::find(sessions_, own, &Session::hash);
  if (found == sessions_.end() || found->name != oldName) return;
  found->name = user.name;
  found->firstLogin = user.firstLogin;
}

std::optional<Session> Sessions::Forget(std::string_view token) {
  const TokenHash hash = HashToken(token);
  const std::lock_guard lock(mutex_);
  const auto found = std::ranges::find(sessions_, hash, &Session::hash);
  if (found == sessions_.end()) return std::nullopt;
  const Session session = *found;
  sessions_.erase(found);
  return session;
}

void Sessions::Meet() {
  const LibraryLogins logins = ListLibraryLogins();
  const std::lock_guard lock(mutex_);
  for (Session& session : sessions_) {
    if (logins.contains(session.hash)) session.wasSeen = true;
  }
}

std::set<TokenHash> Sessions::Seen() const {
  const std::lock_guard lock(mutex_);
  std::set<TokenHash> seen;
  for (const Session& session : sessions_) {
    if (session.wasSeen) seen.insert(session.hash);
  }
  return seen;
}

// Only what was registered before the look can be missing in it: a login may come, and be used, behind it.
void Sessions::Reconcile() {
  const std::set<TokenHash> seen = Seen();
  const LibraryLogins logins = ListLibraryLogins();
  std::set<TokenHash> strange;
  for (const auto& [hash, login] : logins) strange.insert(hash);
  {
    const std::lock_guard lock(mutex_);
    const auto oldest = Clock::now() - kRegistrationTime;
    for (Session& session : sessions_) {
      if (strange.erase(session.hash) > 0) session.wasSeen = true;
    }
    std::erase_if(sessions_, [&](const Session& session) {
      const bool neverCame = !session.wasSeen && session.made < oldest;
      return !logins.contains(session.hash) && (seen.contains(session.hash) || neverCame);
    });
  }
  EndInLibrary(strange, "login ended");
}

}  // namespace sdkkit::accounts
