// vaultkit [--data-root DIR] [--account NAME] COMMAND ...
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
#include "tools/vaultkit/cli/Host.h"
#include "tools/vaultkit/cli/ScratchCopy.h"
#include "tools/vaultkit/commands/Commands.h"

namespace {

void PrintUsage(const std::vector<std::unique_ptr<vk::cli::Command>>& commands) {
  std::printf(
      "usage: vaultkit [--data-root DIR] [--account NAME] [--wait SECONDS] COMMAND [ARGS]\n\n"
      "The Vaultkit storage component, driven as the client drives it: the command\n"
      "registers the component if needed, creates the module, loads it on the data root\n"
      "(default: $VAULTKIT_DATA_ROOT, else $XDG_DATA_HOME/vaultkit, else\n"
      "~/.local/share/vaultkit; ./demo-data for demo), changes to the account when one is\n"
      "given, runs COMMAND and unloads.\n\n"
      "A command that changes an account owns it while it runs: when another process (the\n"
      "client, another vaultkit) owns it, it waits up to --wait seconds (default 5), then\n"
      "gives up with exit status 3 and names that process.\n\ncommands:\n");
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
              const std::vector<std::string>& args) {
  vk::cli::Host::CheckDataRoot(data_root);
  // Reading an account that is not there is a mistake to report, not an account to make.
  std::error_code ec;
  if (!account.empty() &&
      !std::filesystem::is_directory(std::filesystem::path(data_root) / "Accounts" / account, ec)) {
    throw vk::cli::NotFound{"no account '" + account + "' under " + data_root +
                            "/Accounts; accounts: " + vk::cli::AccountList(data_root)};
  }
  vk::cli::ScratchCopy copy(data_root, account);
  vk::cli::Host host(copy.DataRoot(), account, data_root);
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
    host.Load();
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
  auto commands = vk::cli::AllCommands();
  std::string data_root, account;
  bool data_root_given = false;
  long wait_ms = 5000;  // how long a command that writes waits for the account's owner
  int i = 1;
  for (; i < argc; ++i) {
    std::string arg = argv[i];
    if ((arg == "--data-root" || arg == "--account" || arg == "--wait") && i + 1 >= argc) {
      std::fprintf(stderr, "vaultkit: %s needs a value\n", arg.c_str());
      return vk::cli::kExitUsage;
    }
    if (arg == "--data-root") {
      data_root = argv[++i];
      data_root_given = true;
    } else if (arg == "--account") {
      account = argv[++i];
      if (!IsPlainName(vk::FromUtf8(account))) {
        std::fprintf(stderr,
                     "vaultkit: --account '%s' is not an account name: one folder name below "
                     "Accounts, without '/' or '\\'\n",
                     account.c_str());
        return vk::cli::kExitUsage;
      }
    } else if (arg == "--wait") {
      const std::string value = argv[++i];
      char* end = nullptr;
      const long seconds = std::strtol(value.c_str(), &end, 10);
      if (value.empty() || *end != '\0' || seconds < 0 || seconds > 3600) {
        std::fprintf(stderr, "vaultkit: --wait takes a number of seconds from 0 to 3600\n");
        return vk::cli::kExitUsage;
      }
      wait_ms = seconds * 1000;
    } else if (arg == "--help" || arg == "-h") {
      PrintUsage(commands);
      return 0;
    } else if (arg == "--version") {
      std::printf("vaultkit %s\n", VK_VERSION);
      return 0;
    } else if (!arg.empty() && arg[0] == '-') {
      std::fprintf(stderr, "vaultkit: unknown option %s (see vaultkit --help)\n", arg.c_str());
      return vk::cli::kExitUsage;
    } else {
      break;
    }
  }
  if (i >= argc) {
    PrintUsage(commands);
    return vk::cli::kExitUsage;
  }
  std::string name = argv[i++];
  std::vector<std::string> args(argv + i, argv + argc);
  vk::cli::Command* command = nullptr;
  for (auto& c : commands) {
    if (name == c->Name()) command = c.get();
  }
  if (command == nullptr) {
    std::fprintf(stderr, "vaultkit: unknown command '%s' (see vaultkit --help)\n", name.c_str());
    return vk::cli::kExitUsage;
  }
  if (vk::cli::WantsHelp(args)) {
    std::printf("%s", command->Help());
    return 0;
  }
  if (name == "demo" && account.empty()) account = "alice";
  if (!data_root_given) {
    const char* env = std::getenv("VAULTKIT_DATA_ROOT");
    data_root = name == "demo" ? "demo-data" : (env != nullptr && *env ? env : "");
    if (data_root.empty()) {
      // The component's own rule for its data root, so that both agree.
      const std::string data_home = vk::UserBaseFolder("XDG_DATA_HOME", ".local/share");
      data_root = (data_home.empty() ? std::string(".") : data_home) + "/vaultkit";
    }
  }
  try {
    if (!command->LoadsComponent()) return command->RunUnloaded({data_root, account}, args);
    if (!command->Writes(args)) return RunOnCopy(*command, data_root, account, args);
    vk::cli::Host host(data_root, account);
    host.ClaimAccount(std::chrono::milliseconds(wait_ms));
    host.Load();
    return command->Run(host, args);
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
