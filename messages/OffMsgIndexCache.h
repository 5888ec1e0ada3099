// What was read from the channels' indexes, kept between calls. Other parts of the client
// write the index files between the store's calls, so each call asks again: the file is read
// anew unless it is still the one read before (same device, inode, size and modification
// time to the nanosecond). The count reads the root and the file's end alone; the sum that
// decides whether a channel may be cleared takes a plain pass over the file; the records are
// gathered only for the operations that need them.
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
  // The same for the count the client shows, taken from the root when the file ends by
  // closing it: damage inside the records is then left to the listing and the fetch to
  // report, which read them all. Anything else is read through as by Sum.
  std::optional<LONG> CountedSum(const std::u16string& path);
  // The records of the index at path as it is now.
  std::shared_ptr<const OffMsgIndexView> View(const std::u16string& path);

 private:
  struct Entry {
    std::u16string path;
    FileIdentity identity;
    bool sum_read = false;
    std::optional<LONG> sum;
    std::optional<LONG> root_sum;  // from the root and the file's end
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
