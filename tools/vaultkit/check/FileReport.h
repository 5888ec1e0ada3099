// What `vaultkit check` found in one file of an account folder: each problem says what is
// wrong and what the store will do about it, in the store's own terms.
#pragma once

#include <string>
#include <vector>

namespace vk::cli {

struct FileReport {
  enum class Status { kOk, kAbsent, kDamaged };

  FileReport(std::string file_name, std::string file_kind)
      : file(std::move(file_name)), kind(std::move(file_kind)) {}

  std::string file;  // relative to the account folder ("PortalIcon/EPortal.xml")
  std::string kind;  // "SQLite", "XML", "enciphered XML", "option file", "offline messages"
  bool absent = false;
  std::vector<std::string> problems;  // damage: the store will not read it as it stands
  std::vector<std::string> notes;     // worth knowing, but the store copes as designed

  void Problem(std::string text) { problems.push_back(std::move(text)); }
  void Note(std::string text) { notes.push_back(std::move(text)); }
  Status GetStatus() const {
    return !problems.empty() ? Status::kDamaged : absent ? Status::kAbsent : Status::kOk;
  }
};

}  // namespace vk::cli
