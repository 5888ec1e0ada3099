// A regular file open for reading. Opening never waits on what lies at the path: a FIFO, a
// device or a socket put where a store expects its file is refused like an unreadable file,
// instead of blocking the caller until something writes to it.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vk {

class ReadableFile {
 public:
  explicit ReadableFile(std::u16string_view path);
  ~ReadableFile();
  ReadableFile(const ReadableFile&) = delete;
  ReadableFile& operator=(const ReadableFile&) = delete;

  // False when the path is missing, not a regular file or cannot be opened (errno says why).
  bool IsOpen() const { return fd_ >= 0; }
  // The open descriptor (blocking reads, close-on-exec), owned by this object.
  int Descriptor() const { return fd_; }
  // The size when the file was opened.
  int64_t Size() const { return size_; }
  // The next bytes; 0 at the end, -1 on a read error.
  ssize_t Read(char* buffer, size_t size);
  // Bytes from `offset` on; fewer where the file ends, -1 on a read error.
  ssize_t ReadAt(char* buffer, size_t size, int64_t offset);

 private:
  int fd_ = -1;
  int64_t size_ = 0;
};

}  // namespace vk
