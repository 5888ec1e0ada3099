// Every subcommand of the vaultkit command, in the order the usage lists them.
#pragma once

#include <memory>
#include <vector>

#include "tools/vaultkit/Command.h"

namespace vk::cli {

std::vector<std::unique_ptr<Command>> AllCommands();

}  // namespace vk::cli
