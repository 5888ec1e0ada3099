// Puts a copy of one file in place of another so that the target is never seen half
// written: the copy goes to a temporary file in the target's folder, is flushed, and is
// renamed over the target.
#pragma once

#include <string_view>

namespace vk {

// False when the source cannot be read or the copy cannot be completed; the target is then
// left as it was and no temporary file remains.
bool ReplaceFileWithCopy(std::u16string_view source, std::u16string_view target);

}  // namespace vk
