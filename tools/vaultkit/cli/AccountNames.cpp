#include "tools/vaultkit/cli/AccountNames.h"

#include <algorithm>
#include <filesystem>

namespace vk::cli {

std::vector<std::string> AccountNames(const std::string& data_root) {
  namespace fs = std::filesystem;
  std::vector<std::string> names;
  std::error_code ec;
  for (fs::directory_iterator it(fs::path(data_root) / "Accounts", ec), end; !ec && it != end;
       it.increment(ec)) {
    const std::string name = it->path().filename().string();
    if (name != "0" && it->is_directory(ec)) names.push_back(name);
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string AccountList(const std::string& data_root) {
  std::string list;
  for (const std::string& name : AccountNames(data_root)) {
    list += (list.empty() ? "" : ", ") + name;
  }
  return list.empty() ? "none yet" : list;
}

}  // namespace vk::cli
