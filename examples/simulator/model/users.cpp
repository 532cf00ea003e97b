// The device's users: what of them the other parts ask for. The kit keeps them.
#include "model/users.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace sim {
namespace {

constexpr std::size_t kMostLogins = 20;  // the most that the kit keeps

using nlohmann::json;

struct Free {
  void operator()(void* memory) const { std::free(memory); }
};

// Twice when users were added in between.
std::vector<SdkKitUser> ListUsers() {
  std::vector<SdkKitUser> users(1);
  for (std::size_t count = 0;; users.resize(count)) {
    users[0].size = sizeof users[0];
    count = users.size();
    if (SdkKitAccounts_List(users.data(), &count) != 0) throw std::runtime_error("the users cannot be read");
    if (count > users.size()) continue;
    users.resize(count);
    return users;
  }
}

json Taken(int (*take)(char** json)) {
  char* text = nullptr;
  if (take(&text) != 0) throw std::runtime_error("the users cannot be told");
  const std::unique_ptr<char, Free> owner(text);
  return json::parse(text);
}

}  // namespace

bool MayWrite(const std::string& token) { return SdkKitAccounts_May(token.c_str(), "command", "POST") == 0; }

bool MayAdminister(const std::string& token) {
  return SdkKitAccounts_May(token.c_str(), "/sim/users", "GET") == 0;
}

std::vector<SdkKitSession> ListSessions(const std::string& token) {
  std::vector<SdkKitSession> sessions(kMostLogins);
  std::size_t count = sessions.size();
  sessions[0].size = sizeof sessions[0];
  if (SdkKitAccounts_Sessions(token.c_str(), sessions.data(), &count) != 0) return {};
  sessions.resize(std::min(count, sessions.size()));
  return sessions;
}

uint64_t LoginOf(const std::string& token) {
  const std::vector<SdkKitSession> sessions = ListSessions(token);
  const auto own = std::ranges::find(sessions, 1, &SdkKitSession::own);
  return own == sessions.end() ? 0 : own->id;
}

json UsersBody() {
  json users = json::array();
  for (const SdkKitUser& user : ListUsers()) {
    users.push_back({{"name", user.name}, {"role", user.role}, {"firstlogin", user.firstlogin}});
  }
  return {{"users", users}};
}

json ExportUsers() { return Taken(SdkKitAccounts_Export); }

json FactoryUsers() { return Taken(SdkKitAccounts_Factory); }

std::string UsersFault(const json& users) {
  constexpr std::size_t kRoom = 200;
  std::string why(kRoom, '\0');
  const std::string text = users.dump(-1, ' ', false, json::error_handler_t::replace);
  if (SdkKitAccounts_Check(text.data(), text.size(), why.data(), why.size()) == 0) return "";
  return why[0] != '\0' ? why.c_str() : "they cannot be read";
}

bool StoreUsers(const json& users) {
  const std::string text = users.dump(-1, ' ', false, json::error_handler_t::replace);
  return SdkKitAccounts_Import(text.data(), text.size(), nullptr, 0) == 0;
}

}  // namespace sim
