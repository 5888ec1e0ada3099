#pragma once

#include "tools/vaultkit/Command.h"

namespace vk::cli {

// Shows the module's identifier and name, every store it holds with its file, the load and
// account-change results and the readiness flags.
class StatusCommand : public Command {
 public:
  const char* Name() const override { return "status"; }
  const char* Summary() const override { return "show the module, its stores and their files"; }
  const char* Help() const override;
  int Run(Host& host, const std::vector<std::string>& args) override;
  bool Writes(const std::vector<std::string>&) const override { return false; }
};

}  // namespace vk::cli
