#include "org/DecimalText.h"

#include <limits>

namespace vk {

int64_t ParseDecimal64(std::u16string_view text) {
  size_t i = 0;
  while (i < text.size() && (text[i] == u' ' || (text[i] >= u'\t' && text[i] <= u'\r'))) ++i;
  bool negative = false;
  if (i < text.size() && (text[i] == u'+' || text[i] == u'-')) negative = text[i++] == u'-';
  // Accumulate as a negative number so that the lowest value is representable.
  constexpr int64_t kMin = std::numeric_limits<int64_t>::min();
  constexpr int64_t kMax = std::numeric_limits<int64_t>::max();
  int64_t value = 0;
  for (; i < text.size() && text[i] >= u'0' && text[i] <= u'9'; ++i) {
    const int digit = text[i] - u'0';
    if (value < (kMin + digit) / 10) return negative ? kMin : kMax;
    value = value * 10 - digit;
  }
  if (negative) return value;
  return value == kMin ? kMax : -value;
}

}  // namespace vk
