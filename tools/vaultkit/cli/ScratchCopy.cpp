#include "tools/vaultkit/cli/ScratchCopy.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

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

}  // namespace

ScratchCopy::ScratchCopy(const std::string& data_root, const std::string& account)
    : folder_("Accounts/" + (account.empty() ? std::string("0") : account)) {
  const char* tmp = std::getenv("TMPDIR");
  std::string pattern =
      std::string(tmp != nullptr && *tmp ? tmp : "/tmp") + "/vaultkit-read-XXXXXX";
  // mkdtemp makes the folder 0700: the copy of the account is its owner's alone.
  if (::mkdtemp(pattern.data()) == nullptr) {
    throw Failure{"cannot make a scratch folder in " + pattern + ": " + std::strerror(errno)};
  }
  root_ = pattern + "/";
  const fs::path source(data_root);
  CopyFolder(source / folder_, root_ + folder_);
  fs::create_directories(root_ + "Accounts");
  CopyRegular(source / "Accounts" / "wez.cfg", root_ + "Accounts/wez.cfg");
  damaged_before_ = DamagedCopies();
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
