#include "tools/vaultkit/check/CheckedFile.h"

#include "platform/Files.h"

namespace vk::cli {

CheckedFile::CheckedFile(std::filesystem::path path) : path_(std::move(path)) {
  std::error_code ec;
  // The path itself, not what a link points to: a dangling link is damage, not absence.
  std::filesystem::file_status link = std::filesystem::symlink_status(path_, ec);
  if (ec && ec != std::errc::no_such_file_or_directory) {
    reason_ = "cannot be examined (" + ec.message() + ")";
    return;
  }
  if (link.type() == std::filesystem::file_type::not_found) {
    state_ = State::kMissing;
    return;
  }
  std::filesystem::file_status target = std::filesystem::status(path_, ec);
  if (ec) {
    reason_ = ec == std::errc::no_such_file_or_directory
                  ? "is a link to a file that is not there"
                  : "cannot be examined (" + ec.message() + ")";
  } else if (target.type() == std::filesystem::file_type::regular) {
    state_ = State::kFile;
    size_ = std::filesystem::file_size(path_, ec);
    if (ec) size_ = 0;
  } else {
    state_ = State::kOther;
    reason_ = target.type() == std::filesystem::file_type::directory ? "is a folder, not a file"
                                                                     : "is not a regular file";
  }
}

std::u16string CheckedFile::Path16() const {
  return PathFromNative(path_.string());
}

bool CheckedFile::IsFile(FileReport& report, const std::string& consequence) const {
  if (state_ == State::kFile) return true;
  report.Problem(report.file + " " + (Missing() ? "is missing" : reason_) + ": " + consequence);
  return false;
}

std::optional<std::string> CheckedFile::Read(FileReport& report,
                                             const std::string& consequence) const {
  if (!IsFile(report, consequence)) return std::nullopt;
  if (size_ > kMaxWholeRead) {
    report.Problem(report.file + " is " + std::to_string(size_) +
                   " bytes, far more than such a file holds: " + consequence);
    return std::nullopt;
  }
  std::optional<std::string> bytes = ReadWholeFile(Path16());
  if (!bytes) report.Problem(report.file + " cannot be read: " + consequence);
  return bytes;
}

}  // namespace vk::cli
