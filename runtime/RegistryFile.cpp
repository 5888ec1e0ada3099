#include "runtime/RegistryFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <mutex>

#include "runtime/FileSystem.h"
#include "runtime/UserBaseFolder.h"

namespace vk {
namespace {

// Serialises writers inside the process; a lock on the registry's folder serialises
// processes registering at the same time (installers, tests).
std::mutex& WriteMutex() {
  static std::mutex mutex;
  return mutex;
}

bool IsBlank(char c) {
  return c == ' ' || c == '\t';
}

std::string_view NextToken(std::string_view& rest) {
  size_t start = 0;
  while (start < rest.size() && IsBlank(rest[start])) ++start;
  size_t end = start;
  while (end < rest.size() && !IsBlank(rest[end])) ++end;
  std::string_view token = rest.substr(start, end - start);
  rest.remove_prefix(end);
  return token;
}

std::string_view Trim(std::string_view text) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  return text;
}

bool ParseGuid(std::string_view text, CLSID* clsid) {
  return text.size() == 38 && VkGuidFromString(std::string(text).c_str(), clsid);
}

struct ClassLine {
  CLSID clsid;
  std::string_view library;
};
struct ProgIdLine {
  std::string_view name;
  CLSID clsid;
};

std::optional<ClassLine> ParseClassLine(std::string_view line) {
  ClassLine parsed{};
  if (NextToken(line) != "clsid" || !ParseGuid(NextToken(line), &parsed.clsid)) return {};
  parsed.library = Trim(line);
  if (!RegistryFile::IsValidLibraryPath(parsed.library)) return {};
  return parsed;
}

std::optional<ProgIdLine> ParseProgIdLine(std::string_view line) {
  ProgIdLine parsed{};
  if (NextToken(line) != "progid") return {};
  parsed.name = NextToken(line);
  if (!RegistryFile::IsValidProgId(parsed.name) || !ParseGuid(NextToken(line), &parsed.clsid) ||
      !Trim(line).empty()) {
    return {};
  }
  return parsed;
}

bool SameProgId(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    if (lower(a[i]) != lower(b[i])) return false;
  }
  return true;
}

HRESULT ErrnoStatus() {
  return errno == EACCES || errno == EPERM || errno == EROFS ? E_ACCESSDENIED : E_FAIL;
}

// Holds an exclusive lock on a folder while alive.
class FolderLock {
 public:
  explicit FolderLock(const std::string& folder)
      : fd_(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    if (fd_ >= 0) {
      while (flock(fd_, LOCK_EX) != 0 && errno == EINTR) {
      }
    }
  }
  ~FolderLock() {
    if (fd_ >= 0) close(fd_);
  }
  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;

 private:
  int fd_;
};

}  // namespace

std::string RegistryFile::Locate() {
  const char* explicit_path = std::getenv("VAULTKIT_REGISTRY");
  if (explicit_path != nullptr && explicit_path[0] != '\0') return explicit_path;
  std::string config = UserBaseFolder("XDG_CONFIG_HOME", ".config");
  if (config.empty()) return {};
  return config + "/vaultkit/registry";
}

bool RegistryFile::IsValidProgId(std::string_view prog_id) {
  if (prog_id.empty()) return false;
  for (char c : prog_id) {
    if (static_cast<unsigned char>(c) <= ' ' || c == 0x7F) return false;
  }
  return true;
}

// Libraries are registered by absolute path so that loading never depends on the search
// path of the process that creates the class.
bool RegistryFile::IsValidLibraryPath(std::string_view path) {
  return !path.empty() && path.front() == '/' &&
         path.find_first_of(std::string_view("\0\r\n", 3)) == std::string_view::npos;
}

std::vector<std::string> RegistryFile::ReadLines() const {
  // Opened through the file seam, which never waits on a FIFO in the file's place; a file that
  // cannot be opened or read holds no lines.
  std::string text;
  struct stat info {};
  const int fd = FileSystem::OpenRegularForReading(path_, info);
  if (fd >= 0) {
    char buffer[4096];
    ssize_t got;
    while ((got = read(fd, buffer, sizeof buffer)) > 0 || (got < 0 && errno == EINTR)) {
      if (got > 0) text.append(buffer, static_cast<size_t>(got));
    }
    close(fd);
  }
  std::vector<std::string> lines;
  for (size_t start = 0; start < text.size();) {
    size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    std::string line = text.substr(start, end - start);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    lines.push_back(std::move(line));
    start = end + 1;
  }
  return lines;
}

std::optional<std::string> RegistryFile::FindLibrary(const CLSID& clsid) const {
  std::optional<std::string> library;
  for (const std::string& line : ReadLines()) {
    std::optional<ClassLine> parsed = ParseClassLine(line);
    if (parsed && IsEqualGUID(&parsed->clsid, &clsid)) library = std::string(parsed->library);
  }
  return library;
}

std::optional<CLSID> RegistryFile::FindProgId(std::string_view prog_id) const {
  std::optional<CLSID> clsid;
  for (const std::string& line : ReadLines()) {
    std::optional<ProgIdLine> parsed = ParseProgIdLine(line);
    if (parsed && SameProgId(parsed->name, prog_id)) clsid = parsed->clsid;
  }
  return clsid;
}

HRESULT RegistryFile::Register(const CLSID& clsid, std::string_view prog_id,
                               std::string_view library) const {
  if (path_.empty() || !IsValidLibraryPath(library) ||
      (!prog_id.empty() && !IsValidProgId(prog_id))) {
    return E_INVALIDARG;
  }
  std::lock_guard<std::mutex> guard(WriteMutex());
  std::filesystem::path folder = std::filesystem::path(path_).parent_path();
  if (folder.empty()) folder = ".";
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  if (error)
    return error == std::errc::permission_denied || error == std::errc::read_only_file_system
               ? E_ACCESSDENIED
               : E_FAIL;
  FolderLock lock(folder.string());

  char text[39];
  VkGuidToString(&clsid, text);
  std::string contents;
  for (const std::string& line : ReadLines()) {
    std::optional<ClassLine> class_line = ParseClassLine(line);
    if (class_line && IsEqualGUID(&class_line->clsid, &clsid)) continue;
    std::optional<ProgIdLine> prog_id_line = ParseProgIdLine(line);
    if (prog_id_line && !prog_id.empty() && SameProgId(prog_id_line->name, prog_id)) continue;
    contents += line + "\n";
  }
  contents += "clsid " + std::string(text) + " " + std::string(library) + "\n";
  if (!prog_id.empty()) contents += "progid " + std::string(prog_id) + " " + text + "\n";
  return Write(contents);
}

HRESULT RegistryFile::Write(const std::string& contents) const {
  return FileSystem::ReplaceContents(path_, contents, 0644) ? S_OK : ErrnoStatus();
}

}  // namespace vk
