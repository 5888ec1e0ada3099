// The whole command line, read and checked before anything is loaded or written: the global
// options (anywhere before "--", as "--opt VALUE" or "--opt=VALUE"), the command and its words.
#pragma once

#include <string>

#include "tools/vaultkit/cli/Args.h"

namespace vk::cli {

struct CommandLine {
  enum class Ask { kRun, kUsage, kHelp, kVersion, kCommandHelp };
  Ask ask = Ask::kRun;
  std::string data_root;  // empty when not given
  std::string account;
  long wait_ms = 5000;   // how long a command that writes waits for the account's owner
  bool create = false;   // a command that writes may create the named account
  bool yes = false;      // replace or delete without asking
  bool dry_run = false;  // say what would be replaced or deleted, change nothing
  std::string command;
  Args args;
};

// Throws UsageError for an unknown option, a missing or malformed value, or an account name
// that is not one folder name.
CommandLine ParseCommandLine(int argc, const char* const* argv);

}  // namespace vk::cli
