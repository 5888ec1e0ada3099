// Whether an account folder checked under its own name is a copy renamed by someone: the
// account's name makes the key of its enciphered files and names its offline channels' files,
// so a copy such as "alice-from-ticket-4711" reads as another account's files.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "tools/vaultkit/check/AccountCheck.h"

namespace vk::cli {

// One line asking for --account NAME when `folder`, checked as the account of its own name
// (`report`), is not where the client keeps an account (below a folder named Accounts) and its
// files say that name is not theirs; none otherwise.
std::optional<std::string> AccountNameNote(const std::filesystem::path& folder,
                                           const FolderReport& report);

}  // namespace vk::cli
