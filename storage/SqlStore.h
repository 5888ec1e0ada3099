// The shared database helper of the stores kept in SQLite: one connection opened lazily, the
// owning store's schema created in one transaction, its statements prepared once in a fixed
// order and kept until close, and the DB lock that serialises every use of them.
#pragma once

#include <sqlite3.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/RecursiveLock.h"
#include "vaultkit/vkcom.h"

namespace vk {

// What a store gives the helper: its schema script and its statements.
struct SqlSchema {
  const char* begin = "BEGIN IMMEDIATE";    // opens the schema transaction
  bool report_begin_error = false;          // widen a failed BEGIN's message to the debugger
  std::vector<const char*> script;          // CREATE TABLE ..., then CREATE INDEX ...
  std::vector<const char16_t*> statements;  // prepared in this order
  // Indexes into `statements` in the order the store holds and finalises them; empty: the
  // order of preparation.
  std::vector<size_t> close_order;
};

class SqlStore {
 public:
  explicit SqlStore(SqlSchema schema);
  ~SqlStore();
  SqlStore(const SqlStore&) = delete;
  SqlStore& operator=(const SqlStore&) = delete;

  void SetPath(std::u16string path) { path_ = std::move(path); }
  const std::u16string& Path() const { return path_; }

  // How long a statement waits for the lock of another connection (another process writing
  // the same database) before it gives up with SQLITE_BUSY.
  static constexpr int kBusyTimeoutMs = 5000;
  // Every connection of the component is opened here. A missing file is created empty first,
  // readable by its owner only (the engine would follow the process's umask; it keeps the
  // permissions of an existing file). Statements wait kBusyTimeoutMs for another connection's
  // lock. Commits run with synchronous=EXTRA: the folder is flushed after the rollback journal
  // is deleted, so a commit survives a power cut that follows it (with FULL, the deletion may
  // be lost, and the next opening would take the journal for an interrupted transaction and
  // roll the commit back). Null when the file cannot be created or opened; `error` then says
  // why. With `one_thread` the connection serves one thread only and the engine takes no lock
  // of its own on each call; such a connection is opened by its UTF-8 name, so a database it
  // created would be in UTF-8 (those of the component are created in UTF-16).
  static sqlite3* Open(const std::u16string& path, std::u16string* error = nullptr,
                       bool one_thread = false);

  // Opens the connection (creating the file), creates the schema and prepares every
  // statement; does nothing while a connection is open. A failed open leaves the store
  // closed; a statement that fails to prepare stays null.
  void OpenDb();
  // Finalises every statement in the schema's closing order, then closes the connection.
  // Harmless when closed.
  void CloseDb();
  // Runs the schema script on any connection (the live one or a rebuild's own).
  void CreateSchema(sqlite3* db) const;
  // The script's tables alone and its indexes alone, in script order and without a
  // transaction of their own: a bulk load creates the tables, writes its rows and then the
  // indexes, all in the caller's transaction.
  void CreateTables(sqlite3* db) const;
  void CreateIndexes(sqlite3* db) const;
  // sqlite3_exec without a callback; the engine's message buffer is always released. The
  // message, if any, is handed back in `error`.
  static int Exec(sqlite3* db, const char* sql, std::u16string* error = nullptr);

  bool IsOpen() const { return db_ != nullptr; }
  sqlite3* Connection() const { return db_; }
  // Null while closed or when preparing failed.
  sqlite3_stmt* Statement(size_t index) const;
  const SqlSchema& Schema() const { return schema_; }

  // The DB lock. Shared so that a background reader can keep it alive after the store is
  // gone (the reader may end while holding it).
  RecursiveLock& Lock() const { return *lock_; }
  std::shared_ptr<RecursiveLock> LockHandle() const { return lock_; }

  // Runs body(result) with result preset to E_FAIL under the DB lock and returns the result
  // it leaves. Anything thrown is handed to on_exception(); the lock is released and the
  // result so far returned.
  template <typename Body, typename OnException>
  HRESULT Locked(Body&& body, OnException&& on_exception) {
    HRESULT result = E_FAIL;
    try {
      LockGuard hold(*lock_);
      body(result);
    } catch (...) {
      on_exception();
    }
    return result;
  }

 private:
  SqlSchema schema_;
  std::u16string path_;
  sqlite3* db_ = nullptr;
  std::vector<sqlite3_stmt*> statements_;
  std::shared_ptr<RecursiveLock> lock_ = std::make_shared<RecursiveLock>();
};

}  // namespace vk
