#pragma once

#include "tools/vaultkit/Command.h"

namespace vk::cli {

// items set|get|list|delete|delete-fields|export|merge|find on the account's WEZExtBuddy.xml.
class ItemsCommand : public Command {
 public:
  const char* Name() const override { return "items"; }
  const char* Summary() const override {
    return "named items of id=value fields: the external buddies (WEZExtBuddy.xml)";
  }
  const char* Help() const override;
  int Run(Host& host, const std::vector<std::string>& args) override;
};

}  // namespace vk::cli
