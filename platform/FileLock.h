// An advisory, inter-process lock on a lock file or on a folder. Locks belong to processes:
// other processes see a held lock as taken, while a second FileLock of the holding process on
// the same file shares it. The kernel drops a lock when its process ends, so a crash never
// leaves an account or a directory locked; only the recorded process id stays behind.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>

namespace vk {

// The lock file in an account folder; the process that holds it owns the account.
inline constexpr char kAccountLockFile[] = "vaultkit.lock";

class FileLock {
 public:
  FileLock() = default;
  ~FileLock() { Release(); }
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;
  FileLock(FileLock&& other) noexcept;
  FileLock& operator=(FileLock&& other) noexcept;

  // Takes the lock on `path`: an existing folder, or a lock file that is created 0600 when
  // missing. Waits at most `wait` for another process to let go; false when it still holds
  // the lock then (errno EWOULDBLOCK) or when the path cannot be opened (errno says why).
  bool Take(const std::string& path, std::chrono::milliseconds wait);
  // Writes this process's id into the held lock file, so that a refused process can name the
  // holder. The process that first took the lock records it; releasing it clears it.
  bool RecordHolder();
  void Release();
  bool held() const { return fd_ >= 0; }

  enum class State { kFree, kHeld, kMissing, kUnknown };
  // Whether the lock on `path` is held now (by any open file other than a probe's own). Reads only:
  // a missing lock file is not created and nothing is written.
  static State Probe(const std::string& path);
  // The process id recorded in a lock file; 0 when it records none or cannot be read.
  static pid_t RecordedHolder(const std::string& path);

 private:
  int fd_ = -1;
};

}  // namespace vk
