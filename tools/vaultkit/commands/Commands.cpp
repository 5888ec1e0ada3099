#include "tools/vaultkit/commands/Commands.h"

namespace vk::cli {

std::vector<std::unique_ptr<Command>> AllCommands() {
  std::vector<std::unique_ptr<Command>> all;
  all.push_back(MakeStatusCommand());
  all.push_back(MakeAccountsCommand());
  all.push_back(MakeOptionsCommand());
  all.push_back(MakeUsersCommand());
  all.push_back(MakeGridCommand());
  all.push_back(MakeKeyDeptsCommand());
  all.push_back(MakeLeaderCommand());
  all.push_back(MakePortalCommand());
  all.push_back(MakeItemsCommand());
  all.push_back(MakeMobileCommand());
  all.push_back(MakeDialogsCommand());
  all.push_back(MakeOffMsgCommand());
  all.push_back(MakeProfilesCommand());
  all.push_back(MakeBuddiesCommand());
  all.push_back(MakeDecipherCommand());
  all.push_back(MakeGroupsCommand());
  all.push_back(MakeCheckCommand());
  all.push_back(MakeRunCommand());
  all.push_back(MakeDemoCommand());
  return all;
}

}  // namespace vk::cli
