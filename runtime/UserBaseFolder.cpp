#include "runtime/UserBaseFolder.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>

namespace vk {
namespace {

std::string HomeFolder() {
  const char* home = std::getenv("HOME");
  if (home != nullptr && home[0] != '\0') return home;
  // The reentrant lookup: the component's threads and the client's may ask at the same time.
  struct passwd entry {};
  struct passwd* found = nullptr;
  char buffer[4096];
  if (getpwuid_r(getuid(), &entry, buffer, sizeof buffer, &found) == 0 && found != nullptr &&
      found->pw_dir != nullptr) {
    return found->pw_dir;
  }
  return {};
}

}  // namespace

std::string UserBaseFolder(const char* variable, std::string_view under_home) {
  const char* value = std::getenv(variable);
  if (value != nullptr && value[0] == '/') return value;
  std::string home = HomeFolder();
  if (home.empty()) return {};
  return home + "/" + std::string(under_home);
}

}  // namespace vk
