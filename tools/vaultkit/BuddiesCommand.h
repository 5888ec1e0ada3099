#pragma once

#include "tools/vaultkit/Command.h"

namespace vk::cli {

// buddies set|get|fields|delete on the account's enciphered WEZProfilePro.dat.
class BuddiesCommand : public Command {
 public:
  const char* Name() const override { return "buddies"; }
  const char* Summary() const override {
    return "named fields about buddies (WEZProfilePro.dat, enciphered)";
  }
  const char* Help() const override;
  int Run(Host& host, const std::vector<std::string>& args) override;
};

}  // namespace vk::cli
