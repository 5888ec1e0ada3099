#include "storage/SqlStore.h"

#include <cerrno>
#include <cstring>

#include "platform/Files.h"
#include "platform/Log.h"
#include "platform/Text.h"

namespace vk {

SqlStore::SqlStore(SqlSchema schema)
    : schema_(std::move(schema)), statements_(schema_.statements.size(), nullptr) {}

SqlStore::~SqlStore() {
  CloseDb();
}

sqlite3* SqlStore::Open(const std::u16string& path, std::u16string* error, bool one_thread) {
  if (ProbePath(path) == PathPresence::kMissing && !CreatePrivateFile(path) && errno != EEXIST) {
    if (error != nullptr) *error = FromUtf8(std::strerror(errno));
    return nullptr;
  }
  sqlite3* db = nullptr;
  const int opened =
      one_thread ? sqlite3_open_v2(ToUtf8(path).c_str(), &db,
                                   SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX,
                                   nullptr)
                 : sqlite3_open16(path.c_str(), &db);
  if (opened != SQLITE_OK) {
    if (error != nullptr) {
      *error = FromUtf8(db != nullptr ? sqlite3_errmsg(db) : "cannot be opened");
    }
    // The engine may hand back a handle even when opening failed; it must still be closed.
    if (db != nullptr) sqlite3_close(db);
    return nullptr;
  }
  sqlite3_busy_timeout(db, kBusyTimeoutMs);
  Exec(db, "PRAGMA synchronous=EXTRA");
  return db;
}

void SqlStore::OpenDb() {
  if (db_ != nullptr) return;
  db_ = Open(path_);
  if (db_ == nullptr) return;
  CreateSchema(db_);
  for (size_t i = 0; i < schema_.statements.size(); ++i) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare16(db_, schema_.statements[i], -1, &statement, nullptr) != SQLITE_OK) {
      statement = nullptr;  // left null: operations on it fail at their first bind
    }
    statements_[i] = statement;
  }
}

void SqlStore::CloseDb() {
  auto finalize = [](sqlite3_stmt*& statement) {
    if (statement != nullptr) {
      sqlite3_finalize(statement);
      statement = nullptr;
    }
  };
  for (size_t index : schema_.close_order) {
    if (index < statements_.size()) finalize(statements_[index]);
  }
  // Everything not named by the closing order, in preparation order.
  for (sqlite3_stmt*& statement : statements_) finalize(statement);
  if (db_ != nullptr) {
    sqlite3_close(db_);
    db_ = nullptr;
  }
}

void SqlStore::CreateSchema(sqlite3* db) const {
  std::u16string error;
  if (Exec(db, schema_.begin, &error) != SQLITE_OK && schema_.report_begin_error &&
      !error.empty()) {
    OutputDebugStringW(error.c_str());
  }
  // Every statement is "IF NOT EXISTS", so running the script again changes nothing; their
  // results are not needed.
  for (const char* sql : schema_.script) Exec(db, sql);
  Exec(db, "COMMIT");
}

namespace {

bool CreatesIndex(const char* sql) {
  constexpr char kIndex[] = "CREATE INDEX";
  constexpr char kUniqueIndex[] = "CREATE UNIQUE INDEX";
  return std::strncmp(sql, kIndex, sizeof kIndex - 1) == 0 ||
         std::strncmp(sql, kUniqueIndex, sizeof kUniqueIndex - 1) == 0;
}

}  // namespace

void SqlStore::CreateTables(sqlite3* db) const {
  for (const char* sql : schema_.script) {
    if (!CreatesIndex(sql)) Exec(db, sql);
  }
}

void SqlStore::CreateIndexes(sqlite3* db) const {
  for (const char* sql : schema_.script) {
    if (CreatesIndex(sql)) Exec(db, sql);
  }
}

int SqlStore::Exec(sqlite3* db, const char* sql, std::u16string* error) {
  char* message = nullptr;
  const int rc = sqlite3_exec(db, sql, nullptr, nullptr, &message);
  if (message != nullptr) {
    if (error != nullptr) *error = FromUtf8(message);
    sqlite3_free(message);
  }
  return rc;
}

sqlite3_stmt* SqlStore::Statement(size_t index) const {
  return index < statements_.size() ? statements_[index] : nullptr;
}

}  // namespace vk
