#include "tools/vaultkit/cli/Consent.h"

#include <unistd.h>

#include <cstdio>
#include <iostream>

#include "tools/vaultkit/cli/Command.h"

namespace vk::cli {

bool Consent::Confirm(const std::string& what) const {
  if (dry_run) {
    std::printf("would %s\n", what.c_str());
    return false;
  }
  if (yes) return true;
  if (!isatty(STDIN_FILENO)) {
    throw UsageError{"this would " + what +
                     "; add --yes to go on, or --dry-run to see what it would do"};
  }
  std::fprintf(stderr, "vaultkit: this will %s. Go on? [y/N] ", what.c_str());
  std::fflush(stderr);
  std::string answer;
  std::getline(std::cin, answer);
  if (answer == "y" || answer == "Y" || answer == "yes") return true;
  throw Failure{"not confirmed; nothing was changed"};
}

}  // namespace vk::cli
