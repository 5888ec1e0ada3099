#pragma once

#include "tools/vaultkit/Command.h"

namespace vk::cli {

// Pumps the message loop for a while, as the client's interface thread does, so the
// module's 60-second flush runs.
class RunCommand : public Command {
 public:
  const char* Name() const override { return "run"; }
  const char* Summary() const override {
    return "pump the message loop (the flush runs every 60 s)";
  }
  const char* Help() const override;
  int Run(Host& host, const std::vector<std::string>& args) override;
};

}  // namespace vk::cli
