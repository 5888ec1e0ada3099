// Command-line text into the fixed wide fields of the interface records.
#pragma once

#include <string>

#include "platform/Text.h"
#include "storage/FixedField.h"
#include "tools/vaultkit/cli/Command.h"
#include "vaultkit/vkcom.h"

namespace vk::cli {

// Copies `text` into a zeroed field; a text longer than the field is a usage error rather
// than something the store would quietly cut.
template <size_t N>
void FillField(OLECHAR (&field)[N], const std::string& text, const char* what) {
  std::u16string wide = FromUtf8(text);
  if (wide.size() > N) {
    throw UsageError{std::string(what) + " holds at most " + std::to_string(N) +
                     " UTF-16 units, not " + std::to_string(wide.size())};
  }
  wide.copy(field, wide.size());
}

// A field's text as UTF-8.
template <size_t N>
std::string FieldUtf8(const OLECHAR (&field)[N]) {
  return ToUtf8(FieldText(field));
}

}  // namespace vk::cli
