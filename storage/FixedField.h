// Text in the fixed-length wide fields of the interface records.
#pragma once

#include <cstddef>
#include <string_view>

#include "vaultkit/vkcom.h"

namespace vk {

// A field's text: up to the first NUL, never past the field's end (a caller may fill every
// unit).
template <size_t N>
std::u16string_view FieldText(const OLECHAR (&field)[N]) {
  size_t length = 0;
  while (length < N && field[length] != 0) ++length;
  return std::u16string_view(field, length);
}

// Fills a field with at most N - 1 units of text; the terminator is written only when the
// text is shorter than that, so a full field relies on the caller's zeroed last unit.
template <size_t N>
void CopyToField(OLECHAR (&field)[N], std::u16string_view text) {
  size_t length = text.size() < N - 1 ? text.size() : N - 1;
  text.copy(field, length);
  if (length < N - 1) field[length] = 0;
}

}  // namespace vk
