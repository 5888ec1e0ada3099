// Every file of an account folder that a store reads, each examined by the check of its kind.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "tools/vaultkit/check/FileCheck.h"

namespace vk::cli {

struct FolderReport {
  std::string folder;  // the folder examined, absolute
  std::vector<FileReport> files;
  std::vector<std::string> notes;  // about the folder as a whole

  size_t Count(FileReport::Status status) const;
};

class AccountCheck {
 public:
  // The files of an account folder (no global option file).
  static AccountCheck ForAccount();
  // The files of the Accounts folder itself: the global option file.
  static AccountCheck ForAccountsFolder();

  // Runs every check on `folder`, whose files belong to `account` (see FileCheck); a check that
  // throws is reported as a problem of its file.
  FolderReport Run(const std::filesystem::path& folder, const std::string& account) const;

 private:
  AccountCheck() = default;

  std::vector<std::unique_ptr<FileCheck>> checks_;
};

}  // namespace vk::cli
