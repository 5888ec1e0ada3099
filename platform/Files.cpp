// Files and folders over POSIX calls. Paths arrive as UTF-16 and go to the OS as UTF-8.
#include "platform/Files.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <vector>

#include "platform/Assert.h"
#include "platform/Log.h"
#include "platform/ReadableFile.h"
#include "platform/Text.h"
#include "runtime/FileSystem.h"
#include "runtime/UserBaseFolder.h"
#include "vaultkit/vkcom.h"

namespace vk {
namespace {

std::string Env(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? std::string(value) : std::string();
}

// Leaves "<path>: <reason>" in the thread's error object for the client to read.
void RecordFileError(std::u16string_view path) {
  std::string reason = std::strerror(errno);
  SetErrorDescription(std::u16string(path) + u": " + FromUtf8(reason));
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
  if (::mkdir(native.c_str(), FileSystem::kPrivateFolder) == 0) {
    // The umask may have taken more than group and other bits; a folder made here is the
    // owner's alone, and an existing one is left as it is.
    ::chmod(native.c_str(), FileSystem::kPrivateFolder);
  } else if (errno != EEXIST) {
    return false;
  }
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
  std::string bytes;
  if (!ReadFileInChunks(path, [&](std::string_view chunk) {
        bytes.append(chunk);
        return true;
      })) {
    return std::nullopt;
  }
  return bytes;
}

bool ReadFileInChunks(std::u16string_view path,
                      const std::function<bool(std::string_view)>& consume) {
  ReadableFile file(path);
  if (!file.IsOpen()) return false;
  std::vector<char> chunk(kReadChunk);
  for (;;) {
    ssize_t got = file.Read(chunk.data(), chunk.size());
    if (got < 0) return false;
    if (got == 0) return true;
    if (!consume(std::string_view(chunk.data(), static_cast<size_t>(got)))) return false;
  }
}

bool WriteFileAtomically(std::u16string_view path, std::string_view bytes) {
  if (FileSystem::ReplaceContents(PathToNative(path), bytes)) return true;
  RecordFileError(path);
  return false;
}

bool ReplaceFileWithCopy(std::u16string_view source, std::u16string_view target) {
  if (FileSystem::ReplaceWithCopy(PathToNative(source), PathToNative(target))) return true;
  RecordFileError(target);
  return false;
}

bool RenameFile(std::u16string_view from, std::u16string_view to, bool replace) {
  if (FileSystem::Rename(PathToNative(from), PathToNative(to), replace)) return true;
  RecordFileError(from);
  return false;
}

bool RemoveFile(std::u16string_view path) {
  if (FileSystem::Remove(PathToNative(path))) return true;
  RecordFileError(path);
  return false;
}

bool CreatePrivateFile(std::u16string_view path) {
  if (FileSystem::CreateEmpty(PathToNative(path), 0600)) return true;
  if (errno != EEXIST) RecordFileError(path);
  return false;
}

std::u16string CreatePrivateTemporary(std::u16string_view target) {
  const std::string temp = FileSystem::CreateTemporary(PathToNative(target), 0600);
  if (temp.empty()) RecordFileError(target);
  return temp.empty() ? std::u16string() : PathFromNative(temp);
}

void EndTemporaryFile(std::u16string_view temp) {
  FileSystem::EndTemporary(PathToNative(temp));
}

void KeepDamagedCopy(std::u16string_view path) {
  std::string native = PathToNative(path);
  struct stat info {};
  if (::stat(native.c_str(), &info) != 0 || !S_ISREG(info.st_mode) || info.st_size == 0) return;
  std::time_t now = std::time(nullptr);
  std::tm local{};
  ::localtime_r(&now, &local);
  char stamp[16];
  std::strftime(stamp, sizeof stamp, "%Y%m%d%H%M%S", &local);
  const std::string prefix = native + ".damaged-";
  const std::string copy = prefix + stamp;
  // A second damaged load within the same second keeps the first copy.
  if (::access(copy.c_str(), F_OK) != 0 && !FileSystem::ReplaceWithCopy(native, copy)) {
    OutputDebugStringA(("Vaultkit: cannot keep a copy of the damaged file " + native + ": " +
                        std::strerror(errno) + "\n")
                           .c_str());
    return;
  }
  OutputDebugStringA(("Vaultkit: kept the damaged file " + native + " as " + copy + "\n").c_str());

  // The stamps sort as text: everything before the newest three goes.
  std::filesystem::path folder = std::filesystem::path(native).parent_path();
  std::string name_prefix = std::filesystem::path(prefix).filename().string();
  std::vector<std::string> copies;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
    std::string name = entry.path().filename().string();
    if (name.size() == name_prefix.size() + 14 && name.starts_with(name_prefix)) {
      copies.push_back(entry.path().string());
    }
  }
  std::sort(copies.begin(), copies.end());
  for (size_t i = 0; i + 3 < copies.size(); ++i) FileSystem::Remove(copies[i]);
}

std::optional<std::string> ReadFileRange(std::u16string_view path, int64_t offset, size_t length) {
  ReadableFile file(path);
  if (!file.IsOpen()) return std::nullopt;
  std::string bytes;
  if (offset >= 0 && offset < file.Size()) {
    auto available = static_cast<uint64_t>(file.Size() - offset);
    bytes.resize(static_cast<size_t>(std::min<uint64_t>(available, length)));
    ssize_t got = file.ReadAt(bytes.data(), bytes.size(), offset);
    bytes.resize(got > 0 ? static_cast<size_t>(got) : 0);
  }
  return bytes;
}

PathPresence ProbePath(std::u16string_view path) {
  struct stat info {};
  if (::stat(PathToNative(path).c_str(), &info) == 0) return PathPresence::kPresent;
  return errno == ENOENT ? PathPresence::kMissing : PathPresence::kUnknown;
}

bool IsFolder(std::u16string_view path) {
  struct stat info {};
  return ::stat(PathToNative(path).c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

std::vector<FolderEntry> ListFolder(std::u16string_view path) {
  std::vector<FolderEntry> entries;
  std::string native = PathToNative(path);
  DIR* dir = ::opendir(native.c_str());
  if (dir == nullptr) return entries;
  if (!native.empty() && native.back() != '/') native += '/';
  while (const dirent* entry = ::readdir(dir)) {
    std::string name = entry->d_name;
    if (name == "." || name == "..") continue;
    struct stat info {};
    bool folder = ::lstat((native + name).c_str(), &info) == 0 && S_ISDIR(info.st_mode);
    entries.push_back({PathFromNative(name), folder, name.front() == '.'});
  }
  ::closedir(dir);
  return entries;
}

}  // namespace vk

std::u16string GetFileListPath() {
  std::string root;
  char set[4096];
  if (VkGetDataRoot(set, sizeof set) == S_OK) root = set;
  if (root.empty()) root = vk::Env("VAULTKIT_DATA_ROOT");
  if (root.empty()) {
    std::string data_home = vk::UserBaseFolder("XDG_DATA_HOME", ".local/share");
    // With no home folder known at all, the default stays rooted at "/" as it always was.
    root = (data_home.empty() ? std::string("/.local/share") : data_home) + "/vaultkit";
  }
  std::u16string path = vk::PathFromNative(root);
  if (path.empty() || path.back() != vk::kSep) path += vk::kSep;
  return path;
}

bool IsPlainName(std::u16string_view name) {
  if (name.empty() || name == u"." || name == u"..") return false;
  return name.find_first_of(std::u16string_view(u"/\\\0", 3)) == std::u16string_view::npos;
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
