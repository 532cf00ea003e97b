// The table of users.
#include "accounts/users.h"

namespace sdkkit::accounts {
namespace {

User ToUser(const Database::Row& row) { return {row[0], row[1], std::stoi(row[2]), std::stoi(row[3])}; }

std::vector<std::string> ToValues(const User& user) {
  return {user.name, user.hash, std::to_string(user.role), std::to_string(user.firstLogin)};
}

}  // namespace

Users::Users(Database& database) : database_(database) {
  database_.Execute(
      "CREATE TABLE IF NOT EXISTS users (name TEXT PRIMARY KEY, hash TEXT NOT NULL, role INTEGER NOT NULL, "
      "firstlogin INTEGER NOT NULL)");
}

std::optional<User> Users::Find(const std::string& name) {
  const auto rows = database_.Query("SELECT name, hash, role, firstlogin FROM users WHERE name = ?", {name});
  if (rows.empty()) return std::nullopt;
  return ToUser(rows[0]);
}

std::vector<User> Users::List() {
  std::vector<User> users;
  for (const auto& row : database_.Query("SELECT name, hash, role, firstlogin FROM users ORDER BY name"))
    users.push_back(ToUser(row));
  return users;
}

std::size_t Users::Count() { return std::stoul(database_.Query("SELECT COUNT(*) FROM users")[0][0]); }

bool Users::HasOtherOfRole(int role, const std::string& name) {
  return !database_
              .Query("SELECT 1 FROM users WHERE role = ? AND name <> ? LIMIT 1", {std::to_string(role), name})
              .empty();
}

void Users::Add(const User& user) {
  database_.Execute("INSERT INTO users (name, hash, role, firstlogin) VALUES (?, ?, ?, ?)", ToValues(user));
}

void Users::Replace(const std::string& name, const User& user) {
  std::vector<std::string> values = ToValues(user);
  values.push_back(name);
  database_.Execute("UPDATE users SET name = ?, hash = ?, role = ?, firstlogin = ? WHERE name = ?", values);
}

void Users::Delete(const std::string& name) { database_.Execute("DELETE FROM users WHERE name = ?", {name}); }

void Users::DeleteAll() { database_.Execute("DELETE FROM users"); }

}  // namespace sdkkit::accounts
