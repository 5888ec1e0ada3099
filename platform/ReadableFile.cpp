#include "platform/ReadableFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/Files.h"
#include "runtime/FileSystem.h"

namespace vk {

ReadableFile::ReadableFile(std::u16string_view path) {
  struct stat info {};
  fd_ = FileSystem::OpenRegularForReading(PathToNative(path), info);
  if (fd_ >= 0) size_ = info.st_size;
}

ReadableFile::~ReadableFile() {
  if (fd_ >= 0) ::close(fd_);
}

ssize_t ReadableFile::Read(char* buffer, size_t size) {
  for (;;) {
    ssize_t got = ::read(fd_, buffer, size);
    if (got >= 0 || errno != EINTR) return got;
  }
}

ssize_t ReadableFile::ReadAt(char* buffer, size_t size, int64_t offset) {
  size_t done = 0;
  while (done < size) {
    ssize_t got = ::pread(fd_, buffer + done, size - done,
                          static_cast<off_t>(offset) + static_cast<off_t>(done));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return -1;
    if (got == 0) break;
    done += static_cast<size_t>(got);
  }
  return static_cast<ssize_t>(done);
}

}  // namespace vk
