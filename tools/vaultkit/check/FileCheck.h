// One kind of file check of `vaultkit check`: examines its file in an account folder and
// reports what it found. A check reads and never writes.
#pragma once

#include <filesystem>
#include <string>

#include "tools/vaultkit/check/FileReport.h"

namespace vk::cli {

class FileCheck {
 public:
  virtual ~FileCheck() = default;
  // `account`: the account the folder's files belong to, whose name makes the key of its
  // enciphered files and names its offline channels' files. It is the folder's own name unless
  // the folder is a copy under another name.
  virtual FileReport Run(const std::filesystem::path& account_folder,
                         const std::string& account) const = 0;
};

}  // namespace vk::cli
