#include "tools/vaultkit/check/AccessCheck.h"

#include <cstdio>

namespace vk::cli {
namespace {

namespace fs = std::filesystem;

std::string Octal(fs::perms perms) {
  char text[8];
  std::snprintf(text, sizeof text, "%04o", static_cast<unsigned>(perms) & 07777);
  return text;
}

// Adds a problem when `path` (not what a link points to) may be written by others.
void Examine(const fs::path& path, const std::string& name, FileReport& report) {
  std::error_code ec;
  const fs::file_status status = fs::symlink_status(path, ec);
  if (ec || status.type() == fs::file_type::symlink) return;
  const fs::perms others = fs::perms::group_write | fs::perms::others_write;
  if ((status.permissions() & others) == fs::perms::none) return;
  const bool folder = status.type() == fs::file_type::directory;
  report.Problem(name + " (mode " + Octal(status.permissions()) + ") may be " +
                 (folder ? "changed" : "written") + " by other local users: " +
                 (folder ? "they can replace any file in it" : "they can rewrite it") +
                 "; the component never widens it; `chmod go-w` makes it private again");
}

}  // namespace

FileReport AccessCheck::Run(const fs::path& folder, const std::string&) const {
  FileReport report{".", "access"};
  Examine(folder, "the folder itself", report);
  std::error_code ec;
  for (fs::recursive_directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
    Examine(it->path(), fs::relative(it->path(), folder, ec).string(), report);
  }
  if (ec) report.Note("not every entry could be listed (" + ec.message() + ")");
  return report;
}

}  // namespace vk::cli
