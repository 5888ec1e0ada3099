#include "tools/vaultkit/cli/InstallLayout.h"

#include <cstdlib>
#include <filesystem>

namespace vk::cli {

namespace fs = std::filesystem;

std::string InstallLayout::SelfFolder() {
  std::error_code ec;
  fs::path self = fs::read_symlink("/proc/self/exe", ec);
  return ec ? std::string(".") : self.parent_path().string();
}

bool InstallLayout::InBuildTree() {
  std::error_code ec;
  return fs::equivalent("/proc/self/exe", VK_BUILD_BINARY, ec);
}

std::string InstallLayout::ComponentPath() {
  if (const char* path = std::getenv("VAULTKIT_COMPONENT"); path != nullptr && *path) return path;
  if (InBuildTree()) return VK_COMPONENT_PATH;
  return (fs::path(SelfFolder()) / VK_BIN_TO_LIB / "libvaultkit.so").lexically_normal().string();
}

std::string InstallLayout::SamplesDir() {
  if (InBuildTree()) return VK_SAMPLES_DIR;
  return (fs::path(SelfFolder()) / VK_BIN_TO_SAMPLES).lexically_normal().string();
}

}  // namespace vk::cli
