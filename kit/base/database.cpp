// SQLite behind the owner: opening, statements, transactions.
#include "base/database.h"

#include <stdexcept>

namespace sdkkit {
namespace {

constexpr int kBusyMilliseconds = 5000;

struct Finalize {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Statement = std::unique_ptr<sqlite3_stmt, Finalize>;

[[noreturn]] void Fail(sqlite3* connection) { throw std::runtime_error(sqlite3_errmsg(connection)); }

Statement Prepared(sqlite3* connection, const char* sql, const std::vector<std::string>& values) {
  sqlite3_stmt* raw = nullptr;
  if (sqlite3_prepare_v2(connection, sql, -1, &raw, nullptr) != SQLITE_OK) Fail(connection);
  Statement statement(raw);
  int position = 0;
  for (const std::string& value : values) {
    const int result = sqlite3_bind_text64(raw, ++position, value.data(), value.size(), nullptr, SQLITE_UTF8);
    if (result != SQLITE_OK) Fail(connection);
  }
  return statement;
}

Database::Row ReadRow(sqlite3_stmt* statement) {
  Database::Row row;
  for (int column = 0; column < sqlite3_column_count(statement); ++column) {
    const void* const text = sqlite3_column_text(statement, column);
    const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement, column));
    row.emplace_back(text != nullptr ? static_cast<const char*>(text) : "", size);
  }
  return row;
}

}  // namespace

sqlite3* OpenDurably(const std::string& path) {
  constexpr int kFlags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX;
  sqlite3* raw = nullptr;
  const int result = sqlite3_open_v2(path.c_str(), &raw, kFlags, nullptr);
  const auto close = [](sqlite3* connection) { sqlite3_close(connection); };
  std::unique_ptr<sqlite3, decltype(close)> connection(raw, close);
  if (result != SQLITE_OK) throw std::runtime_error("cannot open " + path + ": " + sqlite3_errstr(result));
  sqlite3_busy_timeout(raw, kBusyMilliseconds);
  for (const char* const setting : {"PRAGMA journal_mode=WAL", "PRAGMA synchronous=FULL"}) {
    if (sqlite3_exec(raw, setting, nullptr, nullptr, nullptr) != SQLITE_OK) Fail(raw);
  }
  return connection.release();
}

Database::Database(const std::string& path) : owned_(OpenDurably(path)), connection_(owned_.get()) {}

Database::Database(sqlite3* connection) : connection_(connection) {
  if (sqlite3_db_mutex(connection) == nullptr) throw std::runtime_error("the connection has no mutex");
}

void Database::Execute(const char* sql, const std::vector<std::string>& values) { Query(sql, values); }

std::vector<Database::Row> Database::Query(const char* sql, const std::vector<std::string>& values) {
  const ConnectionLock lock(*this);
  const Statement statement = Prepared(connection_, sql, values);
  std::vector<Row> rows;
  int result = SQLITE_OK;
  while ((result = sqlite3_step(statement.get())) == SQLITE_ROW) rows.push_back(ReadRow(statement.get()));
  if (result != SQLITE_DONE) Fail(connection_);
  return rows;
}

Transaction::Transaction(Database& database)
    : database_(database), lock_(database), isInner_(sqlite3_get_autocommit(database.connection()) == 0) {
  database_.Execute(isInner_ ? "SAVEPOINT part" : "BEGIN IMMEDIATE");
  isOpen_ = true;
}

Transaction::~Transaction() {
  // A failed disk may have ended the whole transaction already.
  if (!isOpen_ || sqlite3_get_autocommit(database_.connection()) != 0) return;
  const char* const undo = isInner_ ? "ROLLBACK TO part; RELEASE part" : "ROLLBACK";
  sqlite3_exec(database_.connection(), undo, nullptr, nullptr, nullptr);
}

void Transaction::Commit() {
  database_.Execute(isInner_ ? "RELEASE part" : "COMMIT");
  isOpen_ = false;
}

}  // namespace sdkkit
