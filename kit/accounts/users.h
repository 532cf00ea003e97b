// The users in the database.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/database.h"

namespace sdkkit::accounts {

struct User {
  std::string name;
  std::string hash;
  int role = 0;
  int firstLogin = 0;

  bool operator==(const User&) const = default;
};

// Statements alone: what may be changed is the caller's question.
class Users {
 public:
  explicit Users(Database& database);

  std::optional<User> Find(const std::string& name);
  std::vector<User> List();
  std::size_t Count();
  bool HasOtherOfRole(int role, const std::string& name);

  void Add(const User& user);
  void Replace(const std::string& name, const User& user);
  void Delete(const std::string& name);
  void DeleteAll();

  Database& database() { return database_; }

 private:
  Database& database_;
};

}  // namespace sdkkit::accounts
