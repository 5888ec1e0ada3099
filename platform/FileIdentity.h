// Which file lies at a path and in what state: device, inode, size and modification time in
// nanoseconds. A reader that keeps what it read from a file uses it only while the path still
// shows the same identity; a rewrite in place changes the size or the time, a replacement the
// inode.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace vk {

class FileIdentity {
 public:
  // None when nothing lies at the path or it is not a regular file.
  static std::optional<FileIdentity> Of(std::u16string_view path);

  // True once the system's file clock has passed the modification time: a later change to
  // the file then gets a later time. Until then a rewrite of the same size could keep the
  // time it has (the clock ticks in steps of some milliseconds), so what was read must not
  // be kept.
  bool Settled() const;

  bool operator==(const FileIdentity&) const = default;

 private:
  uint64_t device_ = 0, inode_ = 0;
  int64_t size_ = 0, seconds_ = 0, nanoseconds_ = 0;
};

}  // namespace vk
