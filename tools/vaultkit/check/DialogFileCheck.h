// The reply-pending dialog file (RevertDialog.xml): well-formed, under Dialogroot, with each
// reply switch at a value the dialog store accepts.
#pragma once

#include "tools/vaultkit/check/FileCheck.h"

namespace vk::cli {

class DialogFileCheck : public FileCheck {
 public:
  FileReport Run(const std::filesystem::path& account_folder,
                 const std::string& account) const override;
};

}  // namespace vk::cli
