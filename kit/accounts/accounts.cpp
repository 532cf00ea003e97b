// What the accounts do: log in, change users, watch the time.
#include "accounts/accounts.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <utility>

#include "accounts/password.h"
#include "accounts/requester.h"
#include "base/guarded.h"
#include "sdkapi/server.h"

namespace sdkkit::accounts {
namespace {

constexpr uint32_t kRefused = 1;
constexpr uint32_t kLocked = 2;
constexpr uint64_t kNoRoomSeconds = 30;
constexpr auto kTick = std::chrono::seconds(1);

// What a client typed into the wrong field may be a password.
std::string NameForLog(const std::string& name) { return IsName(name) ? name : "(no possible name)"; }

}  // namespace

// A change of the users by whoever asks, who has to be there still.
class Accounts::UserChange {
 public:
  explicit UserChange(Accounts& accounts) : transaction_(*accounts.database_) {
    RequireRequester(accounts.sessions_);
  }
  void Commit() { transaction_.Commit(); }

 private:
  Transaction transaction_;
};

Accounts::Accounts(std::unique_ptr<Database> database, Settings settings, Rights rights)
    : database_(std::move(database)),
      settings_(std::move(settings)),
      rights_(std::move(rights)),
      users_(*database_),
      sessions_({settings_.administrator, settings_.mostLogins, settings_.mostLoginsEach}) {
  if (users_.Count() == 0) Reset("");
  SetLimits();
  watch_ = std::thread([this] { Watch(); });
}

Accounts::~Accounts() {
  {
    const std::lock_guard lock(mutex_);
    isStopping_ = true;
  }
  wake_.notify_one();
  watch_.join();
  SdkAPIExt_Login_Limits_Set(nullptr);
}

User Accounts::FirstUser() {
  const bool isRandom = settings_.firstPassword.empty();
  const std::string password = isRandom ? RandomPassword() : settings_.firstPassword;
  const auto hash = HashPassword(password);
  if (!hash) throw std::runtime_error("too many logins at once");
  if (isRandom) settings_.tellFirstPassword(settings_.firstName.c_str(), password.c_str());
  return {settings_.firstName, *hash, settings_.administrator, settings_.firstPasswordStays ? 0 : 1};
}

void Accounts::Reset(const char* who) {
  ReplaceAll({FirstUser()});
  attempts_.Forget();
  kLog.Audit({.action = "reset", .object = settings_.firstName.c_str(), .user = who, .address = who},
             "the first administrator %s is the only user", settings_.firstName.c_str());
}

void Accounts::Watch() {
  std::unique_lock lock(mutex_);
  while (!isStopping_) {
    lock.unlock();
    Guarded(kLog, [this] {
      SdkAPIExt_Login_Limits_Check();
      sessions_.Reconcile();
      return 0;
    });
    lock.lock();
    wake_.wait_for(lock, kTick, [this] { return isStopping_; });
  }
}

const Role* Accounts::FindRole(int number) const {
  const auto found = std::ranges::find(settings_.roles, number, &Role::number);
  return found != settings_.roles.end() ? &*found : nullptr;
}

// The library's own switch counts, too: whoever may set it has opened the device.
bool Accounts::IsOpen() const { return settings_.isOpen || SdkAPISer_AuthenticationSwitch_Get() == 1; }

std::optional<Session> Accounts::Who(std::string_view token) {
  if (IsOpen()) {
    Session everybody;
    everybody.name = settings_.firstName;
    everybody.role = settings_.administrator;
    return everybody;
  }
  return sessions_.Find(token);
}

const char* Accounts::Fault(const std::optional<Session>& user, const Right& right) const {
  if ((right.roles & 1U) != 0) return nullptr;
  if (!user) return "nobody has this login";
  if (user->firstLogin != 0 && (right.flags & kKitBeforeChange) == 0)
    return "the first password was not changed";
  return (right.roles >> static_cast<uint32_t>(user->role) & 1U) != 0 ? nullptr
                                                                      : "the role has no right to it";
}

Accounts::Verdict Accounts::Judge(const std::string& name, const std::optional<User>& user,
                                  const char* password) {
  constexpr int64_t kBusySeconds = 1;
  const std::string address = CurrentRequest().address;
  const std::string named = NameForLog(name);
  Attempt attempt(attempts_, name, address);
  if (attempt.secondsLocked() > 0) return {attempt.secondsLocked(), false};
  const Match match = MatchPassword(user ? std::optional(user->hash) : std::nullopt, password);
  if (match == Match::kBusy) return {kBusySeconds, false};
  const int64_t delay = attempt.Judged(match == Match::kYes);
  if (match == Match::kYes) return {0, true};
  kLog.Audit({.action = "password",
              .outcome = kKitAuditRefused,
              .object = user ? named.c_str() : "(no user)",
              .reason = "wrong password"},
             "wrong password for %s from %s", named.c_str(), address.c_str());
  if (delay > 0) {
    kLog.Audit({.action = "wait", .object = address.c_str(), .target = std::to_string(delay).c_str()},
               "%s has to wait %d s with its next one", address.c_str(), static_cast<int>(delay));
  }
  return {};
}

void Accounts::LogIn(LoginInfo& info) {
  info.code = kRefused;
  if (!IsName(info.username)) return;  // nobody's: no guess to be counted, nothing to be spent on
  const auto user = users_.Find(info.username);
  const Verdict verdict = Judge(info.username, user, info.password);
  info.code = verdict.secondsLocked > 0 ? kLocked : kRefused;
  info.lockTime = static_cast<uint64_t>(verdict.secondsLocked);
  if (!verdict.isGood || !IssueToken(info, *user)) return;
  kLog.Audit({.action = "log-in", .object = info.username, .user = info.username}, "%s from %s has logged in",
             info.username, CurrentRequest().address);
}

// Under the connection's lock, so that no change of the user comes between the look and the login.
bool Accounts::IssueToken(LoginInfo& info, const User& verified) {
  const std::string address = CurrentRequest().address;
  const ConnectionLock lock(*database_);
  const auto user = users_.Find(verified.name);
  if (!user || user->hash != verified.hash) return false;
  const auto token = sessions_.Add(*user, address);
  if (!token) {
    kLog.Audit({.action = "log-in",
                .outcome = kKitAuditRefused,
                .object = verified.name.c_str(),
                .reason = "no room for another login"},
               "no room for a login of %s from %s", verified.name.c_str(), address.c_str());
    info.code = kLocked;
    info.lockTime = kNoRoomSeconds;
    return false;
  }
  std::snprintf(info.token, sizeof info.token, "%s", token->c_str());
  info.firstlogin = user->firstLogin;
  info.code = 0;
  return true;
}

SdkKitUserCode Accounts::Change(const Session& caller, std::string_view token,
                                const ChangeUserRequest& request) {
  const std::string name = request.username[0] != '\0' ? request.username : caller.name;
  const auto user = users_.Find(name);
  if (!user) return kKitUserUnknown;
  const Verdict verdict = Judge(name, user, request.oldpassword);
  if (verdict.secondsLocked > 0) return kKitUserLocked;
  if (!verdict.isGood) return kKitUserWrongPassword;
  User after = *user;
  const SdkKitUserCode code = Prepare(after, request);
  return code == kKitUserDone ? Store(*user, after, token) : code;
}

SdkKitUserCode Accounts::Prepare(User& user, const ChangeUserRequest& request) {
  enum ChangeType : int { kChangeName = 0, kChangePassword = 1 };
  if (request.changeType != kChangePassword && request.newusername[0] != '\0')
    user.name = request.newusername;
  if (request.changeType == kChangeName) return kKitUserDone;
  if (!IsStrongPassword(request.newpassword)) return kKitUserWeakPassword;
  const auto hash = HashPassword(request.newpassword);
  if (!hash) return kKitUserLocked;
  user.hash = *hash;
  user.firstLogin = 0;
  return kKitUserDone;
}

SdkKitUserCode Accounts::Store(const User& before, const User& after, std::string_view token) {
  UserChange change(*this);
  const auto now = users_.Find(before.name);
  if (!now || now->hash != before.hash) return kKitUserWrongPassword;  // somebody was faster
  if (after.name != before.name) {
    if (!IsName(after.name)) return kKitUserBadName;
    if (users_.Find(after.name)) return kKitUserExists;
  }
  users_.Replace(before.name, after);
  change.Commit();
  sessions_.Continue(token, before.name, after);
  return kKitUserDone;
}

bool Accounts::IsLastAdministrator(const User& user) {
  return user.role == settings_.administrator && !users_.HasOtherOfRole(settings_.administrator, user.name);
}

SdkKitUserCode Accounts::Create(const std::string& name, const std::string& password, int role) {
  if (!IsName(name)) return kKitUserBadName;
  if (FindRole(role) == nullptr) return kKitUserBadRole;
  if (users_.Find(name)) return kKitUserExists;
  if (!IsStrongPassword(password)) return kKitUserWeakPassword;
  const auto hash = HashPassword(password);
  if (!hash) return kKitUserLocked;
  UserChange change(*this);
  if (users_.Find(name)) return kKitUserExists;
  if (users_.Count() >= settings_.mostUsers) return kKitUserTooMany;
  users_.Add({name, *hash, role, 1});
  change.Commit();
  return kKitUserDone;
}

SdkKitUserCode Accounts::Delete(const std::string& name) {
  UserChange change(*this);
  const auto user = users_.Find(name);
  if (!user) return kKitUserUnknown;
  if (IsLastAdministrator(*user)) return kKitUserLastAdministrator;
  users_.Delete(name);
  change.Commit();
  sessions_.EndAllOf(name, "user deleted");
  return kKitUserDone;
}

SdkKitUserCode Accounts::SetRole(const std::string& name, int role) {
  if (FindRole(role) == nullptr) return kKitUserBadRole;
  UserChange change(*this);
  auto user = users_.Find(name);
  if (!user) return kKitUserUnknown;
  if (role != settings_.administrator && IsLastAdministrator(*user)) return kKitUserLastAdministrator;
  if (user->role == role) return kKitUserDone;
  user->role = role;
  users_.Replace(name, *user);
  change.Commit();
  sessions_.EndAllOf(name, "role changed");
  return kKitUserDone;
}

SdkKitUserCode Accounts::SetPassword(const std::string& name, const std::string& password) {
  if (!users_.Find(name)) return kKitUserUnknown;
  if (!IsStrongPassword(password)) return kKitUserWeakPassword;
  const auto hash = HashPassword(password);
  if (!hash) return kKitUserLocked;
  UserChange change(*this);
  auto user = users_.Find(name);
  if (!user) return kKitUserUnknown;
  user->hash = *hash;
  user->firstLogin = 1;
  users_.Replace(name, *user);
  change.Commit();
  sessions_.EndAllOf(name, "password changed");
  return kKitUserDone;
}

void Accounts::ReplaceAll(const std::vector<User>& users) {
  UserChange change(*this);
  const std::vector<User> before = users_.List();
  users_.DeleteAll();
  for (const User& user : users) users_.Add(user);
  change.Commit();
  const auto isAnother = [&](const Session& session) {
    const auto old = std::ranges::find(before, session.name, &User::name);
    const auto now = std::ranges::find(users, session.name, &User::name);
    return old == before.end() || now == users.end() || *old != *now;
  };
  sessions_.EndIf(isAnother, "users replaced");
  ReleaseRequester();
}

void Accounts::NoteEnd(const char* token, int reason) {
  const auto session = sessions_.Forget(token);
  if (!session) return;
  const char* const why = reason == kExtLoginIdle     ? "was idle for too long"
                          : reason == kExtLoginTooOld ? "was too old"
                                                      : "found no room";
  kLog.Audit(
      {.action = "login-ended", .object = session->name.c_str(), .target = why, .user = "", .address = ""},
      "the login of %s from %s %s", session->name.c_str(), session->address.c_str(), why);
}

void Accounts::SetLimits() {
  SdkAPIExtLoginLimits limits{};
  limits.size = sizeof limits;
  limits.idleSeconds = settings_.idleSeconds;
  limits.totalSeconds = settings_.totalSeconds;
  limits.most = static_cast<uint32_t>(settings_.mostLogins);
  limits.whenFull = kExtFullRefuses;
  limits.ended = [](const char* token, int reason) {
    Guarded(kLog, [&] {
      if (const auto accounts = TheAccounts()) accounts->NoteEnd(token, reason);
      return 0;
    });
  };
  if (SdkAPIExt_Login_Limits_Set(&limits) != 0) throw std::runtime_error("the limits of logins are refused");
}

}  // namespace sdkkit::accounts
