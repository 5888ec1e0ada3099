// The words a subcommand is given. Its options are taken out by name; what is left are its
// positional words. A word after "--" is positional whatever it looks like, so a value such as
// "--json" can still be stored.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace vk::cli {

class Args : public std::vector<std::string> {
 public:
  Args() = default;
  // `options_end`: how many of the leading words may be options (those before "--").
  Args(std::vector<std::string> words, size_t options_end);
  Args(std::initializer_list<std::string> words);

  // Removes every `flag` among the options; true when there was one.
  bool TakeFlag(const char* flag);
  // Removes `option VALUE` among the options and returns VALUE; `fallback` when absent.
  std::string TakeOption(const char* option, const std::string& fallback);
  bool WantsHelp() const;
  // The words after the first (a command's action), with the same end of options.
  Args Tail() const;

 private:
  size_t options_end_ = 0;
};

}  // namespace vk::cli
