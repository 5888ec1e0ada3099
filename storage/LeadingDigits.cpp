#include "storage/LeadingDigits.h"

#include <cstdint>

namespace vk {

LONG ParseLeadingDigits(std::u16string_view text) {
  size_t i = 0;
  while (i < text.size() && (text[i] == u' ' || (text[i] >= u'\t' && text[i] <= u'\r'))) ++i;
  bool negative = false;
  if (i < text.size() && (text[i] == u'+' || text[i] == u'-')) negative = text[i++] == u'-';
  uint32_t value = 0;
  for (; i < text.size() && text[i] >= u'0' && text[i] <= u'9'; ++i) {
    value = value * 10u + static_cast<uint32_t>(text[i] - u'0');
  }
  if (negative) value = 0u - value;
  return static_cast<LONG>(value);
}

LONG ParseLeadingDigits(const std::optional<std::u16string>& text) {
  return text ? ParseLeadingDigits(std::u16string_view(*text)) : 0;
}

}  // namespace vk
