#include "tools/vaultkit/cli/Command.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <limits>
#include <set>

namespace vk::cli {
namespace {

// Decimal digits with an optional sign, and nothing else (no spaces, no hexadecimal).
template <typename T>
T ParseInRange(const std::string& text, const char* what, const char* kind) {
  bool digits =
      !text.empty() &&
      text.find_first_not_of("0123456789", text[0] == '-' || text[0] == '+') == std::string::npos &&
      text.size() > (text[0] == '-' || text[0] == '+' ? 1u : 0u);
  errno = 0;
  long long value = digits ? std::strtoll(text.c_str(), nullptr, 10) : 0;
  if (!digits || errno == ERANGE || value < std::numeric_limits<T>::min() ||
      value > std::numeric_limits<T>::max()) {
    throw UsageError{std::string(what) + " must be " + kind + ", not '" + text + "'"};
  }
  return static_cast<T>(value);
}

}  // namespace

int32_t ParseInt32(const std::string& text, const char* what) {
  return ParseInRange<int32_t>(text, what, "a whole number from -2147483648 to 2147483647");
}

uint32_t ParseUint32(const std::string& text, const char* what) {
  return ParseInRange<uint32_t>(text, what, "a whole number from 0 to 4294967295");
}

bool Command::Writes(const std::vector<std::string>& args) const {
  // The actions of the stores that change something. An action that is not one of them reads,
  // or is a usage error: either way it runs on a copy and changes nothing.
  static const std::set<std::string> kWrites = {
      "set",         "set-string",       "set-struct",    "import",       "add",     "delete",
      "delete-dept", "set-dept-version", "set-pro-ver",   "clear",        "install", "remove",
      "reset",       "reset-if-expired", "delete-fields", "merge",        "check",   "clear-empty",
      "generate",    "rename",           "add-member",    "delete-member"};
  if (args.empty()) return false;
  // `version get` reads; `version set N` and the groups' `version KIND [...]` may write.
  if (args[0] == "version") return args.size() > 1 && args[1] != "get";
  return kWrites.contains(args[0]);
}

bool WantsHelp(const std::vector<std::string>& args) {
  return std::any_of(args.begin(), args.end(),
                     [](const std::string& a) { return a == "--help" || a == "-h"; });
}

bool TakeFlag(std::vector<std::string>& args, const char* flag) {
  auto end = std::remove(args.begin(), args.end(), std::string(flag));
  bool found = end != args.end();
  args.erase(end, args.end());
  return found;
}

std::string TakeOption(std::vector<std::string>& args, const char* option,
                       const std::string& fallback) {
  auto at = std::find(args.begin(), args.end(), std::string(option));
  if (at == args.end()) return fallback;
  if (at + 1 == args.end()) throw UsageError{std::string(option) + " needs a value"};
  std::string value = *(at + 1);
  args.erase(at, at + 2);
  return value;
}

}  // namespace vk::cli
