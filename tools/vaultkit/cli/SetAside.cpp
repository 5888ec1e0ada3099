#include "tools/vaultkit/cli/SetAside.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <filesystem>

#include "runtime/FileSystem.h"
#include "tools/vaultkit/cli/Command.h"

namespace vk::cli {

std::string SetAside(const std::string& file, const std::string& folder, const std::string& name) {
  std::time_t now = std::time(nullptr);
  std::tm local{};
  ::localtime_r(&now, &local);
  char stamp[16];
  std::strftime(stamp, sizeof stamp, "%Y%m%d%H%M%S", &local);
  const std::string copy = folder + "/" + name + ".removed-" + stamp;
  if (!FileSystem::ReplaceWithCopy(file, copy)) {
    throw Failure{"cannot keep a copy of " + file + " as " + copy + ": " + std::strerror(errno) +
                  "; nothing was changed"};
  }
  return copy;
}

std::vector<std::string> RegularFiles(const std::string& folder) {
  std::vector<std::string> files;
  std::error_code ec;
  for (const auto& entry : std::filesystem::directory_iterator(folder, ec)) {
    if (entry.is_regular_file(ec)) files.push_back(entry.path().string());
  }
  std::sort(files.begin(), files.end());
  return files;
}

bool IsRegularFile(const std::string& path) {
  std::error_code ec;
  return std::filesystem::is_regular_file(path, ec);
}

}  // namespace vk::cli
