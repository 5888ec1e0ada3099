#pragma once

#include "tools/vaultkit/Command.h"

namespace vk::cli {

// keydepts get|set|reset-if-expired|version on the account's KeyDepts.xml.
class KeyDeptsCommand : public Command {
 public:
  const char* Name() const override { return "keydepts"; }
  const char* Summary() const override { return "key departments per nickname (KeyDepts.xml)"; }
  const char* Help() const override;
  int Run(Host& host, const std::vector<std::string>& args) override;
};

}  // namespace vk::cli
