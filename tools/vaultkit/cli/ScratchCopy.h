// A private copy of what a command that only reads lets the component touch: the data root's
// wez.cfg, the account folder and the default folder "0" (whose stores the load opens). The
// component's load and account change write by contract (templates, option files, the databases'
// roots, damaged files set aside, the log); run on the copy, they never reach the user's files.
#pragma once

#include <set>
#include <string>
#include <vector>

namespace vk::cli {

class ScratchCopy {
 public:
  // Copies into a new private folder; throws Failure when that cannot be done. A data root or
  // account folder that does not exist is not created: the copy starts empty.
  ScratchCopy(const std::string& data_root, const std::string& account);
  ~ScratchCopy();
  ScratchCopy(const ScratchCopy&) = delete;
  ScratchCopy& operator=(const ScratchCopy&) = delete;

  // The copy's data root, ending in '/'.
  const std::string& DataRoot() const { return root_; }
  // The account folder's files that the run set aside as damaged (relative to the folder,
  // e.g. "UserGrid.xml"): the client would start them from an empty template.
  std::vector<std::string> NewlyDamaged() const;

 private:
  std::set<std::string> DamagedCopies() const;

  std::string root_;
  std::string folder_;  // the copied account folder, relative to root_
  std::set<std::string> damaged_before_;
};

}  // namespace vk::cli
