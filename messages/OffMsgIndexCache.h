// The index views of the channels, kept between calls. Other parts of the client write the
// index files between the store's calls, so each call asks for the view again: it is read
// anew unless the file at the path is still the one it was read from (same device, inode,
// size and modification time to the nanosecond).
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "messages/OffMsgIndexView.h"
#include "platform/FileIdentity.h"

namespace vk {

class OffMsgIndexCache {
 public:
  // The view of the index at path as it is now.
  std::shared_ptr<const OffMsgIndexView> Get(const std::u16string& path);

 private:
  struct Entry {
    std::u16string path;
    FileIdentity identity;
    std::shared_ptr<const OffMsgIndexView> view;
  };
  // One per channel; a path of an earlier account is dropped when a third one comes.
  static constexpr size_t kEntries = 2;
  std::vector<Entry> entries_;
};

}  // namespace vk
