#include "tools/vaultkit/MobileCommand.h"

#include <algorithm>
#include <cstdio>

#include "tools/vaultkit/Host.h"
#include "tools/vaultkit/RecordInput.h"
#include "tools/vaultkit/StoreAccess.h"

namespace vk::cli {
namespace {

// NAME followed by --gid N, --number N, --zpno N and --info TEXT in any order.
MobileProfileItem EntryArguments(const std::vector<std::string>& args) {
  MobileProfileItem entry{};
  FillField(entry.Name, args[0], "NAME");
  for (size_t i = 1; i < args.size(); i += 2) {
    const std::string& option = args[i];
    if (i + 1 >= args.size()) throw UsageError{option + " needs a value"};
    const std::string& value = args[i + 1];
    if (option == "--gid") {
      entry.GID = static_cast<LONG>(ParseLong(value, "--gid"));
    } else if (option == "--number") {
      FillField(entry.Number, value, "--number");
    } else if (option == "--zpno") {
      FillField(entry.ZPNO, value, "--zpno");
    } else if (option == "--info") {
      FillField(entry.INFO, value, "--info");
    } else {
      throw UsageError{"unknown option " + option + " (see vaultkit mobile --help)"};
    }
  }
  return entry;
}

void PrintEntry(const MobileProfileItem& entry) {
  std::printf("%s\t%d\t%s\t%s\t%s\n", FieldUtf8(entry.Name).c_str(), entry.GID,
              FieldUtf8(entry.Number).c_str(), FieldUtf8(entry.ZPNO).c_str(),
              FieldUtf8(entry.INFO).c_str());
}

}  // namespace

const char* MobileCommand::Help() const {
  return "usage: vaultkit [--data-root DIR] --account NAME mobile ACTION\n"
         "  add NAME [--gid N] [--number N] [--zpno N] [--info TEXT]\n"
         "                 add an entry and print the name it was stored under: a name that\n"
         "                 is taken in any letter case gets the first free number appended\n"
         "                 (Mum, Mum1, Mum2)\n"
         "  get NAME       print the entry: name, GID, number, public-IM number, info\n"
         "                 (tab-separated); A to Z match in any case, other letters exactly\n"
         "  list           print every entry the same way\n"
         "  delete NAME    remove the entry named NAME\n"
         "Kept behaviour of the store: delete checks the name in any letter case but removes\n"
         "only an exact match, so with an entry Mum1 'delete MUM1' succeeds and removes\n"
         "nothing; a name that no entry has in any case exits 1. Entries are read back cut:\n"
         "the name and public-IM number to 31 characters, the number to 15, info to 127.\n"
         "A name holding an apostrophe cannot be found by get.\n"
         "Changes are written to MobileProfile.xml when the store is flushed (every 60 s in\n"
         "the client; when this command ends here).\n";
}

int MobileCommand::Run(Host& host, const std::vector<std::string>& args) {
  if (args.empty()) throw UsageError{"mobile needs an action (see vaultkit mobile --help)"};
  const std::string& action = args[0];
  std::vector<std::string> rest(args.begin() + 1, args.end());
  if (!((action == "add" && !rest.empty()) || (action == "list" && rest.empty()) ||
        ((action == "get" || action == "delete") && rest.size() == 1))) {
    throw UsageError{"unknown or incomplete mobile action (see vaultkit mobile --help)"};
  }
  MobileProfileItem entry{};
  if (action == "add") entry = EntryArguments(rest);

  ComRef<IMobileProfileStore> store = OpenMobileProfile(host);
  if (action == "add") {
    int status = ReportWithReason("AddItem", store->AddItem(&entry));
    if (status == 0) std::printf("%s\n", FieldUtf8(entry.Name).c_str());
    store->Close();
    return status;
  }
  if (action == "delete") {
    HRESULT hr = store->DeleteItem(FromUtf8(rest[0]).c_str());
    store->Close();
    if (hr == E_INVALIDARG) {
      std::fprintf(stderr, "vaultkit: no mobile entry is named '%s' in any case (not found)\n",
                   rest[0].c_str());
      return 1;
    }
    return ReportWithReason("DeleteItem", hr);
  }
  if (action == "get") {
    if (store->GetItem(FromUtf8(rest[0]).c_str(), &entry) != S_OK) {
      std::fprintf(stderr, "vaultkit: mobile entry '%s' not found\n", rest[0].c_str());
      return 1;
    }
    PrintEntry(entry);
    return 0;
  }
  LONG count = 0;
  int status = ReportWithReason("GetItemCount", store->GetItemCount(&count));
  std::vector<MobileProfileItem> entries(static_cast<size_t>(std::max<LONG>(count, 0)));
  if (status == 0 && count > 0)
    status = ReportWithReason("GetItems", store->GetItems(entries.data()));
  if (status == 0) std::for_each(entries.begin(), entries.end(), PrintEntry);
  return status;
}

}  // namespace vk::cli
