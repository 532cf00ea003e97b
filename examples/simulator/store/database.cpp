// The device's database: opening, schema, statements.
#include "store/database.h"

#include <stdexcept>
#include <utility>

namespace sim {
namespace {

constexpr const char* kSchema[] = {
    "CREATE TABLE IF NOT EXISTS units (id INTEGER PRIMARY KEY, name TEXT UNIQUE NOT NULL, type TEXT NOT "
    "NULL, "
    "online INTEGER NOT NULL, ip TEXT NOT NULL, mac TEXT NOT NULL, edid TEXT NOT NULL, input TEXT NOT NULL)",
    "CREATE TABLE IF NOT EXISTS presets (name TEXT NOT NULL, receiver TEXT NOT NULL, input TEXT NOT NULL, "
    "UNIQUE "
    "(name, receiver))",
    "CREATE TABLE IF NOT EXISTS privileges (picture TEXT NOT NULL, unit TEXT NOT NULL, UNIQUE (picture, "
    "unit))",
};

// What tables have got since: databases of before get it when they are opened.
struct LaterColumn {
  const char* table;
  const char* name;
  const char* definition;
};

constexpr LaterColumn kLaterColumns[] = {{"units", "locked", "INTEGER NOT NULL DEFAULT 0"}};

std::unique_ptr<Database> database;

// Has the connection to itself, so that the words of a failure are those of its own statement.
Owner<sqlite3_mutex, sqlite3_mutex_leave> Lock(sqlite3* connection) {
  sqlite3_mutex* const mutex = sqlite3_db_mutex(connection);
  sqlite3_mutex_enter(mutex);
  return Owner<sqlite3_mutex, sqlite3_mutex_leave>(mutex);
}

Database::Row ReadRow(sqlite3_stmt* statement) {
  Database::Row row;
  for (int column = 0; column < sqlite3_column_count(statement); ++column) {
    const void* const text = sqlite3_column_text(statement, column);
    row.emplace_back(text != nullptr ? static_cast<const char*>(text) : "");
  }
  return row;
}

void AddColumn(Database& opened, const LaterColumn& column) {
  const std::string found = "SELECT 1 FROM pragma_table_info(?) WHERE name = ?";
  if (!opened.Query(found, {column.table, column.name}).empty()) return;
  opened.Execute(std::string("ALTER TABLE ") + column.table + " ADD COLUMN " + column.name + " " +
                 column.definition);
}

}  // namespace

Database::Database(const std::string& path) {
  sqlite3* raw = nullptr;
  if (SdkKitStorage_Database_Open(path.c_str(), &raw) != 0) throw std::runtime_error("cannot open " + path);
  connection_.reset(raw);
  for (const char* const statement : kSchema) Execute(statement);
  for (const LaterColumn& column : kLaterColumns) AddColumn(*this, column);
}

void Database::Execute(const std::string& sql, const std::vector<std::string>& values) { Query(sql, values); }

std::vector<Database::Row> Database::Query(const std::string& sql, const std::vector<std::string>& values) {
  const auto lock = Lock(connection_.get());
  sqlite3_stmt* raw = nullptr;
  int result = sqlite3_prepare_v2(connection_.get(), sql.c_str(), -1, &raw, nullptr);
  const Owner<sqlite3_stmt, sqlite3_finalize> statement(raw);
  int place = 0;
  for (const std::string& value : values) {
    if (result == SQLITE_OK)
      result = sqlite3_bind_text64(raw, ++place, value.data(), value.size(), nullptr, SQLITE_UTF8);
  }
  if (result == SQLITE_OK) result = sqlite3_step(raw);
  std::vector<Row> rows;
  for (; result == SQLITE_ROW; result = sqlite3_step(raw)) rows.push_back(ReadRow(raw));
  if (result != SQLITE_DONE) throw std::runtime_error(sqlite3_errmsg(connection_.get()));
  return rows;
}

Transaction::Transaction(Database& database) : change_(SdkKitStorage_Change_Begin(database.connection())) {
  if (change_ == nullptr) throw std::runtime_error("the change cannot begin");
}

Transaction::~Transaction() { SdkKitStorage_Change_End(change_, 0); }

void Transaction::Commit() {
  if (SdkKitStorage_Change_End(std::exchange(change_, nullptr), 1) != 0)
    throw std::runtime_error("the change cannot be kept");
}

void OpenDatabase(const std::string& path) { database = std::make_unique<Database>(path); }

Database& TheDatabase() { return *database; }

std::unique_lock<std::recursive_mutex> OneChange() {
  static std::recursive_mutex mutex;
  return std::unique_lock(mutex);
}

}  // namespace sim
