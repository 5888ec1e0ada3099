#include <cstdio>

#include "tools/vaultkit/cli/AccountNames.h"
#include "tools/vaultkit/cli/Json.h"
#include "tools/vaultkit/commands/Commands.h"

namespace vk::cli {

// accounts [--json]: the accounts of the data root. Lists folders; never loads the component.
class AccountsCommand : public Command {
 public:
  const char* Name() const override { return "accounts"; }
  const char* Summary() const override { return "the accounts of the data root"; }
  const char* Help() const override {
    return "usage: vaultkit [--data-root DIR] accounts [--json]\n"
           "The accounts under DIR/Accounts, one per line (the default folder \"0\" left\n"
           "out). Reads the folder only; nothing is loaded or created.\n";
  }
  int Run(Host&, const Args&) override { return kExitUsage; }
  bool LoadsComponent() const override { return false; }
  int RunUnloaded(const Location& location, const Args& all) override {
    Args args = all;
    const bool json = args.TakeFlag("--json");
    if (!args.empty()) throw UsageError{"accounts takes no arguments but --json"};
    const std::vector<std::string> names = AccountNames(location.data_root);
    if (json) {
      PrintJson(names);
    } else if (names.empty()) {
      std::printf("(no accounts)\n");
    } else {
      for (const std::string& name : names) std::printf("%s\n", name.c_str());
    }
    return kExitOk;
  }
};

std::unique_ptr<Command> MakeAccountsCommand() {
  return std::make_unique<AccountsCommand>();
}

}  // namespace vk::cli
