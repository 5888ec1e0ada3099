#pragma once

#include "tools/vaultkit/Command.h"

namespace vk::cli {

// A scripted tour of everything the component offers, on ./demo-data and account "alice"
// unless told otherwise; it prints each step as the command line that does the same.
class DemoCommand : public Command {
 public:
  const char* Name() const override { return "demo"; }
  const char* Summary() const override { return "a scripted tour on ./demo-data"; }
  const char* Help() const override;
  int Run(Host& host, const std::vector<std::string>& args) override;

 private:
  int Step(Host& host, const std::string& command, std::vector<std::string> args);
};

}  // namespace vk::cli
