// The device's users: passwords, roles, and what may be changed by whom.
#include "users.h"

#include <sodium.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <stdexcept>

#include "database.h"
#include "login_tokens.h"
#include "names.h"
#include "slot_guard.h"

namespace sim {
namespace {

using nlohmann::json;

// What the code of a user change means.
enum UserCode : int {
  kDone = 0,
  kWrongPassword = 1,
  kWeakPassword = 2,
  kUserExists = 3,
  kNoSuchUser = 4,
  kLastAdministrator = 5,
  kBadName = 6,
  kBadRole = 7
};

constexpr unsigned long long kHashPasses = 2;
constexpr std::size_t kHashMemory = 8 * 1024 * 1024;
constexpr std::size_t kMostUsers = 256;

std::atomic<bool> authentication{true};

std::string Hash(const std::string& password) {
  std::array<char, crypto_pwhash_STRBYTES> hash{};
  if (crypto_pwhash_str(hash.data(), password.c_str(), password.size(), kHashPasses, kHashMemory) != 0) {
    throw std::runtime_error("no memory to hash a password");
  }
  return hash.data();
}

std::optional<std::string> HashOf(const std::string& name) {
  const auto rows = TheDatabase().Query("SELECT hash FROM users WHERE name = ?", {name});
  if (rows.empty()) return std::nullopt;
  return rows[0][0];
}

// Unknown names cost as much time as known ones.
bool PasswordMatches(const std::string& name, const std::string& password) {
  static const std::string kNobody = Hash("nobody");
  const auto hash = HashOf(name);
  const std::string& compared = hash ? *hash : kNobody;
  return crypto_pwhash_str_verify(compared.c_str(), password.c_str(), password.size()) == 0 && hash;
}

User ToUser(const Database::Row& row) { return {row[0], std::stoi(row[1]), std::stoi(row[2])}; }

void AddUser(const std::string& name, const std::string& hash, int role, int firstLogin) {
  TheDatabase().Execute("INSERT INTO users (name, hash, role, firstlogin) VALUES (?, ?, ?, ?)",
                        {name, hash, std::to_string(role), std::to_string(firstLogin)});
}

bool IsLastAdministrator(const std::string& name) {
  const auto others = TheDatabase().Query("SELECT COUNT(*) FROM users WHERE role = 1 AND name <> ?", {name});
  return others[0][0] == "0";
}

bool IsStrong(const char* password) { return DataFormatverification(password) == 0; }

UserCode CreateUser(const ManageUserRequest& request) {
  if (!IsName(request.username)) return kBadName;
  if (FindUser(request.username)) return kUserExists;
  if (!IsStrong(request.password)) return kWeakPassword;
  if (ListUsers().size() >= kMostUsers) return kBadName;
  if (request.role < kAdministrator || request.role > kViewer) return kBadRole;
  AddUser(request.username, Hash(request.password), request.role, 1);
  return kDone;
}

UserCode DeleteUser(const std::string& name) {
  const auto user = FindUser(name);
  if (!user) return kNoSuchUser;
  if (user->role == kAdministrator && IsLastAdministrator(name)) return kLastAdministrator;
  TheDatabase().Execute("DELETE FROM users WHERE name = ?", {name});
  EndTokensOf(name);
  return kDone;
}

// Both or neither, whatever fails in between; an empty hash leaves the password.
UserCode StoreChange(const std::string& name, const std::string& newName, const std::string& hash) {
  Transaction transaction(TheDatabase());
  if (newName != name) {
    if (!IsName(newName)) return kBadName;
    if (FindUser(newName)) return kUserExists;
    TheDatabase().Execute("UPDATE users SET name = ? WHERE name = ?", {newName, name});
  }
  if (!hash.empty())
    TheDatabase().Execute("UPDATE users SET hash = ?, firstlogin = 0 WHERE name = ?", {hash, newName});
  transaction.Commit();
  return kDone;
}

// changeType: 0 user name, 1 password, 2 both.
UserCode Change(const std::string& name, const ChangeUserRequest& request) {
  const bool changesName = request.changeType != 1 && request.newusername[0] != '\0';
  const bool changesPassword = request.changeType != 0;
  if (!FindUser(name)) return kNoSuchUser;
  if (!PasswordMatches(name, request.oldpassword)) return kWrongPassword;
  if (changesPassword && !IsStrong(request.newpassword)) return kWeakPassword;
  const std::string newName = changesName ? request.newusername : name;
  const UserCode code = StoreChange(name, newName, changesPassword ? Hash(request.newpassword) : "");
  if (code == kDone) RenameTokens(name, newName);
  return code;
}

bool IsNumber(const json& user, const char* member, int least, int most) {
  const json value = user.value(member, json());
  return value.is_number_integer() && value >= least && value <= most;
}

bool IsStoredUser(const json& user) {
  return user.is_object() && user.value("name", json()).is_string() &&
         user.value("hash", json()).is_string() && IsNumber(user, "role", kAdministrator, kViewer) &&
         IsNumber(user, "firstlogin", 0, 1) && IsName(user["name"].get<std::string>());
}

// Only what this device makes itself: another hash could cost a login gigabytes of memory, or hours.
bool IsOwnHash(const std::string& hash) {
  return hash.size() < crypto_pwhash_STRBYTES && hash.starts_with(crypto_pwhash_STRPREFIX) &&
         crypto_pwhash_str_needs_rehash(hash.c_str(), kHashPasses, kHashMemory) == 0;
}

// Whom a change is about: the named user, who must be the caller unless an administrator asks.
std::string Subject(const User& caller, const ChangeUserRequest& request) {
  return request.username[0] != '\0' ? request.username : caller.name;
}

}  // namespace

void StartUsers(bool authenticate) {
  if (sodium_init() < 0) throw std::runtime_error("libsodium cannot start");
  authentication = authenticate;
  if (ListUsers().empty()) AddUser("admin", Hash("admin"), kAdministrator, 1);
}

std::optional<User> FindUser(const std::string& name) {
  const auto rows = TheDatabase().Query("SELECT name, role, firstlogin FROM users WHERE name = ?", {name});
  if (rows.empty()) return std::nullopt;
  return ToUser(rows[0]);
}

std::vector<User> ListUsers() {
  std::vector<User> users;
  for (const auto& row : TheDatabase().Query("SELECT name, role, firstlogin FROM users ORDER BY name")) {
    users.push_back(ToUser(row));
  }
  return users;
}

std::optional<User> UserForToken(std::string_view token) {
  // The library's own switch counts, too: a client may have changed it.
  if (!authentication || SdkAPISer_AuthenticationSwitch_Get() == 1) return User{"admin", kAdministrator, 0};
  const auto name = OwnerOfToken(token);
  return name ? FindUser(*name) : std::nullopt;
}

bool MayWrite(std::string_view token) {
  const auto user = UserForToken(token);
  return user && user->role <= kOperator;
}

bool IsAdministrator(std::string_view token) {
  const auto user = UserForToken(token);
  return user && user->role == kAdministrator;
}

json ExportUsers() {
  json users = json::array();
  for (const auto& row :
       TheDatabase().Query("SELECT name, hash, role, firstlogin FROM users ORDER BY name")) {
    users.push_back(
        {{"name", row[0]}, {"hash", row[1]}, {"role", std::stoi(row[2])}, {"firstlogin", std::stoi(row[3])}});
  }
  return users;
}

json FactoryUsers() {
  return {{{"name", "admin"}, {"hash", Hash("admin")}, {"role", kAdministrator}, {"firstlogin", 1}}};
}

std::string UsersFault(const json& users) {
  const auto isAdministrator = [](const json& user) { return user["role"] == kAdministrator; };
  const auto hasOwnHash = [](const json& user) { return IsOwnHash(user["hash"]); };
  if (!users.is_array() || users.size() > kMostUsers) return "no list of users, or too many";
  if (!std::all_of(users.begin(), users.end(), IsStoredUser)) return "a user without right members";
  if (!std::all_of(users.begin(), users.end(), hasOwnHash)) return "a password hash of another kind";
  if (!std::any_of(users.begin(), users.end(), isAdministrator)) return "no administrator";
  return HaveOwnNames(users) ? "" : "a name twice";
}

bool StoreUsers(const json& users) {
  const auto change = OneChange();
  Transaction transaction(TheDatabase());
  TheDatabase().Execute("DELETE FROM users");
  for (const json& user : users) AddUser(user["name"], user["hash"], user["role"], user["firstlogin"]);
  transaction.Commit();
  return true;
}

// A login is required unless the device was started without.
int AnswerAuthQuery(int* flag) {
  *flag = authentication ? 0 : 1;
  return 0;
}

int Login(LoginInfo* info) {
  return Guarded([&] {
    const std::string name = info->username;
    if (const int64_t locked = LockedSeconds(name); locked > 0) {
      info->code = 2;
      info->lockTime = static_cast<uint64_t>(locked);
      return 0;
    }
    if (!PasswordMatches(name, info->password)) {
      NoteFailure(name);
      info->code = 1;
      return 0;
    }
    std::snprintf(info->token, sizeof info->token, "%s", RememberToken(name).c_str());
    info->firstlogin = FindUser(name).value_or(User{}).firstLogin;
    info->code = 0;
    return 0;
  });
}

// The slot does not say whose login ended; the tick forgets the token.
int LogOut() { return 0; }

int ChangeUser(const char* token, ChangeUserRequest* request) {
  return Guarded([&] {
    const auto caller = UserForToken(token);
    if (!caller) return kNotAuthorised;
    const std::string subject = Subject(*caller, *request);
    if (subject != caller->name && caller->role != kAdministrator) return kNotAuthorised;
    const auto change = OneChange();
    request->code = Change(subject, *request);
    return 0;
  });
}

int ManageUser(const char* token, ManageUserRequest* request) {
  return Guarded([&] {
    if (!IsAdministrator(token)) return kNotAuthorised;
    const auto change = OneChange();
    request->code =
        static_cast<uint32_t>(request->action == 0 ? CreateUser(*request) : DeleteUser(request->username));
    return 0;
  });
}

}  // namespace sim
