#include <cstdio>

#include "platform/Text.h"
#include "tools/vaultkit/cli/Host.h"
#include "tools/vaultkit/cli/Json.h"
#include "tools/vaultkit/cli/StoreAccess.h"
#include "tools/vaultkit/cli/Table.h"
#include "tools/vaultkit/cli/XmlEntries.h"
#include "tools/vaultkit/commands/Commands.h"

namespace vk::cli {

// keydepts get|set|reset-if-expired|version on the account's KeyDepts.xml.
class KeyDeptsCommand : public Command {
 public:
  const char* Name() const override { return "keydepts"; }
  const char* Summary() const override { return "key departments per nickname (KeyDepts.xml)"; }
  const char* Help() const override;
  int Run(Host& host, const Args& args) override;
};

namespace {

std::string Joined(const std::vector<std::string>& ids) {
  std::string text;
  for (const std::string& id : ids) text += (text.empty() ? "" : " ") + id;
  return text;
}

// Every person of the file with the DeptID of each child, as the store reads them.
int List(Host& host, bool json) {
  Json all = Json::array();
  Table table({"nick", "key departments"});
  for (const XmlEntry& user :
       ReadXmlEntries(host.AccountFile(StoreId::kKeyDepts), u"/KeyDepts//User")) {
    std::vector<std::string> ids;
    Json numbers = Json::array();
    for (const XmlEntry& dept : user.children) {
      ids.push_back(dept.Attribute("DeptID").value_or("0"));
      numbers.push_back(static_cast<uint32_t>(std::strtoul(ids.back().c_str(), nullptr, 10)));
    }
    std::string nick = user.Attribute("Nick").value_or("");
    all.push_back({{"nick", nick}, {"ids", numbers}});
    table.Add({nick, Joined(ids)});
  }
  if (json) {
    PrintJson(all);
  } else if (table.Empty()) {
    std::printf("(no key departments)\n");
  } else {
    table.Print();
  }
  return kExitOk;
}

}  // namespace

const char* KeyDeptsCommand::Help() const {
  return "usage: vaultkit [--data-root DIR] --account NAME keydepts ACTION [--json]\n"
         "  get NICK            the key department ids kept for NICK (any letter case: the\n"
         "                      store lower-cases); exit 1 when none are kept\n"
         "  set NICK ID...      keep the ids (0..4294967295) for NICK, replacing the list\n"
         "  list                every person with their ids, as the file holds them\n"
         "  reset-if-expired    empty the file when it is 30 days old or older (the store\n"
         "                      answers the same either way: see list afterwards)\n"
         "  version get|set N   the file's version\n";
}

int KeyDeptsCommand::Run(Host& host, const Args& all) {
  Args args = all;
  bool json = args.TakeFlag("--json");
  if (args.empty()) throw UsageError{"keydepts needs an action: get, set, list, reset-if-expired"};
  CheckAction("keydepts", args,
              {{"get", "NICK"},
               {"set", "NICK ID:u..."},
               {"list", ""},
               {"reset-if-expired", ""},
               {"version", "get"},
               {"version", "set N:i"}});
  ComPtr<IKeyDepts> store = OpenKeyDepts(host);
  const std::string& action = args[0];
  std::vector<std::string> rest(args.begin() + 1, args.end());
  if (action == "get" && rest.size() == 1) {
    std::u16string nick = FromUtf8(rest[0]);
    bool kept = false;
    for (const XmlEntry& user :
         ReadXmlEntries(host.AccountFile(StoreId::kKeyDepts), u"/KeyDepts//User")) {
      kept = kept || user.Attribute("Nick") == ToUtf8(WideToLower(nick));
    }
    std::vector<ULONG> ids(4096);
    LONG count = static_cast<LONG>(ids.size());
    HRESULT hr = store->GetKeyDepts(nick.c_str(), ids.data(), &count);
    if (hr != S_OK) return Report("GetKeyDepts", hr);
    if (!kept) throw NotFound{"no key departments are kept for '" + rest[0] + "'"};
    ids.resize(static_cast<size_t>(count));
    if (json) {
      PrintJson({{"nick", rest[0]}, {"ids", ids}});
    } else {
      for (size_t i = 0; i < ids.size(); ++i) std::printf(i == 0 ? "%u" : " %u", ids[i]);
      std::printf("\n");
    }
    return kExitOk;
  }
  if (action == "list" && rest.empty()) return List(host, json);
  int status = kExitOk;
  if (action == "set" && rest.size() >= 1) {
    std::vector<ULONG> ids;
    for (size_t i = 1; i < rest.size(); ++i) ids.push_back(ParseUint32(rest[i], "ID"));
    LONG count = static_cast<LONG>(ids.size());
    status =
        Report("SetKeyDepts", store->SetKeyDepts(FromUtf8(rest[0]).c_str(), ids.data(), &count));
  } else if (action == "reset-if-expired" && rest.empty()) {
    status = Report("ResetIfExpired", store->ResetIfExpired(), {S_OK, S_FALSE});
    if (status == kExitOk) std::printf("checked: a file 30 days old or older has been emptied\n");
  } else if (action == "version") {
    status = VersionAction(store.get(), rest, json);
  } else {
    throw UsageError{"unknown or incomplete keydepts action (see vaultkit keydepts --help)"};
  }
  return CloseAndConfirm(host, store.get(), StoreId::kKeyDepts, status);
}

std::unique_ptr<Command> MakeKeyDeptsCommand() {
  return std::make_unique<KeyDeptsCommand>();
}

}  // namespace vk::cli
