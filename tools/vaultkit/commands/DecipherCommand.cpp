#include <cstdio>
#include <filesystem>

#include "platform/Files.h"
#include "platform/Text.h"
#include "storage/DomDocument.h"
#include "storage/EncipheredFile.h"
#include "tools/vaultkit/cli/Json.h"
#include "tools/vaultkit/commands/Commands.h"

namespace vk::cli {

// inspect FILE: the plain XML of an enciphered profile file.
class DecipherCommand : public Command {
 public:
  const char* Name() const override { return "inspect"; }
  const char* Summary() const override {
    return "print an enciphered .dat file as plain XML, with the key of its folder";
  }
  const char* Help() const override;
  int Run(Host& host, const Args& args) override;
};

const char* DecipherCommand::Help() const {
  return "usage: vaultkit inspect FILE [--json]\n"
         "Deciphers FILE (WEZProfile.dat or WEZProfilePro.dat) with the key the stores make\n"
         "from the name of the folder that holds it (the account's folder) and prints the XML\n"
         "it holds. A copy taken out of its account's folder must sit in a folder of the same\n"
         "name. Exit 3 when FILE cannot be read, cannot be deciphered with that key (damaged,\n"
         "truncated, another account's, or not an enciphered file), or does not hold XML; the\n"
         "stores would start empty on such a file.\n";
}

int DecipherCommand::Run(Host&, const Args& all) {
  Args args = all;
  bool json = args.TakeFlag("--json");
  if (args.size() != 1) throw UsageError{"inspect takes one FILE"};
  const std::string& file = args[0];
  // The key comes from the folder's name, so a relative path is made whole first.
  std::error_code ignored;
  std::filesystem::path full = std::filesystem::absolute(file, ignored).lexically_normal();
  std::u16string path = FromUtf8(full.string());
  std::optional<std::string> bytes = ReadWholeFile(path);
  if (!bytes) {
    throw Failure{
        "cannot read " + file + ": " +
        (std::filesystem::exists(full, ignored) ? "not a readable file" : "no such file")};
  }
  const std::string folder = full.parent_path().filename().string();
  std::optional<std::string> plain = DecipherFile(*bytes, path);
  if (!plain) {
    throw Failure{file + " cannot be deciphered with the key of its folder '" + folder +
                  "': it is damaged, truncated, another account's, or not an enciphered file"};
  }
  // The stores read the text as UTF-16 first, then in the ANSI code page.
  DomDocument document;
  const char* reading = "UTF-16LE";
  std::u16string text = PlainAsUtf16(*plain);
  if (!document.LoadXml(text)) {
    reading = "ANSI";
    text = PlainAsAnsi(*plain);
    if (!document.LoadXml(text)) {
      throw Failure{file + " deciphers with the key of its folder '" + folder +
                    "', but not to XML: " + ToUtf8(document.ParseError())};
    }
  }
  if (json) {
    PrintJson({{"file", file}, {"key_folder", folder}, {"text", reading}, {"xml", ToUtf8(text)}});
  } else {
    std::printf("%s%s", ToUtf8(text).c_str(), text.ends_with(u'\n') ? "" : "\n");
  }
  return kExitOk;
}

std::unique_ptr<Command> MakeDecipherCommand() {
  return std::make_unique<DecipherCommand>();
}

}  // namespace vk::cli
