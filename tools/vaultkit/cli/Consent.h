// What the user allowed a command that deletes or replaces data to do. Such a command states
// what it is about to do and goes on only when allowed: --yes allows it, --dry-run prints it
// and changes nothing, and otherwise a person at a terminal is asked. A script (no terminal)
// that gave neither is refused, so that nothing is destroyed by a command line nobody read.
#pragma once

#include <string>

namespace vk::cli {

struct Consent {
  bool yes = false;
  bool dry_run = false;

  // `what`: "delete the offline index ..." (a verb phrase). True: go on. False: a dry run, on
  // which "would <what>" was printed. Throws Failure when the person answers no, and
  // UsageError without a terminal and without --yes.
  bool Confirm(const std::string& what) const;
};

}  // namespace vk::cli
