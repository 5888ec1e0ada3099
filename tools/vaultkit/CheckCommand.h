#pragma once

#include "tools/vaultkit/Command.h"

namespace vk::cli {

// check [--json] [ACCOUNT-FOLDER]: what the stores would make of each file of an account
// folder, or of every account under the data root. Reads only; never loads the component.
class CheckCommand : public Command {
 public:
  const char* Name() const override { return "check"; }
  const char* Summary() const override {
    return "examine an account folder's files as the stores read them; changes nothing";
  }
  const char* Help() const override;
  int Run(Host& host, const std::vector<std::string>& args) override;
  bool LoadsComponent() const override { return false; }
  int RunUnloaded(const Location& location, const std::vector<std::string>& args) override;
};

}  // namespace vk::cli
