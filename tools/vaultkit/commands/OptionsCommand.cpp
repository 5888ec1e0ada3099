#include <cstdio>

#include "platform/Files.h"
#include "platform/Profile.h"
#include "platform/Text.h"
#include "tools/vaultkit/cli/Host.h"
#include "tools/vaultkit/cli/Json.h"
#include "tools/vaultkit/cli/StoreAccess.h"
#include "tools/vaultkit/commands/Commands.h"
#include "vaultkit/vaultkit.h"

namespace vk::cli {

// options get|set|list|get-struct|set-struct on the global option store (wez.cfg) or, with
// --user, on the account's User.cfg.
class OptionsCommand : public Command {
 public:
  const char* Name() const override { return "options"; }
  const char* Summary() const override { return "read and write wez.cfg and User.cfg options"; }
  const char* Help() const override;
  int Run(Host& host, const Args& args) override;

 private:
  int List(const std::u16string& path, bool json);
  static void Print(bool json, const std::string& key, const Json& value);
};

namespace {

bool IsInteger(const std::string& text) {
  try {
    ParseInt32(text, "value");
    return true;
  } catch (const UsageError&) {
    return false;
  }
}

// The store answers an empty text and 0 for a key it does not hold: ask the file itself.
void RequireKey(const std::u16string& key, const std::u16string& path, const std::string& name) {
  const char16_t kAbsent[] = u"\x01absent\x01";
  char16_t probe[16] = {};
  GetPrivateProfileStringW(u"Default", key.c_str(), kAbsent, probe, 16, path.c_str());
  if (std::u16string(probe) == kAbsent) throw NotFound{"no option '" + name + "'"};
}

std::vector<unsigned char> ParseHex(const std::string& hex) {
  if (hex.size() % 2 != 0) throw UsageError{"HEX needs an even number of digits"};
  std::vector<unsigned char> bytes;
  for (size_t i = 0; i < hex.size(); i += 2) {
    char* end = nullptr;
    std::string pair = hex.substr(i, 2);
    unsigned long byte = std::strtoul(pair.c_str(), &end, 16);
    if (*end != '\0') throw UsageError{"'" + hex + "' is not hexadecimal"};
    bytes.push_back(static_cast<unsigned char>(byte));
  }
  return bytes;
}

}  // namespace

const char* OptionsCommand::Help() const {
  return "usage: vaultkit [--data-root DIR] [--account NAME] options [--user] ACTION [--json]\n"
         "  get KEY               print the value of KEY; exit 1 when there is no KEY\n"
         "  get-int KEY           print KEY read as an integer (its leading digits; 0 when\n"
         "                        it has none); exit 1 when there is no KEY\n"
         "  set KEY VALUE         write VALUE (an integer when it reads as one)\n"
         "  set-string KEY VALUE  write VALUE as text\n"
         "  get-struct KEY SIZE   print the SIZE-byte structure under KEY as hex\n"
         "  set-struct KEY HEX    write the bytes HEX as a structure with its checksum\n"
         "  list                  print every key of section Default\n"
         "Without --user the global store (Accounts/wez.cfg) is used; --user needs --account\n"
         "and uses Accounts/NAME/User.cfg.\n";
}

int OptionsCommand::Run(Host& host, const Args& all) {
  Args args = all;
  bool user = args.TakeFlag("--user");
  bool json = args.TakeFlag("--json");
  if (args.empty()) throw UsageError{"options needs an action: get, set, list, ..."};
  CheckAction("options", args,
              {{"get", "KEY"},
               {"get-int", "KEY"},
               {"set", "KEY VALUE"},
               {"set-string", "KEY VALUE"},
               {"get-struct", "KEY SIZE:u"},
               {"set-struct", "KEY HEX"},
               {"list", ""}});
  const std::string& action = args[0];
  if (action == "set-struct") ParseHex(args[2]);
  const std::u16string path = OptionFile(host, user);
  ComPtr<IOptionStore> held = OpenOptions(host, user);
  IOptionStore* store = held.get();

  auto need = [&](size_t n) {
    if (args.size() != n + 1) {
      throw UsageError{"options " + action + " takes " + std::to_string(n) + " argument(s)"};
    }
  };
  std::u16string key = args.size() > 1 ? FromUtf8(args[1]) : u"";
  HRESULT hr = S_OK;
  if (action == "get") {
    need(1);
    RequireKey(key, path, args[1]);
    OLECHAR buffer[512] = {};
    hr = store->GetString(key.c_str(), buffer, sizeof buffer);
    if (hr == S_OK) Print(json, args[1], Json(ToUtf8(buffer)));
  } else if (action == "get-int") {
    need(1);
    RequireKey(key, path, args[1]);
    LONG value = 0;
    hr = store->GetInt(key.c_str(), &value);
    if (hr == S_OK) Print(json, args[1], Json(value));
  } else if (action == "set" || action == "set-string") {
    need(2);
    if (action == "set" && IsInteger(args[2])) {
      hr = store->SetInt(key.c_str(), ParseInt32(args[2], "VALUE"));
    } else {
      hr = store->SetString(key.c_str(), FromUtf8(args[2]).c_str());
    }
  } else if (action == "get-struct") {
    need(2);
    uint32_t size = ParseUint32(args[2], "SIZE");
    if (size == 0 || size > 65536) throw UsageError{"SIZE must be from 1 to 65536"};
    RequireKey(key, path, args[1]);
    std::vector<unsigned char> bytes(size);
    hr = store->GetStruct(key.c_str(), bytes.data(), size);
    if (hr == S_OK) {
      std::string hex;
      char digits[3];
      for (unsigned char b : bytes) {
        std::snprintf(digits, sizeof digits, "%02X", b);
        hex += digits;
      }
      Print(json, args[1], Json(hex));
    }
  } else if (action == "set-struct") {
    need(2);
    std::vector<unsigned char> bytes = ParseHex(args[2]);
    hr = store->SetStruct(key.c_str(), bytes.data(), static_cast<UINT>(bytes.size()));
  } else if (action == "list") {
    need(0);
    return List(path, json);
  } else {
    throw UsageError{"unknown options action '" + action + "'"};
  }
  return Report(("options " + action).c_str(), hr);
}

void OptionsCommand::Print(bool json, const std::string& key, const Json& value) {
  if (json) {
    PrintJson({{"key", key}, {"value", value}});
  } else {
    std::printf("%s\n",
                value.is_string() ? value.get<std::string>().c_str() : value.dump().c_str());
  }
}

// The store has no enumeration: list reads section Default of the UTF-16 file itself.
int OptionsCommand::List(const std::u16string& path, bool json) {
  const std::string bytes = ReadWholeFile(path).value_or(std::string());
  if (bytes.size() < 2 || bytes[0] != '\xFF' || bytes[1] != '\xFE') {
    throw Failure{ToUtf8(path) + " is not a UTF-16 option file (it does not begin with FF FE)"};
  }
  Json listing = Json::array();
  std::u16string text;
  for (size_t i = 2; i + 1 < bytes.size(); i += 2) {
    text.push_back(static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) |
                                         static_cast<unsigned char>(bytes[i + 1]) << 8));
  }
  bool in_default = false;
  size_t start = 0;
  while (start <= text.size()) {
    size_t end = text.find(u'\n', start);
    std::u16string line = text.substr(start, end == std::u16string::npos ? end : end - start);
    if (!line.empty() && line.back() == u'\r') line.pop_back();
    if (!line.empty() && line.front() == u'[') {
      in_default = WideToLower(line) == u"[default]";
    } else if (in_default && line.find(u'=') != std::u16string::npos) {
      size_t equals = line.find(u'=');
      listing.push_back(
          {{"key", ToUtf8(line.substr(0, equals))}, {"value", ToUtf8(line.substr(equals + 1))}});
      if (!json) std::printf("%s\n", ToUtf8(line).c_str());
    }
    if (end == std::u16string::npos) break;
    start = end + 1;
  }
  if (json) PrintJson(listing);
  return kExitOk;
}

std::unique_ptr<Command> MakeOptionsCommand() {
  return std::make_unique<OptionsCommand>();
}

}  // namespace vk::cli
