#include "tools/vaultkit/cli/CommandLine.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>

#include "platform/Files.h"
#include "platform/Text.h"
#include "tools/vaultkit/cli/Command.h"

namespace vk::cli {
namespace {

// Every option a subcommand takes, so that a mistyped one is refused before anything runs
// rather than stored as a value.
const char* const kCommandFlags[] = {"--json", "--user"};
const char* const kCommandValues[] = {"--gid",     "--number",       "--zpno",     "--info",
                                      "--records", "--channel",      "--language", "--seconds",
                                      "--limit",   "--conversations"};

bool Among(const std::string& word, const auto& names) {
  return std::find(std::begin(names), std::end(names), word) != std::end(names);
}

long WaitMilliseconds(const std::string& value) {
  char* end = nullptr;
  const long seconds = std::strtol(value.c_str(), &end, 10);
  if (value.empty() || *end != '\0' || seconds < 0 || seconds > 3600) {
    throw UsageError{"--wait takes a number of seconds from 0 to 3600"};
  }
  return seconds * 1000;
}

}  // namespace

CommandLine ParseCommandLine(int argc, const char* const* argv) {
  CommandLine line;
  std::vector<std::string> words;
  size_t options_end = std::string::npos;
  bool command_help = false;
  for (int i = 1; i < argc; ++i) {
    std::string word = argv[i];
    const bool positional = options_end != std::string::npos || word.size() < 2 || word[0] != '-' ||
                            (word[1] != '-' && word != "-h");
    if (positional) {
      if (line.command.empty() && options_end == std::string::npos) {
        line.command = word;
      } else {
        words.push_back(word);
      }
      continue;
    }
    if (word == "--") {
      options_end = words.size();
      continue;
    }
    std::string value;
    const size_t equals = word.find('=');
    const bool has_value = equals != std::string::npos;
    if (has_value) {
      value = word.substr(equals + 1);
      word.resize(equals);
    }
    const bool global_value = word == "--data-root" || word == "--account" || word == "--wait";
    if (global_value || Among(word, kCommandValues)) {
      if (!has_value) {
        if (i + 1 >= argc) throw UsageError{word + " needs a value"};
        value = argv[++i];
      }
    } else if (has_value) {
      throw UsageError{word + " takes no value"};
    }
    if (word == "--data-root") {
      if (value.empty()) throw UsageError{"--data-root needs a folder"};
      line.data_root = value;
    } else if (word == "--account") {
      if (!IsPlainName(FromUtf8(value))) {
        throw UsageError{"--account '" + value +
                         "' is not an account name: one folder name below Accounts, without '/' "
                         "or '\\'"};
      }
      line.account = value;
    } else if (word == "--wait") {
      line.wait_ms = WaitMilliseconds(value);
    } else if (word == "--create") {
      line.create = true;
    } else if (word == "--yes") {
      line.yes = true;
    } else if (word == "--dry-run") {
      line.dry_run = true;
    } else if (word == "--help" || word == "-h") {
      if (line.command.empty()) {
        line.ask = CommandLine::Ask::kHelp;
      } else {
        command_help = true;
      }
    } else if (word == "--version") {
      line.ask = CommandLine::Ask::kVersion;
    } else if (Among(word, kCommandFlags)) {
      words.push_back(word);
    } else if (Among(word, kCommandValues)) {
      words.push_back(word);
      words.push_back(value);
    } else {
      throw UsageError{"unknown option " + word + " (a value that starts with - goes after --)"};
    }
  }
  if (line.ask == CommandLine::Ask::kRun && command_help) line.ask = CommandLine::Ask::kCommandHelp;
  if (line.ask == CommandLine::Ask::kRun && line.command.empty())
    line.ask = CommandLine::Ask::kUsage;
  line.args = Args(std::move(words), options_end);
  return line;
}

}  // namespace vk::cli
