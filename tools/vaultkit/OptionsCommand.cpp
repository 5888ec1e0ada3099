#include "tools/vaultkit/OptionsCommand.h"

#include <cstdio>
#include <fstream>
#include <iterator>

#include "platform/Text.h"
#include "tools/vaultkit/Host.h"

namespace vk::cli {
namespace {

bool IsInteger(const std::string& text) {
  try {
    ParseLong(text, "value");
    return true;
  } catch (const UsageError&) {
    return false;
  }
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
  return "usage: vaultkit [--data-root DIR] [--account NAME] options [--user] ACTION\n"
         "  get KEY               print the value of KEY (empty when absent)\n"
         "  get-int KEY           print KEY read as an integer (0 when absent)\n"
         "  set KEY VALUE         write VALUE (an integer when it reads as one)\n"
         "  set-string KEY VALUE  write VALUE as text\n"
         "  get-struct KEY SIZE   print the SIZE-byte structure under KEY as hex\n"
         "  set-struct KEY HEX    write the bytes HEX as a structure with its checksum\n"
         "  list                  print every key of section Default\n"
         "Without --user the global store (Accounts/wez.cfg) is used; --user needs --account\n"
         "and uses Accounts/NAME/User.cfg.\n";
}

int OptionsCommand::Run(Host& host, const std::vector<std::string>& all) {
  std::vector<std::string> args;
  bool user = false;
  for (const auto& a : all) {
    if (a == "--user") {
      user = true;
    } else {
      args.push_back(a);
    }
  }
  if (args.empty()) throw UsageError{"options needs an action: get, set, list, ..."};
  std::u16string path =
      user ? host.AccountFile("User.cfg") : FromUtf8(host.DataRoot() + "Accounts/wez.cfg");
  auto open = [&](IOptionStore* s) { return s->Open(path.c_str()); };
  IOptionStore* store =
      user ? host.Store<IOptionStore>(
                 u"user options",
                 [](IWEZStore* m, IOptionStore** s) { return m->GetUserOptionStore(s); },
                 u"IOptionStore", open)
           : host.Store<IOptionStore>(
                 u"global options",
                 [](IWEZStore* m, IOptionStore** s) { return m->GetOptionStore(s); },
                 u"IOptionStore", open);
  if (store == nullptr) {
    std::fprintf(stderr, "vaultkit: the option store is not available\n");
    return 1;
  }
  struct Releaser {
    IOptionStore* s;
    ~Releaser() { s->Release(); }
  } release{store};

  const std::string& action = args[0];
  auto need = [&](size_t n) {
    if (args.size() != n + 1) {
      throw UsageError{"options " + action + " takes " + std::to_string(n) + " argument(s)"};
    }
  };
  std::u16string key = args.size() > 1 ? FromUtf8(args[1]) : u"";
  HRESULT hr = S_OK;
  if (action == "get") {
    need(1);
    OLECHAR buffer[512] = {};
    hr = store->GetString(key.c_str(), buffer, sizeof buffer);
    std::printf("%s\n", ToUtf8(buffer).c_str());
  } else if (action == "get-int") {
    need(1);
    LONG value = 0;
    hr = store->GetInt(key.c_str(), &value);
    std::printf("%d\n", value);
  } else if (action == "set" || action == "set-string") {
    need(2);
    if (action == "set" && IsInteger(args[2])) {
      hr = store->SetInt(key.c_str(), static_cast<LONG>(ParseLong(args[2], "VALUE")));
    } else {
      hr = store->SetString(key.c_str(), FromUtf8(args[2]).c_str());
    }
  } else if (action == "get-struct") {
    need(2);
    long size = ParseLong(args[2], "SIZE");
    if (size <= 0 || size > 65536) throw UsageError{"SIZE must be from 1 to 65536"};
    std::vector<unsigned char> bytes(size);
    hr = store->GetStruct(key.c_str(), bytes.data(), static_cast<UINT>(size));
    if (SUCCEEDED(hr)) {
      for (unsigned char b : bytes) std::printf("%02X", b);
      std::printf("\n");
    }
  } else if (action == "set-struct") {
    need(2);
    std::vector<unsigned char> bytes = ParseHex(args[2]);
    hr = store->SetStruct(key.c_str(), bytes.data(), static_cast<UINT>(bytes.size()));
  } else if (action == "list") {
    need(0);
    return List(path);
  } else {
    throw UsageError{"unknown options action '" + action + "'"};
  }
  if (hr != S_OK) {
    std::fprintf(stderr, "vaultkit: options %s failed (0x%08X)\n", action.c_str(),
                 static_cast<unsigned>(hr));
    return 1;
  }
  return 0;
}

// The store has no enumeration: list reads section Default of the UTF-16 file itself.
int OptionsCommand::List(const std::u16string& path) {
  std::ifstream in(ToUtf8(path), std::ios::binary);
  std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (bytes.size() < 2 || bytes[0] != '\xFF' || bytes[1] != '\xFE') {
    std::fprintf(stderr, "vaultkit: %s is not a UTF-16 option file\n", ToUtf8(path).c_str());
    return 1;
  }
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
      std::printf("%s\n", ToUtf8(line).c_str());
    }
    if (end == std::u16string::npos) break;
    start = end + 1;
  }
  return 0;
}

}  // namespace vk::cli
