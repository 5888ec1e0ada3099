#include "platform/FileIdentity.h"

#include <sys/stat.h>
#include <time.h>

#include "platform/Files.h"

namespace vk {

std::optional<FileIdentity> FileIdentity::Of(std::u16string_view path) {
  struct stat info {};
  if (::stat(PathToNative(path).c_str(), &info) != 0 || !S_ISREG(info.st_mode)) {
    return std::nullopt;
  }
  FileIdentity identity;
  identity.device_ = static_cast<uint64_t>(info.st_dev);
  identity.inode_ = static_cast<uint64_t>(info.st_ino);
  identity.size_ = static_cast<int64_t>(info.st_size);
  identity.seconds_ = static_cast<int64_t>(info.st_mtim.tv_sec);
  identity.nanoseconds_ = static_cast<int64_t>(info.st_mtim.tv_nsec);
  return identity;
}

bool FileIdentity::Settled() const {
  // The file system stamps changes with the coarse clock.
  timespec now{};
  if (::clock_gettime(CLOCK_REALTIME_COARSE, &now) != 0) return false;
  return now.tv_sec > seconds_ || (now.tv_sec == seconds_ && now.tv_nsec > nanoseconds_);
}

}  // namespace vk
