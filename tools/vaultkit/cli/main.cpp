// vaultkit [OPTIONS] COMMAND [ARGS]
// The command-line client of the component: it loads the module as the client does and
// offers each store's operations as subcommands.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <stdexcept>

#include "platform/Files.h"
#include "platform/Text.h"
#include "runtime/UserBaseFolder.h"
#include "tools/vaultkit/cli/AccountNames.h"
#include "tools/vaultkit/cli/CommandLine.h"
#include "tools/vaultkit/cli/Host.h"
#include "tools/vaultkit/cli/ScratchCopy.h"
#include "tools/vaultkit/commands/Commands.h"

namespace {

const char kShortUsage[] =
    "usage: vaultkit [--data-root DIR] [--account NAME] COMMAND [ARGS] [--json]\n"
    "       vaultkit --help | --version | COMMAND --help\n";

void PrintUsage(const std::vector<std::unique_ptr<vk::cli::Command>>& commands) {
  std::printf(
      "usage: vaultkit [OPTIONS] COMMAND [ARGS] [--json]\n\n"
      "The Vaultkit storage component, driven as the client drives it: the command\n"
      "registers the component if needed, creates the module, loads it on the data root,\n"
      "changes to the account when one is given, runs COMMAND and unloads.\n\n"
      "options (before or after COMMAND, as --opt VALUE or --opt=VALUE; after --, every\n"
      "word is a value):\n"
      "  --data-root DIR  default: $VAULTKIT_DATA_ROOT, else $XDG_DATA_HOME/vaultkit, else\n"
      "                   ~/.local/share/vaultkit; ./demo-data for demo\n"
      "  --account NAME   the account folder Accounts/NAME\n"
      "  --create         a command that writes may create the account NAME\n"
      "  --wait SECONDS   how long a command that writes waits for another process that\n"
      "                   owns the account (default 5), before exit status 3\n"
      "  --dry-run        run on a private copy; print what would be deleted or replaced\n"
      "  --yes            delete or replace without asking (needed without a terminal)\n\n"
      "A command that only reads runs the component on a private copy of the account and\n"
      "changes nothing under the data root.\n\ncommands:\n");
  for (const auto& c : commands) std::printf("  %-10s %s\n", c->Name(), c->Summary());
  std::printf(
      "\n'vaultkit COMMAND --help' describes a command. Read commands take --json.\n"
      "Exit status: 0 done, 1 not found, 2 wrong command line, 3 the store or a file\n"
      "failed (the message says why), 4 check found a damaged file.\n");
}

// A command that only reads runs the component on a private copy of the account, so that
// nothing under the data root changes; what the run set aside as damaged is reported, and a
// damaged file fails the command as a store that cannot read its file does.
int RunOnCopy(vk::cli::Command& command, const std::string& data_root, const std::string& account,
              const vk::cli::Args& args, vk::cli::Consent consent) {
  vk::cli::Host::CheckDataRoot(data_root);
  vk::cli::ScratchCopy copy(data_root, account);
  vk::cli::Host host(copy.DataRoot(), account, data_root, consent);
  // Reading an account that is not there is a mistake to report, not an account to make.
  host.RequireAccount(data_root, "");
  auto report_damaged = [&] {
    const std::vector<std::string> damaged = copy.NewlyDamaged();
    for (const std::string& file : damaged) {
      std::fprintf(stderr,
                   "vaultkit: %s is damaged: the client would replace it with an empty template; "
                   "see `vaultkit check`\n",
                   file.c_str());
    }
    return !damaged.empty();
  };
  // A message names the user's file, not the copy's.
  auto mend = [&](std::string& message) {
    message = host.Shown(message);
    report_damaged();
  };
  int status;
  try {
    status = command.Run(host, args);
  } catch (vk::cli::UsageError& e) {
    mend(e.message);
    throw;
  } catch (vk::cli::NotFound& e) {
    mend(e.message);
    // A file the store could not read is not an answer of "not found".
    if (!copy.NewlyDamaged().empty()) throw vk::cli::Failure{e.message};
    throw;
  } catch (vk::cli::Failure& e) {
    mend(e.message);
    throw;
  }
  if (report_damaged() && status == vk::cli::kExitOk) return vk::cli::kExitFailed;
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  using vk::cli::CommandLine;
  auto commands = vk::cli::AllCommands();
  try {
    CommandLine line = vk::cli::ParseCommandLine(argc, argv);
    switch (line.ask) {
      case CommandLine::Ask::kUsage:
        std::fputs(kShortUsage, stderr);
        return vk::cli::kExitUsage;
      case CommandLine::Ask::kHelp:
        PrintUsage(commands);
        return vk::cli::kExitOk;
      case CommandLine::Ask::kVersion:
        std::printf("vaultkit %s\n", VK_VERSION);
        return vk::cli::kExitOk;
      default:
        break;
    }
    vk::cli::Command* command = nullptr;
    for (auto& c : commands) {
      if (line.command == c->Name()) command = c.get();
    }
    if (command == nullptr) {
      throw vk::cli::UsageError{"unknown command '" + line.command + "' (see vaultkit --help)"};
    }
    if (line.ask == CommandLine::Ask::kCommandHelp) {
      std::printf("%s", command->Help());
      return vk::cli::kExitOk;
    }
    const bool demo = line.command == "demo";
    if (demo && line.account.empty()) line.account = "alice";
    if (line.data_root.empty()) {
      const char* env = std::getenv("VAULTKIT_DATA_ROOT");
      line.data_root = demo ? "demo-data" : (env != nullptr && *env ? env : "");
    }
    if (line.data_root.empty()) {
      // The component's own rule for its data root, so that both agree.
      const std::string data_home = vk::UserBaseFolder("XDG_DATA_HOME", ".local/share");
      line.data_root = (data_home.empty() ? std::string(".") : data_home) + "/vaultkit";
    }
    // The demo makes and remakes its own sample account: it neither asks nor needs --create.
    const vk::cli::Consent consent{line.yes || demo, line.dry_run};
    if (!command->LoadsComponent()) {
      return command->RunUnloaded({line.data_root, line.account}, line.args);
    }
    if (!command->Writes(line.args) || line.dry_run) {
      return RunOnCopy(*command, line.data_root, line.account, line.args, consent);
    }
    vk::cli::Host host(line.data_root, line.account, "", consent);
    // A mistyped account name is not a new account: only --create (or the demo) makes one.
    if (!line.create && !demo) host.RequireAccount(line.data_root, "; --create makes it");
    host.ClaimAccountFirst(std::chrono::milliseconds(line.wait_ms));
    return command->Run(host, line.args);
  } catch (const vk::cli::UsageError& e) {
    std::fprintf(stderr, "vaultkit: %s\n", e.message.c_str());
    return vk::cli::kExitUsage;
  } catch (const vk::cli::NotFound& e) {
    std::fprintf(stderr, "vaultkit: %s\n", e.message.c_str());
    return vk::cli::kExitNotFound;
  } catch (const vk::cli::Failure& e) {
    std::fprintf(stderr, "vaultkit: %s\n", e.message.c_str());
    return vk::cli::kExitFailed;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "vaultkit: %s\n", e.what());
    return vk::cli::kExitFailed;
  }
}
