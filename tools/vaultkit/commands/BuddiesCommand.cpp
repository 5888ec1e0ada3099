#include <cstdio>

#include "platform/Text.h"
#include "storage/FixedField.h"
#include "tools/vaultkit/cli/Host.h"
#include "tools/vaultkit/cli/Json.h"
#include "tools/vaultkit/cli/StoreAccess.h"
#include "tools/vaultkit/cli/Table.h"
#include "tools/vaultkit/commands/Commands.h"

namespace vk::cli {

// buddies set|get|fields|delete on the account's enciphered WEZProfilePro.dat.
class BuddiesCommand : public Command {
 public:
  const char* Name() const override { return "buddies"; }
  const char* Summary() const override {
    return "named fields about buddies (WEZProfilePro.dat, enciphered)";
  }
  const char* Help() const override;
  int Run(Host& host, const Args& args) override;
};

namespace {

constexpr size_t kLongest = 255;  // the record's 256 units less the last

BuddyField ToField(const std::string& assignment) {
  size_t eq = assignment.find('=');
  if (eq == std::string::npos) throw UsageError{"'" + assignment + "' is not NAME=VALUE"};
  std::u16string name = FromUtf8(assignment.substr(0, eq)),
                 value = FromUtf8(assignment.substr(eq + 1));
  if (name.size() > kLongest || value.size() > kLongest) {
    throw UsageError{"field names and values hold at most 255 characters"};
  }
  BuddyField field{};
  FillField(field.name, name);
  FillField(field.value, value);
  return field;
}

// The buddy's fields in store order; NotFound when the buddy is unknown.
std::vector<BuddyField> Fields(IWEZProfileProStore* store, const std::string& account) {
  std::u16string wide = FromUtf8(account);
  LONG count = 0;
  Lookup("GetBuddyFieldCount", "no buddy '" + account + "' is kept",
         [&] { return store->GetBuddyFieldCount(wide.c_str(), &count); });
  std::vector<BuddyField> fields(static_cast<size_t>(count) + 1);  // never an empty array
  if (HRESULT hr = store->GetBuddyFields(wide.c_str(), fields.data()); hr != S_OK) {
    throw Failure{"GetBuddyFields failed: " + FailureReason(hr)};
  }
  fields.pop_back();
  return fields;
}

int GetOne(IWEZProfileProStore* store, const std::string& account, const std::string& name,
           bool json) {
  VARIANT value;
  VariantInit(&value);
  Lookup("GetBuddyField", "buddy '" + account + "' has no field '" + name + "'", [&] {
    return store->GetBuddyField(FromUtf8(account).c_str(), FromUtf8(name).c_str(), &value);
  });
  const bool has_value = value.vt == VT_BSTR;
  std::string text =
      has_value ? ToUtf8(std::u16string_view(value.u.bstrVal, SysStringLen(value.u.bstrVal))) : "";
  VariantClear(&value);
  if (json) {
    PrintJson({{"account", account}, {"name", name}, {"value", has_value ? Json(text) : Json()}});
  } else {
    std::printf("%s\n", has_value ? text.c_str() : "(no value)");
  }
  return kExitOk;
}

int GetAll(IWEZProfileProStore* store, const std::string& account, bool names_only, bool json) {
  std::vector<BuddyField> fields = Fields(store, account);
  Json list = Json::array();
  Table table(names_only ? std::vector<std::string>{"name"}
                         : std::vector<std::string>{"name", "value"});
  for (const BuddyField& f : fields) {
    std::string name = ToUtf8(FieldText(f.name)), value = ToUtf8(FieldText(f.value));
    list.push_back(names_only ? Json{{"name", name}} : Json{{"name", name}, {"value", value}});
    table.Add(names_only ? std::vector<std::string>{name} : std::vector<std::string>{name, value});
  }
  if (json) {
    PrintJson({{"account", account}, {"count", fields.size()}, {"fields", list}});
  } else {
    if (names_only) std::printf("%zu field%s\n", fields.size(), fields.size() == 1 ? "" : "s");
    if (!table.Empty()) table.Print();
  }
  return kExitOk;
}

}  // namespace

const char* BuddiesCommand::Help() const {
  return "usage: vaultkit [--data-root DIR] --account NAME buddies ACTION [--json]\n"
         "  set ACCOUNT NAME=VALUE...  add or replace fields of the buddy ACCOUNT (kept in lower\n"
         "                    case); a field set again moves to the end. Names and values\n"
         "                    hold at most 255 characters\n"
         "  get ACCOUNT [NAME] every field of the buddy, or the value of one field (field\n"
         "                    names match in exact letter case)\n"
         "  fields ACCOUNT    how many fields the buddy has, and their names\n"
         "  delete ACCOUNT    remove the buddy. Give ACCOUNT in lower case: unlike every other\n"
         "                    action, delete matches it exactly as given\n"
         "A double quote in ACCOUNT or NAME makes the store's lookup fail. The client opens\n"
         "this store only when WEZProfilePro.dat exists; this command creates it at the first\n"
         "set. Changes are written, enciphered, when the command ends (every 60 s in the\n"
         "client).\n";
}

int BuddiesCommand::Run(Host& host, const Args& all) {
  Args args = all;
  bool json = args.TakeFlag("--json");
  if (args.size() < 2) {
    throw UsageError{"buddies needs an action and an ACCOUNT: set, get, fields or delete"};
  }
  const std::string &action = args[0], &account = args[1];
  std::vector<std::string> rest(args.begin() + 2, args.end());
  ComPtr<IWEZProfileProStore> store = OpenBuddyProfiles(host);
  if (action == "get" && rest.size() <= 1) {
    return rest.empty() ? GetAll(store.get(), account, false, json)
                        : GetOne(store.get(), account, rest[0], json);
  }
  if (action == "fields" && rest.empty()) return GetAll(store.get(), account, true, json);
  int status = kExitOk;
  if (action == "set" && !rest.empty()) {
    std::vector<BuddyField> fields;
    for (const std::string& assignment : rest) fields.push_back(ToField(assignment));
    status =
        Report("SetBuddyFields", store->SetBuddyFields(FromUtf8(account).c_str(), fields.data(),
                                                       static_cast<LONG>(fields.size())));
  } else if (action == "delete" && rest.empty()) {
    Lookup("DeleteBuddy", "no buddy '" + account + "' is kept (delete needs the lower-case name)",
           [&] { return store->DeleteBuddy(FromUtf8(account).c_str()); });
  } else {
    throw UsageError{"unknown or incomplete buddies action (see vaultkit buddies --help)"};
  }
  return CloseAndConfirm(host, store.get(), StoreId::kBuddyProfiles, status);
}

std::unique_ptr<Command> MakeBuddiesCommand() {
  return std::make_unique<BuddiesCommand>();
}

}  // namespace vk::cli
