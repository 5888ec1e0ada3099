#pragma once

#include "tools/vaultkit/Command.h"

namespace vk::cli {

// leader get|set|delete|reset-if-expired|version on the account's Leader.xml.
class LeaderCommand : public Command {
 public:
  const char* Name() const override { return "leader"; }
  const char* Summary() const override { return "department leaders (Leader.xml)"; }
  const char* Help() const override;
  int Run(Host& host, const std::vector<std::string>& args) override;
};

}  // namespace vk::cli
