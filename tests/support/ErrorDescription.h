// Reads what a failed call left in the thread's error object.
#pragma once

#include <optional>
#include <string>

namespace vk::test {

// Takes the thread's error object and returns its description; nothing when there is none.
std::optional<std::u16string> TakeErrorDescription();

}  // namespace vk::test
