// Decimal text as the directory stores versions and ids: leading white space, an optional
// sign, then digits up to the first other character. No digits give 0; a value beyond the
// signed 64-bit range saturates at its bound.
#pragma once

#include <cstdint>
#include <string_view>

namespace vk {

int64_t ParseDecimal64(std::u16string_view text);

}  // namespace vk
