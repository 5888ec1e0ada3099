#pragma once

#include "tools/vaultkit/Command.h"

namespace vk::cli {

// users import|search|dept|depts|find|versions|add|delete|... on the account's userList5.dat.
class UsersCommand : public Command {
 public:
  const char* Name() const override { return "users"; }
  const char* Summary() const override { return "the organisation directory (userList5.dat)"; }
  const char* Help() const override;
  int Run(Host& host, const std::vector<std::string>& args) override;
};

}  // namespace vk::cli
