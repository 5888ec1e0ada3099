#pragma once

#include "tools/vaultkit/Command.h"

namespace vk::cli {

// dialogs list|add|remove|switches|set|reset on the account's RevertDialog.xml.
class DialogsCommand : public Command {
 public:
  const char* Name() const override { return "dialogs"; }
  const char* Summary() const override { return "dialogs waiting for a reply (RevertDialog.xml)"; }
  const char* Help() const override;
  int Run(Host& host, const std::vector<std::string>& args) override;
};

}  // namespace vk::cli
