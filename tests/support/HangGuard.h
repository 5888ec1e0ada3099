// For tests of calls that must not wait on what lies at a path (a FIFO in a file's place):
// the process ends with SIGALRM if the scope does not finish in time, so a call that waits
// forever fails the run instead of hanging it.
#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <string>

namespace vk::test {

class HangGuard {
 public:
  explicit HangGuard(unsigned seconds = 20) { ::alarm(seconds); }
  ~HangGuard() { ::alarm(0); }
  HangGuard(const HangGuard&) = delete;
  HangGuard& operator=(const HangGuard&) = delete;
};

// Replaces whatever is at `native_path` by a FIFO that nobody writes to.
inline bool MakeFifo(const std::string& native_path) {
  ::unlink(native_path.c_str());
  return ::mkfifo(native_path.c_str(), 0600) == 0;
}

}  // namespace vk::test
