#pragma once

#include "tools/vaultkit/Command.h"

namespace vk::cli {

// mobile add|get|list|delete on the account's MobileProfile.xml.
class MobileCommand : public Command {
 public:
  const char* Name() const override { return "mobile"; }
  const char* Summary() const override {
    return "the mobile profile: entries with names unique regardless of case (MobileProfile.xml)";
  }
  const char* Help() const override;
  int Run(Host& host, const std::vector<std::string>& args) override;
};

}  // namespace vk::cli
