#pragma once

#include "tools/vaultkit/Command.h"

namespace vk::cli {

// offmsg list|show|delete|count|latest|check|clear-empty|generate on the account's offline
// message channels.
class OffMsgCommand : public Command {
 public:
  const char* Name() const override { return "offmsg"; }
  const char* Summary() const override { return "offline messages (OffMsgFiles)"; }
  const char* Help() const override;
  int Run(Host& host, const std::vector<std::string>& args) override;
};

}  // namespace vk::cli
