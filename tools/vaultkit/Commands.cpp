#include "tools/vaultkit/Commands.h"

#include "tools/vaultkit/DemoCommand.h"
#include "tools/vaultkit/OptionsCommand.h"
#include "tools/vaultkit/RunCommand.h"
#include "tools/vaultkit/StatusCommand.h"

namespace vk::cli {

std::vector<std::unique_ptr<Command>> AllCommands() {
  std::vector<std::unique_ptr<Command>> all;
  all.push_back(std::make_unique<StatusCommand>());
  all.push_back(std::make_unique<OptionsCommand>());
  all.push_back(std::make_unique<RunCommand>());
  all.push_back(std::make_unique<DemoCommand>());
  return all;
}

}  // namespace vk::cli
