#include "tools/vaultkit/check/DatabaseCheck.h"

#include <sqlite3.h>

#include <cctype>
#include <cstdio>
#include <vector>

#include "platform/Text.h"
#include "tools/vaultkit/check/CheckedFile.h"

namespace vk::cli {
namespace {

// An owned connection; every statement is finalised where it is made.
struct Connection {
  sqlite3* db = nullptr;
  ~Connection() { sqlite3_close(db); }
};

// Each row's first column as text. False, with SQLite's message in `error`, when the query
// does not run to its end.
bool Rows(sqlite3* db, const char* sql, const std::string& parameter,
          std::vector<std::string>& rows, std::string& error) {
  sqlite3_stmt* statement = nullptr;
  int rc = sqlite3_prepare_v2(db, sql, -1, &statement, nullptr);
  if (rc == SQLITE_OK && !parameter.empty()) {
    rc = sqlite3_bind_text(statement, 1, parameter.c_str(), -1, SQLITE_TRANSIENT);
  }
  while (rc == SQLITE_OK || rc == SQLITE_ROW) {
    rc = sqlite3_step(statement);
    if (rc == SQLITE_ROW) {
      const unsigned char* text = sqlite3_column_text(statement, 0);
      rows.emplace_back(text != nullptr ? reinterpret_cast<const char*>(text) : "");
    }
  }
  if (rc != SQLITE_DONE) error = sqlite3_errmsg(db);
  sqlite3_finalize(statement);
  return rc == SQLITE_DONE;
}

std::string Joined(const std::vector<std::string>& items, const char* separator) {
  std::string text;
  for (const std::string& item : items) text += (text.empty() ? "" : separator) + item;
  // SQLite's integrity report spreads over lines; a problem is reported on one.
  for (char& c : text) {
    if (c == '\n' || c == '\r') c = ' ';
  }
  return text;
}

// A read-only URI for the path, every byte a URI treats specially escaped.
std::string ReadOnlyUri(const std::string& path) {
  std::string uri = "file:";
  for (unsigned char c : path) {
    if (std::isalnum(c) || c == '/' || c == '.' || c == '-' || c == '_' || c == '~') {
      uri += static_cast<char>(c);
    } else {
      char escaped[4];
      std::snprintf(escaped, sizeof escaped, "%%%02X", c);
      uri += escaped;
    }
  }
  return uri + "?mode=ro";
}

constexpr char kTables[] = "SELECT name FROM sqlite_master WHERE type='table' ORDER BY rowid";
constexpr char kColumns[] = "SELECT name FROM pragma_table_info(?)";

}  // namespace

DatabaseCheck::DatabaseCheck(std::string file, SqlSchema schema, std::string absent,
                             std::string damaged)
    : file_(std::move(file)),
      schema_(std::move(schema)),
      absent_(std::move(absent)),
      damaged_(std::move(damaged)) {}

FileReport DatabaseCheck::Run(const std::filesystem::path& account_folder,
                              const std::string&) const {
  FileReport report{file_, "SQLite"};
  CheckedFile file(account_folder / file_);
  if (file.Missing()) {
    report.absent = true;
    report.Note(file_ + " is not there: " + absent_);
    return report;
  }
  if (!file.IsFile(report, damaged_)) return report;
  if (file.Size() == 0) {
    report.Note(file_ + " is empty: the store creates its tables in it when it opens it");
    return report;
  }
  std::error_code ec;
  if (std::filesystem::file_size(file.Path().string() + "-journal", ec) > 0 && !ec) {
    report.Note(file_ +
                "-journal holds an interrupted transaction: the store rolls it back "
                "when it opens the database");
  }

  // Read-only: no journal, no schema, no rollback is ever written by the check.
  Connection live;
  std::string uri = ReadOnlyUri(std::filesystem::absolute(file.Path(), ec).string());
  if (sqlite3_open_v2(uri.c_str(), &live.db, SQLITE_OPEN_READONLY | SQLITE_OPEN_URI, nullptr) !=
      SQLITE_OK) {
    report.Problem(file_ + " cannot be opened (" + sqlite3_errmsg(live.db) + "): " + damaged_);
    return report;
  }
  sqlite3_busy_timeout(live.db, SqlStore::kBusyTimeoutMs);
  std::vector<std::string> verdict;
  std::string error;
  if (!Rows(live.db, "PRAGMA integrity_check", "", verdict, error)) {
    report.Problem(file_ + " is not a readable SQLite database (" + error + "): " + damaged_);
    return report;
  }
  if (verdict.size() != 1 || verdict[0] != "ok") {
    if (verdict.size() > 3) verdict.resize(3);
    report.Problem(file_ + " fails SQLite's integrity check (" + Joined(verdict, "; ") +
                   "): " + damaged_);
  }

  // The tables the store's own schema script makes, made in memory.
  Connection expected;
  sqlite3_open(":memory:", &expected.db);
  SqlStore(schema_).CreateSchema(expected.db);
  std::vector<std::string> tables, present;
  Rows(expected.db, kTables, "", tables, error);
  if (!Rows(live.db, kTables, "", present, error)) {
    report.Problem(file_ + " has an unreadable schema (" + error + "): " + damaged_);
    return report;
  }
  bool complete = true, matches = true;
  for (const std::string& table : tables) {
    std::vector<std::string> want, have;
    Rows(expected.db, kColumns, table, want, error);
    if (!Rows(live.db, kColumns, table, have, error)) have.clear();
    if (have.empty()) {
      complete = false;
      report.Note(file_ + " has no table " + table +
                  ": the store creates it, empty, when it opens the database");
    } else if (have != want) {
      matches = false;
      report.Problem(file_ + ": table " + table + " has the columns (" + Joined(have, ", ") +
                     ") where the store expects (" + Joined(want, ", ") +
                     "): the store's statements on it fail and its operations answer E_FAIL");
    }
  }
  // With every table in its form, each statement the store prepares must prepare here too.
  if (complete && matches) {
    for (const char16_t* sql : schema_.statements) {
      sqlite3_stmt* statement = nullptr;
      if (sqlite3_prepare16_v2(live.db, sql, -1, &statement, nullptr) != SQLITE_OK) {
        report.Problem(file_ + ": the store's statement \"" + ToUtf8(sql) +
                       "\" does not prepare (" + sqlite3_errmsg(live.db) +
                       "): the operations that use it answer E_FAIL");
      }
      sqlite3_finalize(statement);
    }
  }
  return report;
}

}  // namespace vk::cli
