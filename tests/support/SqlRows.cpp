#include "tests/support/SqlRows.h"

#include <sqlite3.h>

namespace vk::test {

std::string SqlRows(const std::u16string& db_path, const char* sql) {
  sqlite3* db = nullptr;
  std::string out;
  if (sqlite3_open16(db_path.c_str(), &db) == SQLITE_OK) {
    sqlite3_stmt* st = nullptr;
    if (sqlite3_prepare_v2(db, sql, -1, &st, nullptr) == SQLITE_OK) {
      while (sqlite3_step(st) == SQLITE_ROW) {
        for (int c = 0; c < sqlite3_column_count(st); ++c) {
          const unsigned char* text = sqlite3_column_text(st, c);
          out += c ? "|" : "";
          out += text ? reinterpret_cast<const char*>(text) : "NULL";
        }
        out += ";";
      }
    }
    sqlite3_finalize(st);
  }
  sqlite3_close(db);
  return out;
}

bool SqlExec(const std::u16string& db_path, const char* sql) {
  sqlite3* db = nullptr;
  bool ok = sqlite3_open16(db_path.c_str(), &db) == SQLITE_OK &&
            sqlite3_exec(db, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
  sqlite3_close(db);
  return ok;
}

}  // namespace vk::test
