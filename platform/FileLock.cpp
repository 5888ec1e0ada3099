#include "platform/FileLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <map>
#include <mutex>
#include <thread>
#include <utility>

namespace vk {
namespace {

// The locks this process holds, by file identity. flock() locks belong to one open file, so a
// second open in the same process would be refused by its own lock; the holders share the
// first descriptor instead and the lock goes when the last of them lets go.
struct Held {
  pid_t pid;  // a child made by fork() inherits the table, but not the locks' ownership
  int fd;
  int users;
  bool recorded;  // the lock file names this process
  bool locked;    // false: another copy of this code in the process holds the lock
};
std::mutex g_mutex;
std::map<std::pair<dev_t, ino_t>, Held> g_held;

// Opens a folder as it is, or a lock file (created 0600 when missing). Never follows a link
// put in the lock file's place, and never blocks on a FIFO.
int OpenForLock(const std::string& path) {
  struct stat info {};
  if (::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode)) {
    return ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  }
  int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600);
  if (fd < 0) return -1;
  if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
    ::close(fd);
    errno = EINVAL;
    return -1;
  }
  return fd;
}

std::pair<dev_t, ino_t> IdentityOf(int fd) {
  struct stat info {};
  ::fstat(fd, &info);
  return {info.st_dev, info.st_ino};
}

}  // namespace

FileLock::FileLock(FileLock&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}

FileLock& FileLock::operator=(FileLock&& other) noexcept {
  if (this != &other) {
    Release();
    fd_ = std::exchange(other.fd_, -1);
  }
  return *this;
}

bool FileLock::Take(const std::string& path, std::chrono::milliseconds wait) {
  Release();
  int fd = OpenForLock(path);
  if (fd < 0) return false;
  const auto identity = IdentityOf(fd);
  {
    std::lock_guard<std::mutex> hold(g_mutex);
    auto found = g_held.find(identity);
    if (found != g_held.end() && found->second.pid == ::getpid()) {
      ::close(fd);
      ++found->second.users;
      fd_ = found->second.fd;
      return true;
    }
  }
  const auto deadline = std::chrono::steady_clock::now() + wait;
  auto pause = std::chrono::milliseconds(5);
  bool locked = true;
  while (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
    const int error = errno;
    if (error == EINTR) continue;
    // A lock file that names this process is held by it through a descriptor this table does
    // not know: the component and its client each link this code, and both take the
    // account. The lock is the process's, so it is shared as above.
    if (error == EWOULDBLOCK && RecordedHolder(path) == ::getpid()) {
      locked = false;
      break;
    }
    if (error != EWOULDBLOCK || std::chrono::steady_clock::now() >= deadline) {
      ::close(fd);
      errno = error;
      return false;
    }
    std::this_thread::sleep_for(pause);
    pause = std::min(pause * 2, std::chrono::milliseconds(100));
  }
  std::lock_guard<std::mutex> hold(g_mutex);
  g_held[identity] = {::getpid(), fd, 1, false, locked};
  fd_ = fd;
  return true;
}

bool FileLock::RecordHolder() {
  if (fd_ < 0) return false;
  // Written in place, not through an atomic replacement: a new file would be a new inode,
  // and the lock is on this one.
  const std::string pid = std::to_string(::getpid()) + "\n";
  if (::ftruncate(fd_, 0) != 0) return false;
  if (::pwrite(fd_, pid.data(), pid.size(), 0) != static_cast<ssize_t>(pid.size())) return false;
  std::lock_guard<std::mutex> hold(g_mutex);
  g_held[IdentityOf(fd_)].recorded = true;
  return true;
}

void FileLock::Release() {
  if (fd_ < 0) return;
  const int fd = std::exchange(fd_, -1);
  std::lock_guard<std::mutex> hold(g_mutex);
  auto found = g_held.find(IdentityOf(fd));
  if (found == g_held.end() || found->second.pid != ::getpid() || --found->second.users > 0) {
    return;
  }
  if (!found->second.locked) {  // the other holder in this process keeps lock and record
    g_held.erase(found);
    ::close(fd);
    return;
  }
  // The record goes before the lock, so a recorded id names a holder or a process that died
  // holding it. Should the truncation fail, the next holder overwrites the record.
  if (found->second.recorded) (void)!::ftruncate(fd, 0);
  g_held.erase(found);
  ::flock(fd, LOCK_UN);
  ::close(fd);
}

FileLock::State FileLock::Probe(const std::string& path) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) return errno == ENOENT ? State::kMissing : State::kUnknown;
  const bool folder = S_ISDIR(info.st_mode);
  if (!folder && !S_ISREG(info.st_mode)) return State::kUnknown;
  int fd = ::open(path.c_str(),
                  folder ? O_RDONLY | O_DIRECTORY | O_CLOEXEC : O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
  if (fd < 0) return State::kUnknown;
  State state = State::kFree;
  if (::flock(fd, LOCK_SH | LOCK_NB) != 0) {
    state = errno == EWOULDBLOCK ? State::kHeld : State::kUnknown;
  } else {
    ::flock(fd, LOCK_UN);
  }
  ::close(fd);
  return state;
}

pid_t FileLock::RecordedHolder(const std::string& path) {
  int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) return 0;
  char text[32] = {};
  ssize_t got = ::pread(fd, text, sizeof text - 1, 0);
  ::close(fd);
  if (got <= 0) return 0;
  char* end = nullptr;
  long pid = std::strtol(text, &end, 10);
  return end != text && (*end == '\n' || *end == '\0') && pid > 0 ? static_cast<pid_t>(pid) : 0;
}

}  // namespace vk
