#include "tools/vaultkit/cli/ScratchCopy.h"

#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <vector>

#include "tools/vaultkit/cli/Command.h"

namespace vk::cli {
namespace {

namespace fs = std::filesystem;

constexpr char kDamagedMark[] = ".damaged-";

// Copies a regular file, or the regular file a link names (so that nothing the run writes can
// reach the link's target); anything else (a FIFO, a device, a dangling link) is left out, as
// the stores would refuse to read it.
void CopyRegular(const fs::path& from, const fs::path& to) {
  std::error_code ec;
  if (!fs::is_regular_file(fs::status(from, ec))) return;
  fs::copy_file(from, to, fs::copy_options::overwrite_existing, ec);
  if (ec) throw Failure{"cannot copy " + from.string() + " for reading: " + ec.message()};
}

void CopyFolder(const fs::path& from, const fs::path& to) {
  std::error_code ec;
  if (!fs::is_directory(fs::symlink_status(from, ec))) return;
  fs::create_directories(to, ec);
  if (ec) throw Failure{"cannot make the scratch folder " + to.string() + ": " + ec.message()};
  for (fs::recursive_directory_iterator it(from, ec), end; !ec && it != end; it.increment(ec)) {
    const fs::path target = to / fs::relative(it->path(), from);
    if (it->is_directory() && !it->is_symlink()) {
      fs::create_directories(target, ec);
    } else {
      CopyRegular(it->path(), target);
    }
  }
  if (ec) throw Failure{"cannot read " + from.string() + ": " + ec.message()};
}

// The bytes of the regular files below a folder.
uintmax_t FolderBytes(const fs::path& folder) {
  uintmax_t bytes = 0;
  std::error_code ec;
  for (fs::recursive_directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
    if (it->is_regular_file(ec)) bytes += it->file_size(ec);
  }
  return bytes;
}

// Where the copy is made: in TMPDIR when the user chose one; else in a memory-backed folder
// (the session's runtime folder, then /dev/shm) that has room for it twice over, as the load
// writes and syncs its databases in the copy, which costs a disk some 40 ms per command for
// nothing the user keeps; else in /tmp.
std::string ScratchParent(uintmax_t bytes) {
  if (const char* tmp = std::getenv("TMPDIR"); tmp != nullptr && *tmp) return tmp;
  const char* runtime = std::getenv("XDG_RUNTIME_DIR");
  for (const char* folder : {runtime, "/dev/shm"}) {
    struct statvfs room {};
    if (folder == nullptr || *folder == '\0' || ::access(folder, W_OK | X_OK) != 0 ||
        ::statvfs(folder, &room) != 0) {
      continue;
    }
    const uintmax_t free = static_cast<uintmax_t>(room.f_bavail) * room.f_frsize;
    if (free / 2 > bytes + (16u << 20)) return folder;
  }
  return "/tmp";
}

}  // namespace

ScratchCopy::ScratchCopy(const std::string& data_root, const std::string& account)
    : folder_("Accounts/" + (account.empty() ? std::string("0") : account)) {
  const fs::path source(data_root);
  // The load opens the default folder's stores before the account's: with their files in
  // the copy, it reads them instead of making new ones.
  std::vector<std::string> folders = {folder_};
  if (folder_ != "Accounts/0") folders.push_back("Accounts/0");
  uintmax_t bytes = 0;
  for (const std::string& folder : folders) bytes += FolderBytes(source / folder);
  std::string pattern = ScratchParent(bytes) + "/vaultkit-read-XXXXXX";
  // mkdtemp makes the folder 0700: the copy of the account is its owner's alone.
  if (::mkdtemp(pattern.data()) == nullptr) {
    throw Failure{"cannot make a scratch folder in " + pattern + ": " + std::strerror(errno)};
  }
  root_ = pattern + "/";
  try {
    for (const std::string& folder : folders) CopyFolder(source / folder, root_ + folder);
    fs::create_directories(root_ + "Accounts");
    CopyRegular(source / "Accounts" / "wez.cfg", root_ + "Accounts/wez.cfg");
    damaged_before_ = DamagedCopies();
  } catch (...) {
    // A copy that could not be finished (a full folder, an unreadable file) goes at once: no
    // destructor runs for an object whose construction failed.
    std::error_code ec;
    fs::remove_all(root_, ec);
    throw;
  }
}

ScratchCopy::~ScratchCopy() {
  std::error_code ec;
  fs::remove_all(root_, ec);
}

std::set<std::string> ScratchCopy::DamagedCopies() const {
  std::set<std::string> copies;
  std::error_code ec;
  const fs::path folder = root_ + folder_;
  for (fs::recursive_directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
    const std::string relative = fs::relative(it->path(), folder).string();
    if (relative.find(kDamagedMark) != std::string::npos) copies.insert(relative);
  }
  return copies;
}

std::vector<std::string> ScratchCopy::NewlyDamaged() const {
  std::set<std::string> files;
  for (const std::string& copy : DamagedCopies()) {
    if (!damaged_before_.contains(copy)) files.insert(copy.substr(0, copy.rfind(kDamagedMark)));
  }
  return {files.begin(), files.end()};
}

}  // namespace vk::cli
