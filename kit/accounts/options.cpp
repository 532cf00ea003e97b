// Defaults and bounds of the options.
#include "accounts/options.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <stdexcept>
#include <string>

#include "accounts/password.h"
#include "base/record.h"

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

bool IsRole(const SdkKitRole& role) {
  return role.number >= 1 && role.number <= kMostRole && role.name != nullptr &&
         std::string_view(role.name).size() < kKitNameSize;
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

Options::Options(const SdkKitAccountsOptions* given) {
  const auto refuse = [](const char* why) { throw std::invalid_argument(std::string("no start: ") + why); };
  const auto known = ReadRecord(given);
  if (!known) refuse("the options have an unknown size");
  record_ = *known;
  if (record_.roleCount > kMostRole) refuse("there are too many roles");
  if (record_.rightCount > kMostRights) refuse("there are too many rights");
  const auto roles = ReadRows(record_.roles, record_.roleCount, record_.roleSize);
  const auto rights = ReadRows(record_.rights, record_.rightCount, record_.rightSize);
  if (!roles) refuse("there are no roles, or roleSize is unknown");
  if (!rights) refuse("there are no rights, or rightSize is unknown");
  roles_ = roles->empty() ? std::vector(std::begin(kDefaultRoles), std::end(kDefaultRoles)) : *roles;
  rights_ = *rights;
  if (const char* const fault = Fault()) refuse(fault);
}

uint32_t Options::MostLogins() const { return Or(record_.mostLogins, kMostLogins); }

uint32_t Options::MostEach() const {
  return Or(record_.mostLoginsEach, std::min(kDefaultEach, MostLogins() / 2));
}

int Options::Administrator() const { return Or(record_.administrator, 1); }

const char* Options::RowsFault() const {
  if (!std::ranges::all_of(roles_, IsRole)) return "a role is none";
  if (std::ranges::count(roles_, Administrator(), &SdkKitRole::number) != 1)
    return "the administrators' role is none";
  return std::ranges::find(rights_, nullptr, &SdkKitRight::route) != rights_.end() ? "a right has no route"
                                                                                   : nullptr;
}

const char* Options::Fault() const {
  if (record_.connection == nullptr && record_.path == nullptr) return "no database";
  if (const char* const fault = RowsFault()) return fault;
  if (record_.firstName != nullptr && !IsName(record_.firstName)) return "the first name is none";
  if (MostLogins() < 2 || MostLogins() > kMostLogins) return "mostLogins is not 2 to 20";
  return MostEach() * 2 > MostLogins() ? "mostLoginsEach is more than half of mostLogins" : nullptr;
}

Settings Options::ToSettings() const {
  Settings settings;
  settings.isOpen = record_.noAuthentication != 0;
  for (const SdkKitRole& role : roles_) settings.roles.push_back({role.number, role.name});
  settings.administrator = Administrator();
  if (record_.firstName != nullptr) settings.firstName = record_.firstName;
  if (record_.firstPassword != nullptr) settings.firstPassword = record_.firstPassword;
  settings.tellFirstPassword =
      record_.tellFirstPassword != nullptr ? record_.tellFirstPassword : PrintFirstPassword;
  settings.firstPasswordStays = record_.firstPasswordStays != 0;
  settings.idleSeconds = Or(record_.idleSeconds, settings.idleSeconds);
  settings.totalSeconds = Or(record_.totalSeconds, settings.totalSeconds);
  settings.mostLogins = MostLogins();
  settings.mostLoginsEach = MostEach();
  settings.mostUsers = Or(static_cast<std::size_t>(record_.mostUsers), settings.mostUsers);
  if (record_.hostNames != nullptr) settings.hostNames = NamesOf(record_.hostNames);
  return settings;
}

Rights Options::ToRights() const {
  std::vector<Right> rows;
  for (const SdkKitRight& right : rights_) {
    rows.push_back({right.route, right.method != nullptr ? right.method : "", right.roles, right.flags});
  }
  const uint32_t administrators = 1U << static_cast<uint32_t>(Administrator());
  return {std::move(rows), administrators, Or(record_.writers, uint32_t{kKitRole1 | kKitRole2})};
}

std::unique_ptr<Database> Options::OpenDatabase() const {
  if (record_.connection != nullptr) return std::make_unique<Database>(record_.connection);
  return std::make_unique<Database>(std::string(record_.path));
}

}  // namespace sdkkit::accounts
