#include "org/FileReplace.h"

#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "platform/Files.h"

namespace vk {
namespace {

bool WriteAll(int fd, const char* data, size_t size) {
  while (size > 0) {
    const ssize_t written = ::write(fd, data, size);
    if (written < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    data += written;
    size -= static_cast<size_t>(written);
  }
  return true;
}

bool CopyContents(int from, int to) {
  char buffer[64 * 1024];
  for (;;) {
    const ssize_t got = ::read(from, buffer, sizeof buffer);
    if (got == 0) return true;
    if (got < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    if (!WriteAll(to, buffer, static_cast<size_t>(got))) return false;
  }
}

}  // namespace

bool ReplaceFileWithCopy(std::u16string_view source, std::u16string_view target) {
  const std::string from_path = PathToNative(source);
  const std::string to_path = PathToNative(target);
  const int from = ::open(from_path.c_str(), O_RDONLY | O_CLOEXEC);
  if (from < 0) return false;
  std::string temp_path = to_path + ".XXXXXX";
  const int to = ::mkostemp(temp_path.data(), O_CLOEXEC);
  if (to < 0) {
    ::close(from);
    return false;
  }
  bool ok = CopyContents(from, to) && ::fsync(to) == 0;
  ::close(from);
  ok = ::close(to) == 0 && ok;
  // mkostemp creates the file for its owner only; a database file is shared as usual.
  ::chmod(temp_path.c_str(), 0644);
  ok = ok && ::rename(temp_path.c_str(), to_path.c_str()) == 0;
  if (!ok) ::unlink(temp_path.c_str());
  return ok;
}

}  // namespace vk
