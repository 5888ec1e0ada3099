// An option file (User.cfg, wez.cfg): UTF-16LE behind its FF FE mark, the form in which the
// profile functions keep it wide and in which it moves between the client's platforms.
#pragma once

#include <string>

#include "tools/vaultkit/check/FileCheck.h"

namespace vk::cli {

class OptionFileCheck : public FileCheck {
 public:
  // `file` relative to the folder the check runs on; `absent`: when the module creates it.
  OptionFileCheck(std::string file, std::string absent);
  FileReport Run(const std::filesystem::path& folder, const std::string& account) const override;

 private:
  std::string file_;
  std::string absent_;
};

}  // namespace vk::cli
