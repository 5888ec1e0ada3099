// What was read from the channels' indexes, kept between calls. Other parts of the client
// write the index files between the store's calls, so each call asks again: the file is read
// anew unless it is still the one read before (same device, inode, size and modification
// time to the nanosecond). The sum alone takes a plain pass over the file; the records are
// gathered only for the operations that need them, so a file that changes between two
// counts costs no more than the pass.
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
  // DataSum of the index at path as it is now; none when it does not read to its end.
  std::optional<LONG> Sum(const std::u16string& path);
  // The records of the index at path as it is now.
  std::shared_ptr<const OffMsgIndexView> View(const std::u16string& path);

 private:
  struct Entry {
    std::u16string path;
    FileIdentity identity;
    bool sum_read = false;
    std::optional<LONG> sum;
    std::shared_ptr<const OffMsgIndexView> view;
  };
  // The entry of path when the file is still the one it was read from; a stale one goes.
  Entry* Current(const std::u16string& path, const std::optional<FileIdentity>& now);
  // The entry to keep a read in: none when the file changed while it was read or a later
  // change could keep its modification time; a missing or irregular file is read every time.
  Entry* Keep(const std::u16string& path, const std::optional<FileIdentity>& before);

  // One per channel; a path of an earlier account is dropped when a third one comes.
  static constexpr size_t kEntries = 2;
  std::vector<Entry> entries_;
};

}  // namespace vk
