// One use of a prepared statement: bind, step, reset. Binding is one pass that stops at the
// first bind the engine refuses (a null statement refuses every bind); the step is then
// skipped. The statement is reset when the call ends, also after a failed bind or an
// exception. Bindings are never cleared: a parameter left unbound keeps the value of the
// statement's previous use.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>

namespace vk {

class SqlCall {
 public:
  // The step result reported when binding failed and the step was skipped.
  static constexpr int kNotStepped = -1;

  explicit SqlCall(sqlite3_stmt* statement) : statement_(statement), bound_(statement) {}
  ~SqlCall() {
    if (statement_ != nullptr) sqlite3_reset(statement_);
  }
  SqlCall(const SqlCall&) = delete;
  SqlCall& operator=(const SqlCall&) = delete;

  SqlCall& BindInt(int index, int value);
  SqlCall& BindInt64(int index, int64_t value);
  // 32-bit identifiers and versions are widened without sign.
  SqlCall& BindU32(int index, uint32_t value) { return BindInt64(index, value); }
  // Bound without a copy by the engine: the text is kept by this call until the reset.
  // A null text binds NULL.
  SqlCall& BindText(int index, const char16_t* text);
  SqlCall& BindText(int index, std::u16string text);

  bool Bound() const { return bound_; }
  // Steps when every bind succeeded, else returns kNotStepped.
  int Step();

  int64_t ColumnInt64(int column) const { return sqlite3_column_int64(statement_, column); }
  uint32_t ColumnU32(int column) const { return static_cast<uint32_t>(ColumnInt64(column)); }
  int ColumnInt(int column) const { return sqlite3_column_int(statement_, column); }
  // Null for a NULL value; valid until the next step or reset.
  const char16_t* ColumnText(int column) const;
  // An owned copy; a NULL value gives the empty string.
  std::u16string ColumnString(int column) const;

 private:
  sqlite3_stmt* statement_;
  bool bound_;
  std::deque<std::u16string> texts_;  // stable addresses for the engine until the reset
};

}  // namespace vk
