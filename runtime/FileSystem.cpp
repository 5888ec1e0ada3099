#include "runtime/FileSystem.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <mutex>
#include <random>
#include <set>
#include <vector>

namespace vk {
namespace {

std::atomic<FileSystem::FaultHook> g_hook{nullptr};
std::atomic<void*> g_hook_context{nullptr};
std::atomic<bool> g_crashed{false};

// True when the call may go ahead; otherwise errno is set as the failed call would set it.
bool Allowed(FileSystem::Call call, const std::string& path) {
  if (g_crashed.load()) {
    errno = EIO;
    return false;
  }
  FileSystem::FaultHook hook = g_hook.load();
  if (hook == nullptr) return true;
  switch (hook(call, path, g_hook_context.load())) {
    case FileSystem::Fault::kNone:
      return true;
    case FileSystem::Fault::kCrash:
      g_crashed = true;
      [[fallthrough]];
    case FileSystem::Fault::kFail:
      errno = EIO;
      return false;
  }
  return true;
}

// Runs `cleanup` without letting it change the errno that says why the work failed.
template <typename F>
void KeepingErrno(F&& cleanup) {
  int saved = errno;
  cleanup();
  errno = saved;
}

bool WriteAll(int fd, const std::string& path, std::string_view bytes) {
  while (!bytes.empty()) {
    if (!Allowed(FileSystem::Call::kWrite, path)) return false;
    ssize_t written = ::write(fd, bytes.data(), bytes.size());
    if (written < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    bytes.remove_prefix(static_cast<size_t>(written));
  }
  return true;
}

std::string FolderPart(const std::string& target) {
  size_t slash = target.rfind('/');
  return slash == std::string::npos ? std::string() : target.substr(0, slash + 1);
}

// ".<name>.tmp": every temporary file of a target starts with it, followed by the writer's
// process id, "_" and a counter and a random number.
std::string TempPrefixFor(const std::string& target) {
  size_t slash = target.rfind('/');
  return "." + (slash == std::string::npos ? target : target.substr(slash + 1)) + ".tmp";
}

// A fresh name beside the target; the leading dot keeps it out of folder listings.
std::string TempNameFor(const std::string& target) {
  static std::atomic<unsigned> counter{0};
  thread_local std::mt19937 random{std::random_device{}()};
  return FolderPart(target) + TempPrefixFor(target) + std::to_string(::getpid()) + "_" +
         std::to_string(counter.fetch_add(1)) + "_" + std::to_string(random() % 1000000);
}

// The temporary files this process is writing now.
std::mutex g_writing_mutex;
std::set<std::string> g_writing;

// A temporary file whose writer is gone: its process has ended, or it is this process and
// no save of it is running. Such a file is what a save cut short by a crash leaves; it is
// never renamed into place.
bool IsLeftOver(const std::string& temp, const std::string& digits) {
  char* end = nullptr;
  const long pid = std::strtol(digits.c_str(), &end, 10);
  if (end == digits.c_str() || *end != '_' || pid <= 0) return false;
  if (pid != ::getpid()) return ::kill(static_cast<pid_t>(pid), 0) != 0 && errno == ESRCH;
  std::lock_guard<std::mutex> hold(g_writing_mutex);
  return g_writing.count(temp) == 0;
}

// Deletes the temporary files of `target` that a save cut short by a crash left behind, so
// that they do not pile up beside the file; the next save of the file does it. Temporary
// files of saves still running, here or in another process, are kept.
void RemoveLeftOverTemporaries(const std::string& target) {
  const std::string folder = FolderPart(target), prefix = TempPrefixFor(target);
  DIR* dir = ::opendir(folder.empty() ? "." : folder.c_str());
  if (dir == nullptr) return;
  std::vector<std::string> left_over;
  while (const dirent* entry = ::readdir(dir)) {
    const std::string name = entry->d_name;
    if (name.rfind(prefix, 0) == 0 && IsLeftOver(folder + name, name.substr(prefix.size())))
      left_over.push_back(folder + name);
  }
  ::closedir(dir);
  for (const std::string& temp : left_over) {
    if (Allowed(FileSystem::Call::kRemove, temp)) ::unlink(temp.c_str());
  }
}

// Creates a fresh temporary file of `target` (its leftovers removed first) and records it as
// being written: the descriptor, or -1.
int CreateTemporaryOf(const std::string& target, mode_t mode, std::string& temp) {
  KeepingErrno([&] { RemoveLeftOverTemporaries(target); });
  for (int attempt = 0; attempt < 16; ++attempt) {
    temp = TempNameFor(target);
    if (!Allowed(FileSystem::Call::kCreate, temp)) return -1;
    std::lock_guard<std::mutex> hold(g_writing_mutex);
    const int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    if (fd >= 0) g_writing.insert(temp);
    if (fd >= 0 || errno != EEXIST) return fd;
  }
  return -1;
}

void SyncFolderOf(const std::string& target) {
  size_t slash = target.rfind('/');
  std::string folder = slash == std::string::npos ? std::string(".")
                       : slash == 0               ? std::string("/")
                                                  : target.substr(0, slash);
  int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd >= 0) {
    ::fsync(fd);
    ::close(fd);
  }
}

// Writes a temporary file through `fill`, flushes it and renames it over `target`.
template <typename Fill>
bool Replace(const std::string& target, mode_t mode, Fill&& fill) {
  if (target.empty() || target.back() == '/') {
    errno = EINVAL;
    return false;
  }
  struct stat existing {};
  if (::stat(target.c_str(), &existing) == 0) {
    if (!S_ISREG(existing.st_mode)) {
      errno = EISDIR;
      return false;
    }
    // A save never widens who may read or write the file; it only makes it the owner's to
    // write, as the platform's "attributes normal" does.
    mode = (existing.st_mode & 0777) | S_IWUSR;
  }
  std::string temp;
  const int fd = CreateTemporaryOf(target, 0600, temp);
  if (fd < 0) return false;
  struct Written {
    const std::string& temp;
    ~Written() {
      std::lock_guard<std::mutex> hold(g_writing_mutex);
      g_writing.erase(temp);
    }
  } written{temp};
  bool ok = ::fchmod(fd, mode) == 0 && fill(fd, temp) && Allowed(FileSystem::Call::kSync, temp) &&
            ::fsync(fd) == 0;
  if (::close(fd) != 0) ok = false;
  if (ok)
    ok = Allowed(FileSystem::Call::kRename, target) && ::rename(temp.c_str(), target.c_str()) == 0;
  if (!ok) {
    // A crash leaves its temporary file, as a dead process would; anything else cleans up.
    if (!g_crashed.load()) KeepingErrno([&] { ::unlink(temp.c_str()); });
    return false;
  }
  SyncFolderOf(target);
  return true;
}

}  // namespace

void FileSystem::SetFaultHook(FaultHook hook, void* context) {
  g_hook_context = context;
  g_hook = hook;
  g_crashed = false;
}

bool FileSystem::ReplaceContents(const std::string& target, std::string_view bytes, mode_t mode) {
  return Replace(target, mode,
                 [&](int fd, const std::string& temp) { return WriteAll(fd, temp, bytes); });
}

int FileSystem::OpenRegularForReading(const std::string& path, struct stat& info) {
  // Without O_NONBLOCK, opening a FIFO waits for a writer, and the file's type is only known
  // once it is open. Regular files ignore the flag; it is cleared before any read.
  int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (fd < 0) return -1;
  int flags = -1;
  if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
    errno = EINVAL;
  } else if ((flags = ::fcntl(fd, F_GETFL)) >= 0 &&
             ::fcntl(fd, F_SETFL, flags & ~O_NONBLOCK) == 0) {
    return fd;
  }
  KeepingErrno([&] { ::close(fd); });
  return -1;
}

