#pragma once

#include "tools/vaultkit/Command.h"

namespace vk::cli {

// inspect FILE: the plain XML of an enciphered profile file.
class DecipherCommand : public Command {
 public:
  const char* Name() const override { return "inspect"; }
  const char* Summary() const override {
    return "print an enciphered .dat file as plain XML, with the key of its folder";
  }
  const char* Help() const override;
  int Run(Host& host, const std::vector<std::string>& args) override;
};

}  // namespace vk::cli
