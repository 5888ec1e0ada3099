#include "storage/LeadingDigits.h"

#include <cstdint>

namespace vk {

namespace {

// The same rule over UTF-16 units or UTF-8 bytes: every character it looks at is ASCII, and
// no byte of a longer UTF-8 sequence is one.
template <typename Char>
LONG Parse(std::basic_string_view<Char> text) {
  size_t i = 0;
  while (i < text.size() && (text[i] == ' ' || (text[i] >= '\t' && text[i] <= '\r'))) ++i;
  bool negative = false;
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) negative = text[i++] == '-';
  uint32_t value = 0;
  for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
    value = value * 10u + static_cast<uint32_t>(text[i] - '0');
  }
  if (negative) value = 0u - value;
  return static_cast<LONG>(value);
}

}  // namespace

LONG ParseLeadingDigits(std::u16string_view text) {
  return Parse(text);
}

LONG ParseLeadingDigits(std::string_view utf8) {
  return Parse(utf8);
}

LONG ParseLeadingDigits(const std::optional<std::u16string>& text) {
  return text ? ParseLeadingDigits(std::u16string_view(*text)) : 0;
}

}  // namespace vk
