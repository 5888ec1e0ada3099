// Where the desktop's base-directory rules put one kind of a user's files. Kept in the runtime,
// whose registry and the component's data root both follow them.
#pragma once

#include <string>
#include <string_view>

#include "vaultkit/vkcom.h"

namespace vk {

// The value of `variable` (XDG_CONFIG_HOME, XDG_DATA_HOME) when it is an absolute path (a
// relative one is invalid and ignored, as the rules say); else `under_home` inside the home
// folder: $HOME, else the user's entry in the password database. Empty when neither is known.
VK_EXPORT std::string UserBaseFolder(const char* variable, std::string_view under_home);

}  // namespace vk
