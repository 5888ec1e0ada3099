#pragma once

#include "tools/vaultkit/Command.h"
#include "tools/vaultkit/Json.h"
#include "vaultkit/vaultkit.h"

namespace vk::cli {

// options get|set|list|get-struct|set-struct on the global option store (wez.cfg) or, with
// --user, on the account's User.cfg.
class OptionsCommand : public Command {
 public:
  const char* Name() const override { return "options"; }
  const char* Summary() const override { return "read and write wez.cfg and User.cfg options"; }
  const char* Help() const override;
  int Run(Host& host, const std::vector<std::string>& args) override;

 private:
  int List(const std::u16string& path, bool json);
  static void Print(bool json, const std::string& key, const Json& value);
};

}  // namespace vk::cli
