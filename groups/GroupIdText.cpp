#include "groups/GroupIdText.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>

#include "org/DecimalText.h"

namespace vk {

std::u16string GroupIdText(LONG id) {
  const std::string text = std::to_string(id);
  return std::u16string(text.begin(), text.end());
}

LONG ParseGroupId(std::u16string_view text) {
  const int64_t value = ParseDecimal64(text);
  return static_cast<LONG>(std::clamp<int64_t>(value, std::numeric_limits<LONG>::min(),
                                               std::numeric_limits<LONG>::max()));
}

LONG ParseGroupId(const char16_t* text) {
  return text == nullptr ? 0 : ParseGroupId(std::u16string_view(text));
}

}  // namespace vk
