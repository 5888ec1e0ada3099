// Files and folders over POSIX calls. Paths arrive as UTF-16 and go to the OS as UTF-8.
#include "platform/Files.h"

#include <fcntl.h>
#include <pwd.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <random>

#include "platform/Text.h"

namespace vk {
namespace {

std::string Env(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? std::string(value) : std::string();
}

bool WriteAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
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

}  // namespace

std::u16string NormalizeSeparators(std::u16string_view path) {
  std::u16string out(path);
  for (char16_t& c : out) {
    if (c == u'\\') c = kSep;
  }
  return out;
}

std::string PathToNative(std::u16string_view path) {
  return ToUtf8(path);
}

std::u16string PathFromNative(std::string_view path) {
  return FromUtf8(path);
}

bool CreateFolder(std::u16string_view path) {
  std::string native = PathToNative(path);
  if (native.empty()) return false;
  if (::mkdir(native.c_str(), 0777) != 0 && errno != EEXIST) return false;
  struct stat info {};
  return ::stat(native.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool CreateFolders(std::u16string_view path) {
  std::u16string full = NormalizeSeparators(path);
  while (full.size() > 1 && full.back() == kSep) full.pop_back();
  if (full.empty()) return false;
  for (size_t next = full.find(kSep, 1); next != std::u16string::npos;
       next = full.find(kSep, next + 1)) {
    if (full[next - 1] == kSep) continue;  // repeated separator
    CreateFolder(std::u16string_view(full).substr(0, next));
  }
  return CreateFolder(full);
}

void SetFileAttributesNormal(std::u16string_view path) {
  std::string native = PathToNative(path);
  struct stat info {};
  if (::stat(native.c_str(), &info) != 0) return;
  if ((info.st_mode & S_IWUSR) == 0) ::chmod(native.c_str(), (info.st_mode & 07777) | S_IWUSR);
}

std::optional<std::string> ReadWholeFile(std::u16string_view path) {
  std::string native = PathToNative(path);
  int fd = ::open(native.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return std::nullopt;
  struct stat info {};
  if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
    ::close(fd);
    return std::nullopt;
  }
  std::string bytes;
  char chunk[65536];
  for (;;) {
    ssize_t got = ::read(fd, chunk, sizeof chunk);
    if (got < 0) {
      if (errno == EINTR) continue;
      ::close(fd);
      return std::nullopt;
    }
    if (got == 0) break;
    bytes.append(chunk, static_cast<size_t>(got));
  }
  ::close(fd);
  return bytes;
}

bool WriteFileAtomically(std::u16string_view path, std::string_view bytes) {
  std::string target = PathToNative(path);
  if (target.empty() || target.back() == '/') return false;
  struct stat existing {};
  bool had_target = ::stat(target.c_str(), &existing) == 0;
  if (had_target && !S_ISREG(existing.st_mode)) return false;

  std::string temp;
  int fd = -1;
  for (int attempt = 0; attempt < 16 && fd < 0; ++attempt) {
    temp = TempNameFor(target);
    fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0 && errno != EEXIST) return false;
  }
  if (fd < 0) return false;
  // The replacement keeps the permissions of the file it replaces.
  bool ok = (!had_target || ::fchmod(fd, existing.st_mode & 07777) == 0) && WriteAll(fd, bytes) &&
            ::fsync(fd) == 0;
  ok = ::close(fd) == 0 && ok;
  if (ok) ok = ::rename(temp.c_str(), target.c_str()) == 0;
  if (!ok) {
    ::unlink(temp.c_str());
    return false;
  }
  SyncFolderOf(target);
  return true;
}

bool MoveFileNoReplace(std::u16string_view from, std::u16string_view to) {
  const std::string source = PathToNative(from);
  const std::string target = PathToNative(to);
  if (source.empty() || target.empty()) return false;
  if (::renameat2(AT_FDCWD, source.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0) {
    SyncFolderOf(target);
    return true;
  }
  // Some file systems do not offer the no-replace rename: a hard link fails the same way when
  // the new name exists. Folders cannot be linked and stay where they are.
  if (errno != EINVAL && errno != ENOSYS) return false;
  if (::link(source.c_str(), target.c_str()) != 0) return false;
  if (::unlink(source.c_str()) != 0) {
    ::unlink(target.c_str());
    return false;
  }
  SyncFolderOf(target);
  return true;
}

}  // namespace vk

std::u16string GetFileListPath() {
  std::string root = vk::Env("VAULTKIT_DATA_ROOT");
  if (root.empty()) {
    std::string data_home = vk::Env("XDG_DATA_HOME");
    // Relative values of the XDG variables are to be ignored.
    if (data_home.empty() || data_home.front() != '/') {
      std::string home = vk::Env("HOME");
      if (home.empty()) {
        const passwd* entry = ::getpwuid(::getuid());
        if (entry != nullptr && entry->pw_dir != nullptr) home = entry->pw_dir;
      }
      data_home = home + "/.local/share";
    }
    root = data_home + "/vaultkit";
  }
  std::u16string path = vk::PathFromNative(root);
  if (path.empty() || path.back() != vk::kSep) path += vk::kSep;
  return path;
}

std::u16string LimitFileFind(std::u16string_view path) {
  std::u16string out;
  out.reserve(path.size());
  for (char16_t c : path) {
    if (c == u'\\') c = vk::kSep;
    if (c == vk::kSep && !out.empty() && out.back() == vk::kSep) continue;
    out += c;
  }
  return out;
}

bool IsFileExist(std::u16string_view path) {
  if (path.empty()) return false;
  struct stat info {};
  return ::stat(vk::PathToNative(path).c_str(), &info) == 0;
}
