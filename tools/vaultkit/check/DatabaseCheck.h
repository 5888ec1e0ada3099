// An SQLite database of the user list or a group store: opened read-only, SQLite's own
// integrity check, then its tables and columns against those the store's schema script
// creates, and every statement the store prepares.
#pragma once

#include <string>

#include "storage/SqlStore.h"
#include "tools/vaultkit/check/FileCheck.h"

namespace vk::cli {

class DatabaseCheck : public FileCheck {
 public:
  // `absent`: what the store does when the file is not there; `damaged`: what it does with
  // a file it cannot use.
  DatabaseCheck(std::string file, SqlSchema schema, std::string absent, std::string damaged);
  FileReport Run(const std::filesystem::path& account_folder,
                 const std::string& account) const override;

 private:
  std::string file_;
  SqlSchema schema_;
  std::string absent_;
  std::string damaged_;
};

}  // namespace vk::cli
