// An enciphered profile file (WEZProfile.dat, WEZProfilePro.dat) and its plain companion, read
// as the stores' load reads them: the companion first when it exists, else the file deciphered
// with the key of the account's name, as UTF-16 text and then as ANSI text.
#pragma once

#include <string>

#include "tools/vaultkit/check/FileCheck.h"

namespace vk::cli {

class EncipheredFileCheck : public FileCheck {
 public:
  // `store` names the store ("the profile store"); `repairs_companion`: the store replaces
  // stray control bytes of a companion that does not parse and reads it again.
  EncipheredFileCheck(std::string file, std::string store, bool repairs_companion,
                      std::string absent);
  FileReport Run(const std::filesystem::path& account_folder,
                 const std::string& account) const override;

 private:
  void CheckCompanion(const std::filesystem::path& companion, FileReport& report) const;

  std::string file_;
  std::string store_;
  bool repairs_companion_;
  std::string absent_;
};

}  // namespace vk::cli