bool FileSystem::ReplaceWithCopy(const std::string& source, const std::string& target,
                                 mode_t mode) {
  struct stat info {};
  int from = OpenRegularForReading(source, info);
  if (from < 0) return false;
  bool ok = Replace(target, mode, [&](int fd, const std::string& temp) {
    char buffer[64 * 1024];
    for (;;) {
      ssize_t got = ::read(from, buffer, sizeof buffer);
      if (got == 0) return true;
      if (got < 0) {
        if (errno == EINTR) continue;
        return false;
      }
      if (!WriteAll(fd, temp, std::string_view(buffer, static_cast<size_t>(got)))) return false;
    }
  });
  KeepingErrno([&] { ::close(from); });
  return ok;
}

bool FileSystem::Rename(const std::string& from, const std::string& to, bool replace) {
  if (!Allowed(Call::kRename, to)) return false;
  if (replace) return ::rename(from.c_str(), to.c_str()) == 0;
  if (::syscall(SYS_renameat2, AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) ==
      0) {
    return true;
  }
  if (errno != EINVAL && errno != ENOSYS) return false;
  // A file system without the no-replace rename: a hard link refuses an existing name too.
  if (::link(from.c_str(), to.c_str()) != 0) return false;
  KeepingErrno([&] { ::unlink(from.c_str()); });
  return true;
}

bool FileSystem::Remove(const std::string& path) {
  if (!Allowed(Call::kRemove, path)) return false;
  return ::unlink(path.c_str()) == 0 || errno == ENOENT;
}

bool FileSystem::CreateEmpty(const std::string& path, mode_t mode) {
  if (!Allowed(Call::kCreate, path)) return false;
  int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, mode);
  if (fd < 0) return false;
  ::fchmod(fd, mode);  // exactly `mode`, whatever the umask took away
  ::close(fd);
  SyncFolderOf(path);
  return true;
}

std::string FileSystem::CreateTemporary(const std::string& target, mode_t mode) {
  std::string temp;
  const int fd = CreateTemporaryOf(target, mode, temp);
  if (fd < 0) return {};
  ::close(fd);
  return temp;
}

void FileSystem::EndTemporary(const std::string& temp) {
  std::lock_guard<std::mutex> hold(g_writing_mutex);
  g_writing.erase(temp);
}

}  // namespace vk
