// All users as JSON, out and in: judged as a whole before anything changes.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <nlohmann/json.hpp>
#include <set>
#include <string>

#include "accounts/accounts.h"
#include "accounts/password.h"
#include "base/guarded.h"
#include "base/json.h"

namespace sdkkit::accounts {
namespace {

using nlohmann::json;

constexpr JsonBounds kBounds{.bytes = std::size_t{1} << 20, .depth = 4};

std::string TextOf(const std::vector<User>& list) {
  json users = json::array();
  for (const User& user : list) {
    users.push_back(
        {{"name", user.name}, {"hash", user.hash}, {"role", user.role}, {"firstlogin", user.firstLogin}});
  }
  return ToText(users);
}

bool IsText(const json& object, const char* member) { return object.value(member, json()).is_string(); }

// An integer that an int holds, so that no number wraps into another.
std::optional<int> NumberOf(const json& object, const char* member, int ifMissing) {
  const auto found = object.find(member);
  if (found == object.end()) return ifMissing;
  if (!found->is_number_integer() || *found < -1 || *found > 1000) return std::nullopt;
  return found->get<int>();
}

std::string TakeUser(const Accounts& accounts, const json& object, std::vector<User>& users) {
  if (!object.is_object() || !IsText(object, "name") || !IsText(object, "hash"))
    return "a user lacks name or hash";
  User user{object["name"], object["hash"], 0, 0};
  if (!IsName(user.name)) return "a name is none";
  if (!IsOwnHash(user.hash)) return "the hash of " + user.name + " is of another kind";
  const auto role = NumberOf(object, "role", -1);
  if (!role || accounts.FindRole(*role) == nullptr) return "the role of " + user.name + " is unknown";
  const auto firstLogin = NumberOf(object, "firstlogin", 0);
  if (!firstLogin || *firstLogin < 0 || *firstLogin > 1)
    return "firstlogin of " + user.name + " is not 0 or 1";
  user.role = *role;
  user.firstLogin = *firstLogin;
  users.push_back(std::move(user));
  return "";
}

std::string SetFault(const Accounts& accounts, const std::vector<User>& users) {
  std::set<std::string> names;
  for (const User& user : users) {
    if (!names.insert(user.name).second) return user.name + " is there twice";
  }
  const int administrator = accounts.settings().administrator;
  const bool hasOne =
      std::ranges::any_of(users, [&](const User& user) { return user.role == administrator; });
  return hasOne ? "" : "no administrator is among them";
}

std::string TakeUsers(const Accounts& accounts, std::string_view text, std::vector<User>& users) {
  std::string fault;
  const auto document = ParseJson(text, kBounds, &fault);
  if (!document) return fault;
  if (!document->is_array()) return "it is no list";
  if (document->size() > accounts.settings().mostUsers) return "there are too many users";
  for (const json& object : *document) {
    fault = TakeUser(accounts, object, users);
    if (!fault.empty()) return fault;
  }
  return SetFault(accounts, users);
}

template <class Users>
int Hand(char** text, Users usersOf) {
  return Guarded(kLog, [&] {
    const auto accounts = TheAccounts();
    if (!accounts || text == nullptr) return -1;
    char* const copy = strdup(TextOf(usersOf(*accounts)).c_str());
    if (copy == nullptr) return -1;
    *text = copy;
    return 0;
  });
}

// Then, if all is well, `use` gets the users.
template <class Use>
int WithUsers(const char* text, std::size_t length, char* why, std::size_t whySize, Use use) {
  return Guarded(kLog, [&] {
    const auto accounts = TheAccounts();
    if (!accounts || text == nullptr) return -1;
    std::vector<User> users;
    const std::string fault = TakeUsers(*accounts, {text, length}, users);
    if (why != nullptr && whySize > 0) std::snprintf(why, whySize, "%s", fault.c_str());
    if (!fault.empty()) return -1;
    use(*accounts, users);
    return 0;
  });
}

}  // namespace
}  // namespace sdkkit::accounts

int SdkKitAccounts_Export(char** json) {
  using namespace sdkkit::accounts;
  return Hand(json, [](Accounts& accounts) { return accounts.users().List(); });
}

int SdkKitAccounts_Factory(char** json) {
  using namespace sdkkit::accounts;
  return Hand(json, [](Accounts& accounts) { return std::vector<User>{accounts.FirstUser()}; });
}

int SdkKitAccounts_Check(const char* json, size_t length, char* why, size_t whySize) {
  using namespace sdkkit::accounts;
  return WithUsers(json, length, why, whySize, [](Accounts&, const std::vector<User>&) {});
}

int SdkKitAccounts_Import(const char* json, size_t length, char* why, size_t whySize) {
  using namespace sdkkit::accounts;
  return WithUsers(json, length, why, whySize, [](Accounts& accounts, const std::vector<User>& users) {
    accounts.ReplaceAll(users);
    kLog.Audit({.action = "import", .object = std::to_string(users.size()).c_str()},
               "%zu users were imported", users.size());
  });
}
