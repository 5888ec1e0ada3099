// Group ids as the group database keeps them: decimal text of a 32-bit signed value.
#pragma once

#include <string>
#include <string_view>

#include "vaultkit/vkcom.h"

namespace vk {

// "%ld" of the id.
std::u16string GroupIdText(LONG id);
// The platform's 32-bit decimal parse: leading white space, an optional sign, digits up to
// the first other character; no digits give 0 and a value beyond the 32-bit signed range
// saturates at its bound. A null text gives 0.
LONG ParseGroupId(const char16_t* text);
LONG ParseGroupId(std::u16string_view text);

}  // namespace vk
