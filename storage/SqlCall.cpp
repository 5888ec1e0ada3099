#include "storage/SqlCall.h"

namespace vk {

SqlCall& SqlCall::BindInt(int index, int value) {
  if (bound_) bound_ = sqlite3_bind_int(statement_, index, value) == SQLITE_OK;
  return *this;
}

SqlCall& SqlCall::BindInt64(int index, int64_t value) {
  if (bound_) bound_ = sqlite3_bind_int64(statement_, index, value) == SQLITE_OK;
  return *this;
}

SqlCall& SqlCall::BindText(int index, const char16_t* text) {
  if (bound_) bound_ = sqlite3_bind_text16(statement_, index, text, -1, SQLITE_STATIC) == SQLITE_OK;
  return *this;
}

SqlCall& SqlCall::BindText(int index, std::u16string text) {
  if (!bound_) return *this;
  texts_.push_back(std::move(text));
  return BindText(index, texts_.back().c_str());
}

int SqlCall::Step() {
  return bound_ ? sqlite3_step(statement_) : kNotStepped;
}

const char16_t* SqlCall::ColumnText(int column) const {
  return static_cast<const char16_t*>(sqlite3_column_text16(statement_, column));
}

std::u16string SqlCall::ColumnString(int column) const {
  const char16_t* text = ColumnText(column);
  return text != nullptr ? std::u16string(text) : std::u16string();
}

}  // namespace vk
