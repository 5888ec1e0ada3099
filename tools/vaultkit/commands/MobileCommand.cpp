#include <algorithm>
#include <cstdio>

#include "tools/vaultkit/cli/Host.h"
#include "tools/vaultkit/cli/Json.h"
#include "tools/vaultkit/cli/RecordInput.h"
#include "tools/vaultkit/cli/StoreAccess.h"
#include "tools/vaultkit/cli/Table.h"
#include "tools/vaultkit/commands/Commands.h"

namespace vk::cli {

// mobile add|get|list|delete on the account's MobileProfile.xml.
class MobileCommand : public Command {
 public:
  const char* Name() const override { return "mobile"; }
  const char* Summary() const override {
    return "the mobile profile: entries with names unique regardless of case (MobileProfile.xml)";
  }
  const char* Help() const override;
  int Run(Host& host, const Args& args) override;
};

namespace {

// NAME followed by --gid N, --number N, --zpno N and --info TEXT in any order.
MobileProfileItem EntryArguments(Args args) {
  MobileProfileItem entry{};
  std::string gid = args.TakeOption("--gid", "0");
  FillField(entry.Number, args.TakeOption("--number", ""), "--number");
  FillField(entry.ZPNO, args.TakeOption("--zpno", ""), "--zpno");
  FillField(entry.INFO, args.TakeOption("--info", ""), "--info");
  if (args.size() != 1) throw UsageError{"mobile add takes one NAME and the options in --help"};
  FillField(entry.Name, args[0], "NAME");
  entry.GID = ParseInt32(gid, "--gid");
  return entry;
}

std::vector<std::string> Row(const MobileProfileItem& entry) {
  return {FieldUtf8(entry.Name), std::to_string(entry.GID), FieldUtf8(entry.Number),
          FieldUtf8(entry.ZPNO), FieldUtf8(entry.INFO)};
}

Json EntryJson(const MobileProfileItem& entry) {
  std::vector<std::string> row = Row(entry);
  return {
      {"name", row[0]}, {"gid", entry.GID}, {"number", row[2]}, {"zpno", row[3]}, {"info", row[4]}};
}

void Print(const std::vector<MobileProfileItem>& entries, bool json) {
  Table table({"name", "gid", "number", "zpno", "info"});
  Json list = Json::array();
  for (const MobileProfileItem& entry : entries) {
    table.Add(Row(entry));
    list.push_back(EntryJson(entry));
  }
  if (json) {
    PrintJson(list);
  } else if (table.Empty()) {
    std::printf("(no entries)\n");
  } else {
    table.Print();
  }
}

}  // namespace

const char* MobileCommand::Help() const {
  return "usage: vaultkit [--data-root DIR] --account NAME mobile ACTION [--json]\n"
         "  add NAME [--gid N] [--number N] [--zpno N] [--info TEXT]\n"
         "                 add an entry and print the name it was stored under: a name that\n"
         "                 is taken in any letter case gets the first free number appended\n"
         "                 (Mum, Mum1, Mum2)\n"
         "  get NAME       the entry; A to Z match in any case, other letters exactly\n"
         "  list           every entry: name, gid, number, public-IM number, info\n"
         "  delete NAME    remove the entry named NAME\n"
         "Kept behaviour of the store: delete checks the name in any letter case but removes\n"
         "only an EXACT match, so with an entry Mum1 'delete MUM1' succeeds and removes\n"
         "nothing; a name that no entry has in any case exits 1. Entries are read back cut:\n"
         "the name and public-IM number to 31 characters, the number to 15, info to 127. A\n"
         "name holding an apostrophe cannot be found by get.\n"
         "Changes are written to MobileProfile.xml when the store is flushed (every 60 s in\n"
         "the client; when this command ends here).\n";
}

int MobileCommand::Run(Host& host, const Args& all) {
  Args args = all;
  bool json = args.TakeFlag("--json");
  if (args.empty()) throw UsageError{"mobile needs an action (see vaultkit mobile --help)"};
  const std::string& action = args[0];
  std::vector<std::string> rest(args.begin() + 1, args.end());
  if (!((action == "add" && !rest.empty()) || (action == "list" && rest.empty()) ||
        ((action == "get" || action == "delete") && rest.size() == 1))) {
    throw UsageError{"unknown or incomplete mobile action (see vaultkit mobile --help)"};
  }
  MobileProfileItem entry{};
  if (action == "add") entry = EntryArguments(args.Tail());

  ComPtr<IMobileProfileStore> store = OpenMobileProfile(host);
  if (action == "add") {
    int status = CloseAndConfirm(host, store.get(), StoreId::kMobileProfiles,
                                 Report("AddItem", store->AddItem(&entry)));
    if (status == kExitOk) std::printf("%s\n", FieldUtf8(entry.Name).c_str());
    return status;
  }
  if (action == "delete") {
    HRESULT hr = store->DeleteItem(FromUtf8(rest[0]).c_str());
    CloseAndConfirm(host, store.get(), StoreId::kMobileProfiles,
                    hr == S_OK ? kExitOk : kExitFailed);
    if (hr == E_INVALIDARG)
      throw NotFound{"no mobile entry is named '" + rest[0] + "' in any case"};
    return Report("DeleteItem", hr);
  }
  if (action == "get") {
    HRESULT hr = store->GetItem(FromUtf8(rest[0]).c_str(), &entry);
    // E_FAIL is how the store says that nothing matched.
    if (hr == E_FAIL) throw NotFound{"no mobile entry matches '" + rest[0] + "'"};
    if (hr != S_OK) return Report("GetItem", hr);
    json ? PrintJson(EntryJson(entry)) : Print({entry}, false);
    return kExitOk;
  }
  LONG count = 0;
  HRESULT hr = store->GetItemCount(&count);
  std::vector<MobileProfileItem> entries(static_cast<size_t>(std::max<LONG>(count, 0)));
  if (hr == S_OK && count > 0) hr = store->GetItems(entries.data());
  if (hr != S_OK) return Report(count > 0 ? "GetItems" : "GetItemCount", hr);
  Print(entries, json);
  return kExitOk;
}

std::unique_ptr<Command> MakeMobileCommand() {
  return std::make_unique<MobileCommand>();
}

}  // namespace vk::cli
