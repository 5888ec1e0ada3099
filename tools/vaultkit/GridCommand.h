#pragma once

#include "tools/vaultkit/Command.h"

namespace vk::cli {

// grid get|set|clear|version on the account's UserGrid.xml.
class GridCommand : public Command {
 public:
  const char* Name() const override { return "grid"; }
  const char* Summary() const override {
    return "the user grid: a number per nickname (UserGrid.xml)";
  }
  const char* Help() const override;
  int Run(Host& host, const std::vector<std::string>& args) override;
};

}  // namespace vk::cli
