// The owner of an SQLite connection: statements with bound texts, and changes that are whole or not at all.
#pragma once

#include <sqlite3.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace sdkkit {

// Opens the file, makes it when missing, and sets what keeps a change through a loss of power. The caller
// closes it.
sqlite3* OpenDurably(const std::string& path);

// Callable from any thread. Who holds the connection's own mutex (sqlite3_db_mutex) has the connection to
// itself: a Transaction does, so other threads' statements wait for it and never slip into it. Failures throw
// std::runtime_error with SQLite's words.
class Database {
 public:
  using Row = std::vector<std::string>;

  // Opens the file durably, and closes it.
  explicit Database(const std::string& path);
  // Uses a connection of the host's, which stays open until this is gone.
  explicit Database(sqlite3* connection);

  // Runs one statement with its values bound as texts.
  void Execute(const char* sql, const std::vector<std::string>& values = {});
  std::vector<Row> Query(const char* sql, const std::vector<std::string>& values = {});
  // Rows that the last statement of this thread changed; only inside a Transaction.
  int Changed() const { return sqlite3_changes(connection_); }

  sqlite3* connection() const { return connection_; }

 private:
  struct Close {
    void operator()(sqlite3* connection) const { sqlite3_close(connection); }
  };

  std::unique_ptr<sqlite3, Close> owned_;
  sqlite3* connection_;
};

// Has the connection to itself, also within itself. Taken around a check and the change that rests on it.
class ConnectionLock {
 public:
  explicit ConnectionLock(const Database& database) : mutex_(sqlite3_db_mutex(database.connection())) {
    sqlite3_mutex_enter(mutex_);
  }
  ~ConnectionLock() { sqlite3_mutex_leave(mutex_); }
  ConnectionLock(const ConnectionLock&) = delete;
  ConnectionLock& operator=(const ConnectionLock&) = delete;

 private:
  sqlite3_mutex* mutex_;
};

// Makes the statements of one thread one change: without Commit they are undone at the end of the scope. One
// within another is a part of it: what it undoes is its own part only.
class Transaction {
 public:
  explicit Transaction(Database& database);
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  void Commit();

 private:
  Database& database_;
  ConnectionLock lock_;
  bool isInner_;
  bool isOpen_ = false;
};

}  // namespace sdkkit
