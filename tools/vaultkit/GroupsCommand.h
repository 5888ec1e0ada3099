#pragma once

#include "tools/vaultkit/Command.h"

namespace vk::cli {

// groups tree|add|rename|delete|members|add-member|delete-member|import|version on the six
// contact-group databases.
class GroupsCommand : public Command {
 public:
  const char* Name() const override { return "groups"; }
  const char* Summary() const override { return "the six contact-group trees (Group.dat, ...)"; }
  const char* Help() const override;
  int Run(Host& host, const std::vector<std::string>& args) override;
};

}  // namespace vk::cli
