#include "org/SearchListReader.h"

#include <sqlite3.h>

#include <bit>
#include <cstring>
#include <string_view>
#include <system_error>
#include <thread>

#include "platform/Files.h"
#include "platform/Py.h"
#include "runtime/ComObject.h"
#include "storage/SqlStore.h"
#include "storage/UserListSchema.h"

namespace vk {
namespace {

// Text units a row takes in the lists, about (nickname, name, parentheses, spelling code):
// enough that a directory of common names is built without growing its buffer.
constexpr size_t kUnitsPerRow = 32;

// The rows the reader will read; 0 when the count fails (the lists then grow as they go).
size_t MemberCount(sqlite3* db) {
  sqlite3_stmt* statement = nullptr;
  size_t count = 0;
  if (sqlite3_prepare_v2(db, "SELECT COUNT(*) FROM member", -1, &statement, nullptr) == SQLITE_OK &&
      sqlite3_step(statement) == SQLITE_ROW) {
    count = static_cast<size_t>(sqlite3_column_int64(statement, 0));
  }
  sqlite3_finalize(statement);
  return count;
}

// Whether the connection's text is UTF-16 in this machine's byte order, as the store creates
// its databases: a text column's bytes are then its text as the engine would hand it over.
bool StoresNativeUtf16(sqlite3* db) {
  sqlite3_stmt* statement = nullptr;
  bool native = false;
  if (sqlite3_prepare_v2(db, "PRAGMA encoding", -1, &statement, nullptr) == SQLITE_OK &&
      sqlite3_step(statement) == SQLITE_ROW) {
    const auto* name = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
    native = name != nullptr && std::endian::native == std::endian::little &&
             std::string_view(name) == "UTF-16le";
  }
  sqlite3_finalize(statement);
  return native;
}

// A text column up to its first NUL, valid until the next step or the next use of `buffer`;
// empty for NULL. In a database of native UTF-16 the stored bytes are copied into `buffer`
// as they are, without the engine's own terminated copy of every value.
std::u16string_view Text(sqlite3_stmt* statement, int column, bool native_utf16,
                         std::u16string& buffer) {
  // The column's value as it stands, read without the per-call checks of the column
  // functions; the connection is this thread's alone.
  sqlite3_value* value = sqlite3_column_value(statement, column);
  const int type = sqlite3_value_type(value);
  if (native_utf16 && (type == SQLITE_TEXT || type == SQLITE_BLOB)) {
    const void* bytes = sqlite3_value_blob(value);
    const auto size = static_cast<size_t>(sqlite3_value_bytes(value));
    if (bytes == nullptr || size == 0) return {};
    // An odd last byte reads as the low half of a unit, as behind the engine's terminator.
    buffer.resize((size + 1) / 2);
    buffer.back() = u'\0';
    std::memcpy(buffer.data(), bytes, size);
    std::u16string_view text(buffer);
    return text.substr(0, text.find(u'\0'));
  }
  const void* text = sqlite3_column_text16(statement, column);
  return text != nullptr ? std::u16string_view(static_cast<const char16_t*>(text))
                         : std::u16string_view();
}

}  // namespace

void SearchListReader::Start(std::shared_ptr<UserListShared> shared, std::u16string path) {
  shared->ReaderStarted();
  // A running reader executes this library's code: it holds a server lock, so that the
  // library answers that it may not be unloaded until the reader is done.
  ++ServerLocks();
  try {
    std::thread([shared, path = std::move(path)]() mutable {
      Run(*shared, path);
      shared->ReaderEnded();
      // Everything the thread owns goes before the lock does.
      shared.reset();
      std::u16string().swap(path);
      --ServerLocks();
    }).detach();
  } catch (const std::system_error&) {
    // No thread could be started: the lists stay as they are until the next reader.
    shared->ReaderEnded();
    --ServerLocks();
  }
}

void SearchListReader::Run(UserListShared& shared, const std::u16string& path) {
  RecursiveLock& db_lock = shared.DbLock();
  db_lock.Enter();
  sqlite3* db = IsFileExist(path) ? SqlStore::Open(path, nullptr, /*one_thread=*/true) : nullptr;
  if (db == nullptr) {
    // The DB lock is deliberately not left: every later database operation of the user list
    // then waits, as the directory defines for a database that vanished under it. The lock
    // object stays valid because `shared` outlives this thread's use of it.
    return;
  }
  sqlite3_stmt* statement = nullptr;
  try {
    auto lists = std::make_unique<SearchLists>();
    const size_t rows = MemberCount(db);
    lists->Reserve(rows, rows * kUnitsPerRow);
    sqlite3_prepare16(db, kSelectAllMembersSql, -1, &statement, nullptr);
    const CPy speller;
    const bool native_utf16 = StoresNativeUtf16(db);
    std::u16string nick, name;
    bool stopped = false;
    while (statement != nullptr && sqlite3_step(statement) == SQLITE_ROW) {
      // The user list is gone and nobody asked for these lists: the rest is not read.
      if (shared.StopRequested()) {
        stopped = true;
        break;
      }
      lists->AddRow(Text(statement, kMemberNick, native_utf16, nick),
                    Text(statement, kMemberName, native_utf16, name), speller);
    }
    sqlite3_finalize(statement);
    statement = nullptr;
    if (!stopped) shared.ReplaceLists(std::move(lists));
  } catch (...) {
    // Out of memory while building: keep the current lists.
    if (statement != nullptr) sqlite3_finalize(statement);
  }
  sqlite3_close(db);
  db_lock.Leave();
}

}  // namespace vk
