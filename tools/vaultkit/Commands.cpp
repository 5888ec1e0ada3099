#include "tools/vaultkit/Commands.h"

#include "tools/vaultkit/DemoCommand.h"
#include "tools/vaultkit/GridCommand.h"
#include "tools/vaultkit/GroupsCommand.h"
#include "tools/vaultkit/KeyDeptsCommand.h"
#include "tools/vaultkit/LeaderCommand.h"
#include "tools/vaultkit/OptionsCommand.h"
#include "tools/vaultkit/PortalCommand.h"
#include "tools/vaultkit/RunCommand.h"
#include "tools/vaultkit/StatusCommand.h"
#include "tools/vaultkit/UsersCommand.h"

namespace vk::cli {

std::vector<std::unique_ptr<Command>> AllCommands() {
  std::vector<std::unique_ptr<Command>> all;
  all.push_back(std::make_unique<StatusCommand>());
  all.push_back(std::make_unique<OptionsCommand>());
  all.push_back(std::make_unique<UsersCommand>());
  all.push_back(std::make_unique<GridCommand>());
  all.push_back(std::make_unique<KeyDeptsCommand>());
  all.push_back(std::make_unique<LeaderCommand>());
  all.push_back(std::make_unique<PortalCommand>());
  all.push_back(std::make_unique<GroupsCommand>());
  all.push_back(std::make_unique<RunCommand>());
  all.push_back(std::make_unique<DemoCommand>());
  return all;
}

}  // namespace vk::cli
