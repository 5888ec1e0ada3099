// Every subcommand of the vaultkit command, in the order the usage lists them. Each command's
// class lives in its own file under commands/ and is reached only through its factory here;
// the table is built when asked for, so no command depends on the order static objects start.
// The manual page and the bash completion are made from the help texts at build time
// (docs/generate.sh): `vaultkit --help` lists this table, and a command's Help() lists each
// action on a line of its own as "  ACTION ARGS", its arguments in capitals or brackets.
#pragma once

#include <memory>
#include <vector>

#include "tools/vaultkit/cli/Command.h"

namespace vk::cli {

std::vector<std::unique_ptr<Command>> AllCommands();

std::unique_ptr<Command> MakeStatusCommand();
std::unique_ptr<Command> MakeAccountsCommand();
std::unique_ptr<Command> MakeOptionsCommand();
std::unique_ptr<Command> MakeUsersCommand();
std::unique_ptr<Command> MakeGridCommand();
std::unique_ptr<Command> MakeKeyDeptsCommand();
std::unique_ptr<Command> MakeLeaderCommand();
std::unique_ptr<Command> MakePortalCommand();
std::unique_ptr<Command> MakeItemsCommand();
std::unique_ptr<Command> MakeMobileCommand();
std::unique_ptr<Command> MakeDialogsCommand();
std::unique_ptr<Command> MakeOffMsgCommand();
std::unique_ptr<Command> MakeProfilesCommand();
std::unique_ptr<Command> MakeBuddiesCommand();
std::unique_ptr<Command> MakeDecipherCommand();
std::unique_ptr<Command> MakeGroupsCommand();
std::unique_ptr<Command> MakeCheckCommand();
std::unique_ptr<Command> MakeRunCommand();
std::unique_ptr<Command> MakeDemoCommand();

}  // namespace vk::cli
