// One subcommand of the vaultkit command.
#pragma once

#include <string>
#include <vector>

namespace vk::cli {

class Host;

// A usage error: printed as one line, exit status 2.
struct UsageError {
  std::string message;
};

class Command {
 public:
  virtual ~Command() = default;
  virtual const char* Name() const = 0;
  virtual const char* Summary() const = 0;
  virtual const char* Help() const = 0;
  // Returns the process exit status.
  virtual int Run(Host& host, const std::vector<std::string>& args) = 0;
};

// Shared argument helpers.
long ParseLong(const std::string& text, const char* what);
bool WantsHelp(const std::vector<std::string>& args);

}  // namespace vk::cli
