// The device's database: a small owner of SQLite with its schema.
#pragma once

#include <sqlite3.h>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "sdkapi/kit_storage.h"

namespace sim {

// Owns what SQLite gives, by the function that takes it back.
template <auto kGiveBack>
struct GiveBack {
  template <class Object>
  void operator()(Object* object) const {
    kGiveBack(object);
  }
};
template <class Object, auto kGiveBack>
using Owner = std::unique_ptr<Object, GiveBack<kGiveBack>>;

// Callable from any thread; statements are serialised. Failures throw std::runtime_error.
class Database {
 public:
  using Row = std::vector<std::string>;

  explicit Database(const std::string& path);

  sqlite3* connection() const { return connection_.get(); }

  // Runs one statement with its values bound as text.
  void Execute(const std::string& sql, const std::vector<std::string>& values = {});
  std::vector<Row> Query(const std::string& sql, const std::vector<std::string>& values = {});

 private:
  Owner<sqlite3, sqlite3_close> connection_;
};

// Makes the statements of one thread one change: without Commit they are undone at the end of the scope.
// Other threads' statements wait meanwhile. A transaction within another is a part of it.
class Transaction {
 public:
  explicit Transaction(Database& database);
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  void Commit();

 private:
  SdkKitStorageChange* change_;
};

// Opens the database file and makes missing tables; once, before anything uses TheDatabase.
void OpenDatabase(const std::string& path);
Database& TheDatabase();

// One change at a time, from the check of its rules to its last statement. Taken before a transaction begins.
std::unique_lock<std::recursive_mutex> OneChange();

}  // namespace sim
