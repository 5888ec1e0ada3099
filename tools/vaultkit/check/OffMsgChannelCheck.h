// One offline-message channel (OffMsgFiles/IM or OffMsgFiles/DisGroup): its index and data
// file present together, the index readable as the store reads it, and every record's body
// inside the data file and decompressing as the store decompresses it.
#pragma once

#include <string>

#include "tools/vaultkit/check/FileCheck.h"

namespace vk::cli {

class OffMsgChannelCheck : public FileCheck {
 public:
  // `folder`: "IM" or "DisGroup"; `channel`: the store's number for it (0 or 2).
  OffMsgChannelCheck(std::string folder, int channel);
  FileReport Run(const std::filesystem::path& account_folder,
                 const std::string& account) const override;

 private:
  std::string folder_;
  int channel_;
};

}  // namespace vk::cli
