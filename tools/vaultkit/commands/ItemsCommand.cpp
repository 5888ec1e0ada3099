#include <algorithm>
#include <cstdio>
#include <filesystem>

#include "tools/vaultkit/cli/Host.h"
#include "tools/vaultkit/cli/Json.h"
#include "tools/vaultkit/cli/RecordInput.h"
#include "tools/vaultkit/cli/SetAside.h"
#include "tools/vaultkit/cli/StoreAccess.h"
#include "tools/vaultkit/cli/Table.h"
#include "tools/vaultkit/commands/Commands.h"

namespace vk::cli {

// items set|get|list|delete|delete-fields|export|merge|find on the account's WEZExtBuddy.xml.
class ItemsCommand : public Command {
 public:
  const char* Name() const override { return "items"; }
  const char* Summary() const override {
    return "named items of id=value fields: the external buddies (WEZExtBuddy.xml)";
  }
  const char* Help() const override;
  int Run(Host& host, const Args& args) override;
};

namespace {

// Every item as GetItemNames gives it, each with its fields (the array sized by the counts).
struct Item {
  std::string name;
  std::vector<std::pair<std::string, std::string>> fields;
};

std::vector<Item> Items(IWEZItemStore* store) {
  LONG count = 0;
  HRESULT hr = store->GetItemCount(&count);
  std::vector<ItemField> names(static_cast<size_t>(std::max<LONG>(count, 0)));
  if (hr == S_OK && count > 0) hr = store->GetItemNames(names.data());
  if (hr != S_OK) throw Failure{"cannot list the items: " + FailureReason(hr)};
  std::vector<Item> items;
  for (const ItemField& name : names) {
    Item item{FieldUtf8(name.value), {}};
    std::u16string wide = FromUtf8(item.name);
    LONG fields = 0, written = 0;
    store->GetItemFieldCount(wide.c_str(), &fields);
    std::vector<ItemField> records(static_cast<size_t>(std::max<LONG>(fields, 0)));
    if (fields > 0) store->GetItemFields(wide.c_str(), records.data(), &written);
    for (LONG i = 0; i < written; ++i) {
      item.fields.emplace_back(FieldUtf8(records[i].id), FieldUtf8(records[i].value));
    }
    items.push_back(std::move(item));
  }
  return items;
}

Json FieldsJson(const Item& item) {
  Json fields = Json::object();
  for (const auto& [id, value] : item.fields) fields[id] = value;
  return fields;
}

// ID=VALUE, or just ID where only ids count.
ItemField FieldArgument(const std::string& arg, bool with_value) {
  size_t equals = arg.find('=');
  if (with_value && (equals == std::string::npos || equals == 0)) {
    throw UsageError{"'" + arg + "' is not ID=VALUE with a non-empty ID"};
  }
  ItemField record{};
  FillField(record.id, with_value ? arg.substr(0, equals) : arg, "a field id");
  if (with_value) FillField(record.value, arg.substr(equals + 1), "a field value");
  return record;
}

}  // namespace

const char* ItemsCommand::Help() const {
  return "usage: vaultkit [--data-root DIR] --account NAME items ACTION [--json]\n"
         "  set ITEM ID=VALUE...       set fields of ITEM, creating the item when unknown\n"
         "  get ITEM                   the item's fields as ID=VALUE lines; exit 1 when no\n"
         "                             item has that name\n"
         "  list                       every item with its number of fields\n"
         "  delete ITEM                remove the item with its fields\n"
         "  delete-fields ITEM ID...   remove those fields of the item\n"
         "  export FILE                copy every item into the item file FILE, creating it\n"
         "  merge FILE                 copy every item into the existing item file FILE\n"
         "  find TEXT                  the first item holding a value NOT BELOW TEXT\n"
         "Kept behaviour of the store:\n"
         "  find compares by order, not equality: the first value V with TEXT <= V (UTF-16\n"
         "  code-unit order) names the item; when there is none it exits 1.\n"
         "  A lookup whose expression passes 127 characters finds nothing: an ITEM name of\n"
         "  more than 109 characters (fewer with a long field id) makes every set add another\n"
         "  item or field of the same name, which get, delete and delete-fields do not reach.\n"
         "  Names and ids go into lookups between double quotes: one holding a quote fails.\n"
         "  export and merge never overwrite a field the target has; export replaces a FILE\n"
         "  that is not XML by an empty item file, keeping the old bytes as\n"
         "  FILE.damaged-<time>. Ids and values are read back cut to 255 characters.\n"
         "  export to a FILE that exists asks first (--yes, --dry-run) and keeps a copy of\n"
         "  it as FILE.removed-<time>.\n"
         "Changes are written to WEZExtBuddy.xml when the store is flushed (every 60 s in the\n"
         "client; when this command ends here).\n";
}

int ItemsCommand::Run(Host& host, const Args& all) {
  Args args = all;
  bool json = args.TakeFlag("--json");
  if (args.empty()) throw UsageError{"items needs an action (see vaultkit items --help)"};
  const std::string& action = args[0];
  std::vector<std::string> rest(args.begin() + 1, args.end());
  bool changes = action == "set" || action == "delete" || action == "delete-fields";
  if (!((changes && !rest.empty()) || (action == "get" && rest.size() == 1) ||
        (action == "list" && rest.empty()) ||
        ((action == "export" || action == "merge" || action == "find") && rest.size() == 1))) {
    throw UsageError{"unknown or incomplete items action (see vaultkit items --help)"};
  }
  std::vector<ItemField> records;
  for (size_t i = 1; changes && action != "delete" && i < rest.size(); ++i) {
    records.push_back(FieldArgument(rest[i], action == "set"));
  }
  if (action == "set" && records.empty()) throw UsageError{"items set needs ID=VALUE fields"};

  if (action == "export" && IsRegularFile(rest[0])) {
    // The store replaces a FILE that is not an item file; a file of the user's goes only when
    // the user agrees, and a copy stays beside it.
    if (!host.Confirm("write the items into the existing file " + rest[0] +
                      ", replacing it when it is not an item file (a copy is kept as " + rest[0] +
                      ".removed-TIME)")) {
      return kExitOk;
    }
    const std::filesystem::path path = std::filesystem::absolute(rest[0]);
    SetAside(path.string(), path.parent_path().string(), path.filename().string());
  }
  ComPtr<IWEZItemStore> store = OpenItemStore(host);
  std::u16string first = rest.empty() ? u"" : FromUtf8(rest[0]);
  LONG count = static_cast<LONG>(records.size());
  if (action == "set" || action == "delete" || action == "delete-fields") {
    int status =
        action == "set"
            ? Report("SetItemFields", store->SetItemFields(first.c_str(), records.data(), count))
        : action == "delete"
            ? Report("DeleteItem", store->DeleteItem(first.c_str()))
            : Report("DeleteItemFields",
                     store->DeleteItemFields(first.c_str(), records.data(), count));
    return CloseAndConfirm(host, store.get(), StoreId::kItems, status);
  }
  if (action == "export" || action == "merge") {
    return action == "export" ? Report("ExportToFile", store->ExportToFile(first.c_str()))
                              : Report("MergeIntoFile", store->MergeIntoFile(first.c_str()));
  }
  if (action == "find") {
    BSTR found = nullptr;
    HRESULT hr = store->FindItemByFieldValue(first.c_str(), &found);
    std::string name = Utf8(found);
    if (hr != S_OK) return Report("FindItemByFieldValue", hr);
    if (name.empty()) throw NotFound{"no item holds a value not below '" + rest[0] + "'"};
    json ? PrintJson({{"text", rest[0]}, {"item", name}}) : void(std::printf("%s\n", name.c_str()));
    return kExitOk;
  }
  std::vector<Item> items = Items(store.get());
  if (action == "get") {
    auto item =
        std::find_if(items.begin(), items.end(), [&](const Item& i) { return i.name == rest[0]; });
    if (item == items.end()) throw NotFound{"no item is named '" + rest[0] + "'"};
    if (json) {
      PrintJson({{"name", item->name}, {"fields", FieldsJson(*item)}});
    } else {
      for (const auto& [id, value] : item->fields)
        std::printf("%s=%s\n", id.c_str(), value.c_str());
    }
    return kExitOk;
  }
  Json list = Json::array();
  Table table({"item", "fields"});
  for (const Item& item : items) {
    list.push_back({{"name", item.name}, {"fields", FieldsJson(item)}});
    table.Add({item.name, std::to_string(item.fields.size())});
  }
  if (json) {
    PrintJson(list);
  } else if (table.Empty()) {
    std::printf("(no items)\n");
  } else {
    table.Print();
  }
  return kExitOk;
}

std::unique_ptr<Command> MakeItemsCommand() {
  return std::make_unique<ItemsCommand>();
}

}  // namespace vk::cli
