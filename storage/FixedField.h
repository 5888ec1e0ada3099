// Text in the fixed-length wide fields of the interface records: a field holds its text up to
// the first NUL or its last unit, and is filled with at most its size less one units, so a
// text of that length or longer is not terminated inside the field unless the caller zeroed
// the record.
#pragma once

#include <cstddef>
#include <string_view>

#include "vaultkit/vkcom.h"

namespace vk {

// A field's text: up to the first NUL, never past the field's end (a caller may fill every
// unit).
inline std::u16string_view FieldText(const OLECHAR* field, size_t units) {
  size_t length = 0;
  while (length < units && field[length] != 0) ++length;
  return std::u16string_view(field, length);
}

template <size_t N>
std::u16string_view FieldText(const OLECHAR (&field)[N]) {
  return FieldText(field, N);
}

// Fills a field with at most N - 1 units of text; the terminator is written only when the
// text is shorter than that, so a full field relies on the caller's zeroed last unit.
template <size_t N>
void CopyToField(OLECHAR (&field)[N], std::u16string_view text) {
  size_t length = text.size() < N - 1 ? text.size() : N - 1;
  text.copy(field, length);
  if (length < N - 1) field[length] = 0;
}

// Fills a field with at most units - 1 units of text and zeroes the rest of those units; the
// last unit is never written.
inline void FillField(OLECHAR* field, size_t units, std::u16string_view text) {
  if (units == 0) return;
  size_t i = 0;
  for (; i + 1 < units && i < text.size(); ++i) field[i] = text[i];
  for (; i + 1 < units; ++i) field[i] = 0;
}

template <size_t N>
void FillField(OLECHAR (&field)[N], std::u16string_view text) {
  FillField(field, N, text);
}

}  // namespace vk
