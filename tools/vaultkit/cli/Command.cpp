#include "tools/vaultkit/cli/Command.h"

#include <algorithm>
#include <cctype>
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

namespace {

struct Word {
  std::string name;
  bool optional = false, repeats = false;
  char type = 0;  // 'i', 'u' or none
};

std::vector<Word> Words(const char* form) {
  std::vector<Word> words;
  std::string text = form;
  for (size_t at = 0; at < text.size();) {
    size_t end = text.find(' ', at);
    if (end == std::string::npos) end = text.size();
    Word word{text.substr(at, end - at)};
    at = end + 1;
    if (word.name.empty()) continue;
    if (word.name.front() == '[') word = {word.name.substr(1, word.name.size() - 2), true};
    if (word.name.ends_with("...")) {
      word.name.resize(word.name.size() - 3);
      word.repeats = true;
    }
    if (size_t colon = word.name.find(':'); colon != std::string::npos) {
      word.type = word.name[colon + 1];
      word.name.resize(colon);
    }
    words.push_back(word);
  }
  return words;
}

bool Fits(const std::vector<Word>& words, const Args& args) {
  size_t given = args.size() - 1, required = 0;
  bool open_ended = false;
  for (const Word& w : words) {
    required += !w.optional && !w.repeats;
    open_ended = open_ended || w.repeats;
  }
  if (given < required || (!open_ended && given > words.size())) return false;
  for (size_t i = 0; i < given && i < words.size(); ++i) {
    const std::string& name = words[i].name;
    const bool literal = !name.empty() && std::islower(static_cast<unsigned char>(name[0]));
    if (literal && args[i + 1] != name) return false;
  }
  return true;
}

}  // namespace

void CheckAction(const char* command, const Args& args, std::initializer_list<ActionForm> forms) {
  for (const ActionForm& form : forms) {
    if (args.empty() || args[0] != form.action) continue;
    const std::vector<Word> words = Words(form.words);
    if (!Fits(words, args)) continue;
    for (size_t i = 1; i < args.size(); ++i) {
      const Word& word = words[std::min(i - 1, words.size() - 1)];
      if (word.type == 'i') ParseInt32(args[i], word.name.c_str());
      if (word.type == 'u') ParseUint32(args[i], word.name.c_str());
    }
    return;
  }
  throw UsageError{"unknown or incomplete " + std::string(command) + " action (see vaultkit " +
                   command + " --help)"};
}

bool Command::Writes(const std::vector<std::string>& args) const {
  // The actions of the stores that change something. An action that is not one of them reads,
  // or is a usage error: either way it runs on a copy and changes nothing.
  static const std::set<std::string> kWrites = {
      "set",         "set-string",       "set-struct",    "import",       "add",     "delete",
      "delete-dept", "set-dept-version", "set-pro-ver",   "clear",        "install", "remove",
      "reset",       "reset-if-expired", "delete-fields", "merge",        "repair",  "clear-empty",
      "generate",    "rename",           "add-member",    "delete-member"};
  if (args.empty()) return false;
  // `version get` reads; `version set N` and the groups' `version KIND [...]` may write.
  if (args[0] == "version") return args.size() > 1 && args[1] != "get";
  return kWrites.contains(args[0]);
}

}  // namespace vk::cli
