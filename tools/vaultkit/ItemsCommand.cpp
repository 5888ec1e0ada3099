#include "tools/vaultkit/ItemsCommand.h"

#include <algorithm>
#include <cstdio>

#include "tools/vaultkit/Host.h"
#include "tools/vaultkit/RecordInput.h"
#include "tools/vaultkit/StoreAccess.h"

namespace vk::cli {
namespace {

std::vector<std::string> ItemNames(IWEZItemStore* store) {
  LONG count = 0;
  if (store->GetItemCount(&count) != S_OK || count <= 0) return {};
  std::vector<ItemField> records(static_cast<size_t>(count));
  if (store->GetItemNames(records.data()) != S_OK) return {};
  std::vector<std::string> names;
  for (const ItemField& record : records) names.push_back(FieldUtf8(record.value));
  return names;
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
  return "usage: vaultkit [--data-root DIR] --account NAME items ACTION\n"
         "  set ITEM ID=VALUE...       set fields of ITEM, creating the item when unknown\n"
         "  get ITEM                   print the item's fields as ID=VALUE lines\n"
         "  list                       print every item's name\n"
         "  delete ITEM                remove the item with its fields\n"
         "  delete-fields ITEM ID...   remove those fields of the item\n"
         "  export FILE                copy every item into the item file FILE, creating it\n"
         "  merge FILE                 copy every item into the existing item file FILE\n"
         "  find TEXT                  print the first item holding a value not below TEXT\n"
         "Kept behaviour of the store:\n"
         "  find compares by order, not equality: the first value V with TEXT <= V (UTF-16\n"
         "  code-unit order) names the item; no such value prints nothing and exits 1.\n"
         "  A lookup whose expression passes 127 characters finds nothing: an ITEM name of\n"
         "  more than 109 characters (fewer with a long field id) makes every set add another\n"
         "  item or field of the same name, which get, delete and delete-fields do not reach.\n"
         "  Names and ids go into lookups between double quotes: one holding a quote fails.\n"
         "  export and merge never overwrite a field the target has; export replaces a FILE\n"
         "  that is not XML by an empty item file, keeping the old bytes as\n"
         "  FILE.damaged-<time>. Ids and values are read back cut to 255 characters.\n"
         "Changes are written to WEZExtBuddy.xml when the store is flushed (every 60 s in the\n"
         "client; when this command ends here).\n";
}

int ItemsCommand::Run(Host& host, const std::vector<std::string>& args) {
  if (args.empty()) throw UsageError{"items needs an action (see vaultkit items --help)"};
  const std::string& action = args[0];
  std::vector<std::string> rest(args.begin() + 1, args.end());
  auto item = [&] { return FromUtf8(rest[0]); };
  auto fields = [&](bool with_value) {
    std::vector<ItemField> records;
    for (size_t i = 1; i < rest.size(); ++i) records.push_back(FieldArgument(rest[i], with_value));
    return records;
  };
  bool changes = action == "set" || action == "delete" || action == "delete-fields";
  if (!((changes && !rest.empty()) || (action == "get" && rest.size() == 1) ||
        (action == "list" && rest.empty()) ||
        ((action == "export" || action == "merge" || action == "find") && rest.size() == 1))) {
    throw UsageError{"unknown or incomplete items action (see vaultkit items --help)"};
  }
  std::vector<ItemField> records;
  if (action == "set" || action == "delete-fields") records = fields(action == "set");
  if (action == "set" && records.empty()) throw UsageError{"items set needs ID=VALUE fields"};

  ComRef<IWEZItemStore> store = OpenItemStore(host);
  int status = 0;
  if (action == "set") {
    status = ReportWithReason(
        "SetItemFields",
        store->SetItemFields(item().c_str(), records.data(), static_cast<LONG>(records.size())));
  } else if (action == "delete") {
    status = ReportWithReason("DeleteItem", store->DeleteItem(item().c_str()));
  } else if (action == "delete-fields") {
    status = ReportWithReason(
        "DeleteItemFields",
        store->DeleteItemFields(item().c_str(), records.data(), static_cast<LONG>(records.size())));
  } else if (action == "get") {
    std::vector<std::string> names = ItemNames(store.get());
    if (std::find(names.begin(), names.end(), rest[0]) == names.end()) {
      std::fprintf(stderr, "vaultkit: item '%s' not found\n", rest[0].c_str());
      return 1;
    }
    LONG count = 0, written = 0;
    status =
        ReportWithReason("GetItemFieldCount", store->GetItemFieldCount(item().c_str(), &count));
    std::vector<ItemField> out(static_cast<size_t>(std::max<LONG>(count, 0)));
    if (status == 0 && count > 0) {
      status = ReportWithReason("GetItemFields",
                                store->GetItemFields(item().c_str(), out.data(), &written));
    }
    for (LONG i = 0; i < written; ++i) {
      std::printf("%s=%s\n", FieldUtf8(out[i].id).c_str(), FieldUtf8(out[i].value).c_str());
    }
  } else if (action == "list") {
    for (const std::string& name : ItemNames(store.get())) std::printf("%s\n", name.c_str());
  } else if (action == "export" || action == "merge") {
    std::u16string file = FromUtf8(rest[0]);
    HRESULT hr =
        action == "export" ? store->ExportToFile(file.c_str()) : store->MergeIntoFile(file.c_str());
    status = ReportWithReason(action == "export" ? "ExportToFile" : "MergeIntoFile", hr);
  } else {
    BSTR found = nullptr;
    status = ReportWithReason("FindItemByFieldValue",
                              store->FindItemByFieldValue(FromUtf8(rest[0]).c_str(), &found));
    std::string name = Utf8(found);
    if (status == 0 && name.empty()) {
      std::fprintf(stderr, "vaultkit: no item holds a value not below '%s' (not found)\n",
                   rest[0].c_str());
      return 1;
    }
    if (status == 0) std::printf("%s\n", name.c_str());
  }
  if (changes) store->Close();
  return status;
}

}  // namespace vk::cli
