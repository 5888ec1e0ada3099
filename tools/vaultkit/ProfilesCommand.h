#pragma once

#include "tools/vaultkit/Command.h"

namespace vk::cli {

// profiles set|get|list|delete|nick-by-uin on the account's enciphered WEZProfile.dat.
class ProfilesCommand : public Command {
 public:
  const char* Name() const override { return "profiles"; }
  const char* Summary() const override {
    return "user profiles by nickname (WEZProfile.dat, enciphered)";
  }
  const char* Help() const override;
  int Run(Host& host, const std::vector<std::string>& args) override;
};

}  // namespace vk::cli
