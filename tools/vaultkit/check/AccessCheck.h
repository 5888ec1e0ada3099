// Who may change an account's files: every file and folder in the account folder that other
// local users may write is reported, since any of them could rewrite the owner's options,
// dialogs or profiles. The component creates them private and never widens them; older files,
// or ones copied in by hand, may still be open.
#pragma once

#include "tools/vaultkit/check/FileCheck.h"

namespace vk::cli {

class AccessCheck : public FileCheck {
 public:
  FileReport Run(const std::filesystem::path& folder, const std::string& account) const override;
};

}  // namespace vk::cli
