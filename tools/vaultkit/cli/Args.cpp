#include "tools/vaultkit/cli/Args.h"

#include <algorithm>

#include "tools/vaultkit/cli/Command.h"

namespace vk::cli {

Args::Args(std::vector<std::string> words, size_t options_end)
    : std::vector<std::string>(std::move(words)), options_end_(std::min(options_end, size())) {}

Args::Args(std::initializer_list<std::string> words)
    : std::vector<std::string>(words), options_end_(size()) {}

bool Args::TakeFlag(const char* flag) {
  bool found = false;
  for (size_t i = 0; i < options_end_;) {
    if ((*this)[i] == flag) {
      erase(begin() + static_cast<ptrdiff_t>(i));
      --options_end_;
      found = true;
    } else {
      ++i;
    }
  }
  return found;
}

std::string Args::TakeOption(const char* option, const std::string& fallback) {
  auto end = begin() + static_cast<ptrdiff_t>(options_end_);
  auto at = std::find(begin(), end, std::string(option));
  if (at == end) return fallback;
  if (at + 1 == end) throw UsageError{std::string(option) + " needs a value"};
  std::string value = *(at + 1);
  erase(at, at + 2);
  options_end_ -= 2;
  return value;
}

bool Args::WantsHelp() const {
  auto end = begin() + static_cast<ptrdiff_t>(options_end_);
  return std::any_of(begin(), end, [](const std::string& a) { return a == "--help" || a == "-h"; });
}

Args Args::Tail() const {
  if (empty()) return {};
  return Args(std::vector<std::string>(begin() + 1, end()),
              options_end_ == 0 ? 0 : options_end_ - 1);
}

}  // namespace vk::cli
