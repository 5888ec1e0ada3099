// One subcommand of the vaultkit command, and the conventions every subcommand follows.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "tools/vaultkit/cli/Args.h"

namespace vk::cli {

class Host;

// The command's exit statuses.
enum ExitStatus : int {
  kExitOk = 0,
  kExitNotFound = 1,  // a lookup found nothing
  kExitUsage = 2,     // the command line is wrong
  kExitFailed = 3,    // a store refused the operation, or a file cannot be used
  kExitDamaged = 4,   // check: a file the stores would not read as it stands
};

// Where a command that does not load the component works: the data root and account the
// command line names (the account empty when none is given).
struct Location {
  std::string data_root;
  std::string account;
};

// A usage error: printed as one line, exit status 2.
struct UsageError {
  std::string message;
};
// A lookup that found nothing: "vaultkit: <message>" on stderr, exit status 1.
struct NotFound {
  std::string message;
};
// A failure that says why: "vaultkit: <message>" on stderr, exit status 3.
struct Failure {
  std::string message;
};

class Command {
 public:
  virtual ~Command() = default;
  virtual const char* Name() const = 0;
  virtual const char* Summary() const = 0;
  virtual const char* Help() const = 0;
  // Returns the process exit status.
  virtual int Run(Host& host, const Args& args) = 0;
  // Loading the component writes files (templates, option files, folders). A command that
  // must leave the data root exactly as it is answers false and runs through RunUnloaded.
  virtual bool LoadsComponent() const { return true; }
  // Whether the command line changes the account's files. A command that writes owns the
  // account while it runs: it waits for, or is refused by, another process that owns it. One
  // that does not runs the component on a private copy of the account, so that the writes of
  // the component's load never reach the user's files.
  virtual bool Writes(const std::vector<std::string>& args) const;
  virtual int RunUnloaded(const Location&, const Args&) { return kExitUsage; }
};

// Numbers in the range of the operation's own type; anything else is a UsageError naming
// `what`.
int32_t ParseInt32(const std::string& text, const char* what);
uint32_t ParseUint32(const std::string& text, const char* what);

// One form of a command's action: its name and the words that follow it, as the help shows
// them. A lower-case word is literal ("get"); an upper-case one a value, ":i" a signed and ":u"
// an unsigned 32-bit number ("DEPT:i"); "[X]" may be left out; "X..." repeats, none or more.
struct ActionForm {
  const char* action;
  const char* words;
};

// Throws UsageError unless `args` is one of `forms` (the first word the action), with its
// numbers in range. A command checks its line with it before it opens a store, so that a
// wrong command line changes nothing.
void CheckAction(const char* command, const Args& args, std::initializer_list<ActionForm> forms);

}  // namespace vk::cli
