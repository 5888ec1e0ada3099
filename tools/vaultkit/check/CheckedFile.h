// One file of an account folder as `vaultkit check` finds it before reading it: missing, a
// regular file, or something a store cannot use (a folder, a device, a path that cannot be
// examined). Nothing here writes, and no file is read beyond the size the check reads whole.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "tools/vaultkit/check/FileReport.h"

namespace vk::cli {

class CheckedFile {
 public:
  // The stores' files are small; anything beyond this is read by ranges or not at all.
  static constexpr uintmax_t kMaxWholeRead = 256u << 20;

  explicit CheckedFile(std::filesystem::path path);

  bool Missing() const { return state_ == State::kMissing; }
  uintmax_t Size() const { return size_; }
  const std::filesystem::path& Path() const { return path_; }
  std::u16string Path16() const;

  // True when the file is a regular file; otherwise records in `report` what it is, with the
  // store's `consequence` ("the store will start from an empty template").
  bool IsFile(FileReport& report, const std::string& consequence) const;
  // The whole file; none, with the reason and `consequence` recorded, when it is not a
  // regular file, is larger than kMaxWholeRead or cannot be read.
  std::optional<std::string> Read(FileReport& report, const std::string& consequence) const;

 private:
  enum class State { kMissing, kFile, kOther, kUnknown };

  std::filesystem::path path_;
  State state_ = State::kUnknown;
  uintmax_t size_ = 0;
  std::string reason_;  // what the path is, or why it cannot be examined
};

}  // namespace vk::cli
