#include "tools/vaultkit/Commands.h"

#include "tools/vaultkit/BuddiesCommand.h"
#include "tools/vaultkit/CheckCommand.h"
#include "tools/vaultkit/DecipherCommand.h"
#include "tools/vaultkit/DemoCommand.h"
#include "tools/vaultkit/DialogsCommand.h"
#include "tools/vaultkit/GridCommand.h"
#include "tools/vaultkit/GroupsCommand.h"
#include "tools/vaultkit/ItemsCommand.h"
#include "tools/vaultkit/KeyDeptsCommand.h"
#include "tools/vaultkit/LeaderCommand.h"
#include "tools/vaultkit/MobileCommand.h"
#include "tools/vaultkit/OffMsgCommand.h"
#include "tools/vaultkit/OptionsCommand.h"
#include "tools/vaultkit/PortalCommand.h"
#include "tools/vaultkit/ProfilesCommand.h"
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
  all.push_back(std::make_unique<ItemsCommand>());
  all.push_back(std::make_unique<MobileCommand>());
  all.push_back(std::make_unique<DialogsCommand>());
  all.push_back(std::make_unique<OffMsgCommand>());
  all.push_back(std::make_unique<ProfilesCommand>());
  all.push_back(std::make_unique<BuddiesCommand>());
  all.push_back(std::make_unique<DecipherCommand>());
  all.push_back(std::make_unique<GroupsCommand>());
  all.push_back(std::make_unique<CheckCommand>());
  all.push_back(std::make_unique<RunCommand>());
  all.push_back(std::make_unique<DemoCommand>());
  return all;
}

}  // namespace vk::cli
