// vaultkit [--data-root DIR] [--account NAME] COMMAND ...
// The command-line client of the component: it loads the module as the client does and
// offers each store's operations as subcommands.
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>

#include "tools/vaultkit/Commands.h"
#include "tools/vaultkit/Host.h"

namespace {

void PrintUsage(const std::vector<std::unique_ptr<vk::cli::Command>>& commands) {
  std::printf(
      "usage: vaultkit [--data-root DIR] [--account NAME] COMMAND [ARGS]\n\n"
      "The Vaultkit storage component, driven as the client drives it: the command\n"
      "registers the component if needed, creates the module, loads it on the data root\n"
      "(default: $VAULTKIT_DATA_ROOT, else ~/.local/share/vaultkit; ./demo-data for demo),\n"
      "changes to the account when one is given, runs COMMAND and unloads.\n\ncommands:\n");
  for (const auto& c : commands) std::printf("  %-10s %s\n", c->Name(), c->Summary());
  std::printf("\n'vaultkit COMMAND --help' describes a command.\n");
}

}  // namespace

int main(int argc, char** argv) {
  auto commands = vk::cli::AllCommands();
  std::string data_root, account;
  bool data_root_given = false;
  int i = 1;
  for (; i < argc; ++i) {
    std::string arg = argv[i];
    if ((arg == "--data-root" || arg == "--account") && i + 1 >= argc) {
      std::fprintf(stderr, "vaultkit: %s needs a value\n", arg.c_str());
      return 2;
    }
    if (arg == "--data-root") {
      data_root = argv[++i];
      data_root_given = true;
    } else if (arg == "--account") {
      account = argv[++i];
      if (account.empty()) {
        std::fprintf(stderr, "vaultkit: --account needs a non-empty name\n");
        return 2;
      }
    } else if (arg == "--help" || arg == "-h") {
      PrintUsage(commands);
      return 0;
    } else if (!arg.empty() && arg[0] == '-') {
      std::fprintf(stderr, "vaultkit: unknown option %s (see vaultkit --help)\n", arg.c_str());
      return 2;
    } else {
      break;
    }
  }
  if (i >= argc) {
    PrintUsage(commands);
    return 2;
  }
  std::string name = argv[i++];
  std::vector<std::string> args(argv + i, argv + argc);
  vk::cli::Command* command = nullptr;
  for (auto& c : commands) {
    if (name == c->Name()) command = c.get();
  }
  if (command == nullptr) {
    std::fprintf(stderr, "vaultkit: unknown command '%s' (see vaultkit --help)\n", name.c_str());
    return 2;
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
      const char* xdg = std::getenv("XDG_DATA_HOME");
      const char* home = std::getenv("HOME");
      data_root = xdg != nullptr && *xdg
                      ? std::string(xdg) + "/vaultkit"
                      : std::string(home != nullptr ? home : ".") + "/.local/share/vaultkit";
    }
  }
  try {
    vk::cli::Host host(data_root, account);
    host.Load();
    return command->Run(host, args);
  } catch (const vk::cli::UsageError& e) {
    std::fprintf(stderr, "vaultkit: %s\n", e.message.c_str());
    return 2;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "vaultkit: %s\n", e.what());
    return 1;
  }
}
