// Text as the bytes of a UTF-16LE file (the option files' form), without a byte-order mark.
#pragma once

#include <string>
#include <string_view>

namespace vk::test {

inline std::string Utf16Le(std::u16string_view text) {
  std::string bytes;
  for (char16_t c : text) {
    bytes += static_cast<char>(c & 0xFF);
    bytes += static_cast<char>(c >> 8);
  }
  return bytes;
}

}  // namespace vk::test
