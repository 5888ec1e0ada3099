#include "tools/vaultkit/Command.h"

#include <cerrno>
#include <climits>
#include <cstdlib>

namespace vk::cli {

long ParseLong(const std::string& text, const char* what) {
  errno = 0;
  char* end = nullptr;
  long value = std::strtol(text.c_str(), &end, 10);
  if (text.empty() || *end != '\0' || errno == ERANGE || value < INT32_MIN ||
      value > static_cast<long>(UINT32_MAX)) {
    throw UsageError{std::string(what) + " must be a 32-bit integer, not '" + text + "'"};
  }
  return value;
}

bool WantsHelp(const std::vector<std::string>& args) {
  for (const auto& a : args) {
    if (a == "--help" || a == "-h") return true;
  }
  return false;
}

}  // namespace vk::cli
