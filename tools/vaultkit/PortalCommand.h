#pragma once

#include "tools/vaultkit/Command.h"

namespace vk::cli {

// portal show|install|version on the account's PortalIcon/EPortal.xml.
class PortalCommand : public Command {
 public:
  const char* Name() const override { return "portal"; }
  const char* Summary() const override { return "the enterprise portal (PortalIcon/EPortal.xml)"; }
  const char* Help() const override;
  int Run(Host& host, const std::vector<std::string>& args) override;
};

}  // namespace vk::cli
