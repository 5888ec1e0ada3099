// Reading stored text as an integer the way the XML stores do: leading white space is
// skipped, an optional sign taken, then decimal digits up to the first other character. A
// text without digits gives 0. Values beyond the 32-bit range wrap modulo 2^32, so an
// unsigned id written as "3000000000" and a version written as "-1" both read back as the
// 32-bit pattern they were written from.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "vaultkit/vkcom.h"

namespace vk {

LONG ParseLeadingDigits(std::u16string_view text);
// The same on UTF-8 text.
LONG ParseLeadingDigits(std::string_view utf8);
// A missing value (absent attribute) reads as 0.
LONG ParseLeadingDigits(const std::optional<std::u16string>& text);

}  // namespace vk
