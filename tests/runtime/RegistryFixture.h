// Points the registry at a fresh file in a temporary folder for the length of a test, and
// puts the registry's environment back afterwards.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>

#include "vaultkit/vkcom.h"

class RegistryFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const char* name : kVariables) {
      const char* value = getenv(name);
      saved_.push_back(value ? std::optional<std::string>(value) : std::nullopt);
    }
    std::string pattern = (std::filesystem::temp_directory_path() / "vkcom-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    root_ = pattern;
    path_ = root_ / "config" / "vaultkit" / "registry";
    setenv("VAULTKIT_REGISTRY", path_.c_str(), 1);
  }

  void TearDown() override {
    for (size_t i = 0; i < saved_.size(); ++i) {
      if (saved_[i]) {
        setenv(kVariables[i], saved_[i]->c_str(), 1);
      } else {
        unsetenv(kVariables[i]);
      }
    }
    std::error_code ignored;
    std::filesystem::permissions(root_, std::filesystem::perms::owner_all, ignored);
    std::filesystem::remove_all(root_, ignored);
  }

  std::string ReadRegistry() const {
    std::ifstream in(path_, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
  }

  void WriteRegistry(const std::string& text) const {
    std::filesystem::create_directories(path_.parent_path());
    std::ofstream(path_, std::ios::binary) << text;
  }

  static std::string Text(const GUID& guid) {
    char text[39];
    VkGuidToString(&guid, text);
    return text;
  }

  std::filesystem::path root_;
  std::filesystem::path path_;

 private:
  static constexpr const char* kVariables[] = {"VAULTKIT_REGISTRY", "XDG_CONFIG_HOME", "HOME"};
  std::vector<std::optional<std::string>> saved_;
};
