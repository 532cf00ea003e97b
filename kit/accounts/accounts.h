// The accounts of this device: one object between start and stop.
#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "accounts/attempts.h"
#include "accounts/rights.h"
#include "accounts/sessions.h"
#include "accounts/users.h"
#include "base/database.h"
#include "base/in_use.h"
#include "base/log.h"
#include "base/request.h"
#include "sdkapi/kit_accounts.h"

namespace sdkkit::accounts {

inline constexpr Log kLog{"accounts"};
inline constexpr int kNotAuthorised = -2;

struct Role {
  int number;
  std::string name;
};

struct Settings {
  bool isOpen = false;  // no login is needed
  std::vector<Role> roles;
  int administrator = 1;
  std::string firstName = "admin";
  std::string firstPassword;  // empty: a random one
  SdkKitFirstPassword tellFirstPassword = nullptr;
  bool firstPasswordStays = false;
  uint32_t idleSeconds = 1800;
  uint32_t totalSeconds = 43200;
  std::size_t mostLogins = 20;
  std::size_t mostLoginsEach = 8;
  std::size_t mostUsers = 100;
  std::vector<std::string> hostNames;
};

class Accounts {
 public:
  Accounts(std::unique_ptr<Database> database, Settings settings, Rights rights);
  ~Accounts();

  bool IsOpen() const;
  // Who has this token; without authentication the first administrator.
  std::optional<Session> Who(std::string_view token);
  // Why a user may not, in words for the log; null when the user may.
  const char* Fault(const std::optional<Session>& user, const Right& right) const;

  void LogIn(LoginInfo& info);
  SdkKitUserCode Change(const Session& caller, std::string_view token, const ChangeUserRequest& request);

  SdkKitUserCode Create(const std::string& name, const std::string& password, int role);
  SdkKitUserCode Delete(const std::string& name);
  SdkKitUserCode SetRole(const std::string& name, int role);
  SdkKitUserCode SetPassword(const std::string& name, const std::string& password);
  // Replaces all users; logins of those who are as before go on.
  void ReplaceAll(const std::vector<User>& users);
  // The first administrator as the only user.
  // Null: by whom the request comes that this thread serves; empty: by the device itself.
  void Reset(const char* who = nullptr);
  User FirstUser();

  // The library ended a login by a limit.
  void NoteEnd(const char* token, int reason);

  const Settings& settings() const { return settings_; }
  const Rights& rights() const { return rights_; }
  Users& users() { return users_; }
  Sessions& sessions() { return sessions_; }
  const Role* FindRole(int number) const;

 private:
  class UserChange;

  void SetLimits();
  void Watch();
  bool IsLastAdministrator(const User& user);
  bool IssueToken(LoginInfo& info, const User& verified);
  // What became of a password: how long to wait, or whether it is right.
  struct Verdict {
    int64_t secondsLocked = 0;
    bool isGood = false;
  };
  Verdict Judge(const std::string& name, const std::optional<User>& user, const char* password);
  SdkKitUserCode Prepare(User& user, const ChangeUserRequest& request);
  SdkKitUserCode Store(const User& before, const User& after, std::string_view token);

  std::unique_ptr<Database> database_;
  Settings settings_;
  Rights rights_;
  Users users_;
  Sessions sessions_;
  Attempts attempts_;

  std::mutex mutex_;  // guards isStopping_
  std::condition_variable wake_;
  bool isStopping_ = false;
  std::thread watch_;
};

// Empty before the start and from the stop on, which waits for whoever holds one.
InUse<Accounts>::Use TheAccounts();

}  // namespace sdkkit::accounts
