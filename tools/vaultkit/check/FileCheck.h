// One kind of file check of `vaultkit check`: examines its file in an account folder and
// reports what it found. A check reads and never writes.
#pragma once

#include <filesystem>

#include "tools/vaultkit/check/FileReport.h"

namespace vk::cli {

class FileCheck {
 public:
  virtual ~FileCheck() = default;
  virtual FileReport Run(const std::filesystem::path& account_folder) const = 0;
};

}  // namespace vk::cli
