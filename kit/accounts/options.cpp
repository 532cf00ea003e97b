// Defaults and bounds of the options.
#include "accounts/options.h"

#include <algorithm>
#include <cstdio>
#include <span>
#include <string>

#include "accounts/password.h"

namespace sdkkit::accounts {
namespace {

constexpr SdkKitRole kDefaultRoles[] = {{1, 0, "administrator"}, {2, 0, "operator"}, {3, 0, "viewer"}};
constexpr int kMostRole = 30;
constexpr std::size_t kMostRights = 1000;
constexpr uint32_t kMostLogins = 20;
constexpr uint32_t kDefaultEach = 8;  // tabs and tools of one person side by side

template <class Number>
Number Or(Number value, Number ifZero) {
  return value != 0 ? value : ifZero;
}

std::span<const SdkKitRole> RolesOf(const SdkKitAccountsOptions& options) {
  if (options.roles == nullptr) return kDefaultRoles;
  return {options.roles, options.roleCount};
}

bool IsRole(const SdkKitRole& role) {
  return role.number >= 1 && role.number <= kMostRole && role.name != nullptr &&
         std::string_view(role.name).size() < kKitNameSize;
}

uint32_t MostLogins(const SdkKitAccountsOptions& options) { return Or(options.mostLogins, kMostLogins); }

uint32_t MostEach(const SdkKitAccountsOptions& options) {
  return Or(options.mostLoginsEach, std::min(kDefaultEach, MostLogins(options) / 2));
}

// "device.lan, 8x8.example" is two names.
std::vector<std::string> NamesOf(const std::string& list) {
  constexpr const char* kBetween = ", ";
  std::vector<std::string> names;
  for (std::size_t begin = list.find_first_not_of(kBetween); begin != std::string::npos;) {
    const std::size_t end = list.find_first_of(kBetween, begin);
    names.push_back(list.substr(begin, end - begin));
    begin = list.find_first_not_of(kBetween, end);
  }
  return names;
}

// Somebody has to read it, and a log is no place for it.
void PrintFirstPassword(const char* name, const char* password) {
  std::printf("first user: %s, password %s (until it is changed)\n", name, password);
  std::fflush(stdout);
}

}  // namespace

const char* OptionsFault(const SdkKitAccountsOptions& options) {
  const auto roles = RolesOf(options);
  const int administrator = Or(options.administrator, 1);
  if (options.connection == nullptr && options.path == nullptr) return "no database";
  if (roles.size() > kMostRole || !std::ranges::all_of(roles, IsRole)) return "a role is none";
  if (std::ranges::count(roles, administrator, &SdkKitRole::number) != 1)
    return "the administrators' role is none";
  if (options.rightCount > kMostRights || (options.rightCount > 0 && options.rights == nullptr))
    return "the rights are none";
  for (const SdkKitRight& right : std::span(options.rights, options.rightCount)) {
    if (right.route == nullptr) return "a right has no route";
  }
  if (options.firstName != nullptr && !IsName(options.firstName)) return "the first name is none";
  if (MostLogins(options) < 2 || MostLogins(options) > kMostLogins) return "mostLogins is not 2 to 20";
  return MostEach(options) * 2 > MostLogins(options) ? "mostLoginsEach is more than half of mostLogins"
                                                     : nullptr;
}

Settings SettingsOf(const SdkKitAccountsOptions& options) {
  Settings settings;
  settings.isOpen = options.noAuthentication != 0;
  for (const SdkKitRole& role : RolesOf(options)) settings.roles.push_back({role.number, role.name});
  settings.administrator = Or(options.administrator, 1);
  if (options.firstName != nullptr) settings.firstName = options.firstName;
  if (options.firstPassword != nullptr) settings.firstPassword = options.firstPassword;
  settings.tellFirstPassword =
      options.tellFirstPassword != nullptr ? options.tellFirstPassword : PrintFirstPassword;
  settings.firstPasswordStays = options.firstPasswordStays != 0;
  settings.idleSeconds = Or(options.idleSeconds, settings.idleSeconds);
  settings.totalSeconds = Or(options.totalSeconds, settings.totalSeconds);
  settings.mostLogins = MostLogins(options);
  settings.mostLoginsEach = MostEach(options);
  settings.mostUsers = Or(static_cast<std::size_t>(options.mostUsers), settings.mostUsers);
  if (options.hostNames != nullptr) settings.hostNames = NamesOf(options.hostNames);
  return settings;
}

Rights RightsOf(const SdkKitAccountsOptions& options) {
  std::vector<Right> rows;
  for (const SdkKitRight& right : std::span(options.rights, options.rightCount)) {
    rows.push_back({right.route, right.method != nullptr ? right.method : "", right.roles, right.flags});
  }
  const uint32_t administrators = 1U << static_cast<uint32_t>(Or(options.administrator, 1));
  return {std::move(rows), administrators, Or(options.writers, uint32_t{kKitRole1 | kKitRole2})};
}

std::unique_ptr<Database> OpenDatabase(const SdkKitAccountsOptions& options) {
  if (options.connection != nullptr) return std::make_unique<Database>(options.connection);
  return std::make_unique<Database>(std::string(options.path));
}

}  // namespace sdkkit::accounts
