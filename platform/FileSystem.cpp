#include "platform/FileSystem.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <random>

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

// A fresh name beside the target; the leading dot keeps it out of folder listings.
std::string TempNameFor(const std::string& target) {
  static std::atomic<unsigned> counter{0};
  thread_local std::mt19937 random{std::random_device{}()};
  size_t slash = target.rfind('/');
  std::string folder = slash == std::string::npos ? std::string() : target.substr(0, slash + 1);
  std::string name = slash == std::string::npos ? target : target.substr(slash + 1);
  return folder + "." + name + ".tmp" + std::to_string(::getpid()) + "_" +
         std::to_string(counter.fetch_add(1)) + "_" + std::to_string(random() % 1000000);
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
    mode = existing.st_mode & 07777;
  }
  std::string temp;
  int fd = -1;
  for (int attempt = 0; attempt < 16 && fd < 0; ++attempt) {
    temp = TempNameFor(target);
    if (!Allowed(FileSystem::Call::kCreate, temp)) return false;
    fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (fd < 0 && errno != EEXIST) return false;
  }
  if (fd < 0) return false;
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

bool FileSystem::ReplaceWithCopy(const std::string& source, const std::string& target,
                                 mode_t mode) {
  int from = ::open(source.c_str(), O_RDONLY | O_CLOEXEC);
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

}  // namespace vk
