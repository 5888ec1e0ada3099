// The account's lock file: which process owns the account now, or which one owned it when it
// ended without letting go (a crash). Probing takes no lock and writes nothing.
#pragma once

#include "tools/vaultkit/check/FileCheck.h"

namespace vk::cli {

class AccountLockCheck : public FileCheck {
 public:
  FileReport Run(const std::filesystem::path& folder, const std::string& account) const override;
};

}  // namespace vk::cli
