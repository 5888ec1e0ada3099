#include <cstdio>
#include <filesystem>

#include "platform/Text.h"
#include "samples/OffMsgSamples.h"
#include "tools/vaultkit/cli/Host.h"
#include "tools/vaultkit/cli/Json.h"
#include "tools/vaultkit/cli/SetAside.h"
#include "tools/vaultkit/cli/StoreAccess.h"
#include "tools/vaultkit/cli/Table.h"
#include "tools/vaultkit/commands/Commands.h"

namespace vk::cli {

// offmsg list|show|delete|count|latest|check|clear-empty|generate on the account's offline
// message channels.
class OffMsgCommand : public Command {
 public:
  const char* Name() const override { return "offmsg"; }
  const char* Summary() const override { return "offline messages (OffMsgFiles)"; }
  const char* Help() const override;
  int Run(Host& host, const Args& args) override;
};

namespace {

// The items of a data list handed back in a variant; the variant is cleared.
std::vector<ComPtr<IDataItem>> Items(VARIANT& list) {
  std::vector<ComPtr<IDataItem>> items;
  if (list.vt == VT_DISPATCH && list.u.pdispVal != nullptr) {
    auto* data = static_cast<IDataList*>(list.u.pdispVal);
    LONG count = 0;
    data->get_Count(&count);
    for (LONG i = 1; i <= count; ++i) {
      IDataItem* item = nullptr;
      if (SUCCEEDED(data->Item(i, &item))) items.emplace_back(item);
    }
  }
  VariantClear(&list);
  return items;
}

std::string Text(IDataItem* item, const char16_t* name) {
  BSTR value = nullptr;
  item->GetTextAttr(name, &value);
  return Utf8(value);
}

LONG Int(IDataItem* item, const char16_t* name) {
  LONG value = 0;
  item->GetIntAttr(name, &value);
  return value;
}

int List(ILocalOffMsgStore* store, bool json) {
  VARIANT list;
  VariantInit(&list);
  HRESULT hr = store->GetIndexes(&list);
  std::vector<ComPtr<IDataItem>> items = Items(list);
  if (int status = Report("GetIndexes", hr); status != kExitOk) return status;
  Json all = Json::array();
  Table table({"conversation", "count", "created", "actor", "type", "title", "session"});
  for (const auto& item : items) {
    IDataItem* i = item.get();
    all.push_back({{"msg_id", Text(i, u"MsgID")},
                   {"count", Int(i, u"Count")},
                   {"create_time", Int(i, u"CreateTime")},
                   {"actor", Text(i, u"Actor")},
                   {"type", Text(i, u"Type")},
                   {"title", Text(i, u"Title")},
                   {"session_desc", Text(i, u"SessionDesc")}});
    table.Add({Text(i, u"MsgID"), std::to_string(Int(i, u"Count")),
               std::to_string(Int(i, u"CreateTime")), Text(i, u"Actor"), Text(i, u"Type"),
               Text(i, u"Title"), Text(i, u"SessionDesc")});
  }
  if (json) {
    PrintJson(all);
  } else if (table.Empty()) {
    std::printf("(no offline messages)\n");
  } else {
    table.Print();
  }
  return kExitOk;
}

int Show(ILocalOffMsgStore* store, const std::string& id, bool json) {
  std::u16string wide = FromUtf8(id);
  VARIANT list;
  VariantInit(&list);
  HRESULT hr = store->GetOffMsgByID(wide.c_str(), &list);
  std::vector<ComPtr<IDataItem>> items = Items(list);
  if (int status = Report("GetOffMsgByID", hr); status != kExitOk) return status;
  if (items.empty()) throw NotFound{"no readable offline message " + id};
  Json all = Json::array();
  for (const auto& item : items) {
    IDataItem* i = item.get();
    // The store's attribute "Recievers" is spelled as the client reads it; the key is not.
    Json one = {{"msg_id", Text(i, u"Identifier")},     {"sender", Text(i, u"Sender")},
                {"receivers", Text(i, u"Recievers")},   {"type", Text(i, u"Type")},
                {"create_time", Int(i, u"CreateTime")}, {"xml", Text(i, u"Xml")}};
    if (!json) {
      std::printf("from %s to %s, type %s, created %d:\n%s\n", Text(i, u"Sender").c_str(),
                  Text(i, u"Recievers").c_str(), Text(i, u"Type").c_str(), Int(i, u"CreateTime"),
                  Text(i, u"Xml").c_str());
    }
    all.push_back(one);
  }
  if (json) PrintJson(all);
  return kExitOk;
}

// The channel files come from the client's network side, not from the store, whose interface
// only reads and deletes them; so the command writes them as the tests do, through the shared
// sample writer, which stands on the platform layer alone and is no part of any store.
std::string ChannelFolder(Host& host, LONG channel) {
  return ToUtf8(
      samples::OffMsgChannelFolder(FromUtf8(host.DataRoot()), FromUtf8(host.Account()), channel));
}

// The channels a store call may clear (by its rule, every regular file of a channel's folder
// goes) are copied first into OffMsgFiles, which no call clears, after the user agreed to
// `what`. True: go on; false: a dry run, nothing copied or changed.
bool ConfirmClearing(Host& host, const std::vector<LONG>& channels, const std::string& what) {
  std::vector<std::string> files;
  for (LONG channel : channels) {
    for (const std::string& file : RegularFiles(ChannelFolder(host, channel)))
      files.push_back(file);
  }
  if (files.empty()) return true;
  std::string listing;
  for (const std::string& file : files) listing += "\n  " + host.Shown(file);
  if (!host.Confirm(what + ", deleting" + listing + "\n(copies are kept in OffMsgFiles as " +
                    "NAME.removed-TIME)")) {
    return false;
  }
  for (const std::string& file : files) {
    const std::filesystem::path path(file);
    SetAside(file, path.parent_path().parent_path().string(),
             path.parent_path().filename().string() + "-" + path.filename().string());
  }
  return true;
}

int Generate(Host& host, Args args) {
  int32_t conversations = ParseInt32(args.TakeOption("--conversations", "3"), "N");
  int32_t records = ParseInt32(args.TakeOption("--records", "6"), "M");
  int32_t channel = ParseInt32(args.TakeOption("--channel", "0"), "CHANNEL");
  if (!args.empty()) throw UsageError{"unknown generate option " + args[0]};
  if (channel != 0 && channel != 2) throw UsageError{"CHANNEL is 0 (IM) or 2 (discussions)"};
  if (conversations < 1 || records < 0 || records > 1000000) {
    throw UsageError{"N must be at least 1 and M between 0 and 1000000"};
  }
  if (!ConfirmClearing(host, {channel}, "replace the offline channel " + std::to_string(channel))) {
    return kExitOk;
  }
  std::u16string root = FromUtf8(host.DataRoot());
  std::u16string account = FromUtf8(host.Account());
  std::u16string prefix = channel == 0 ? u"im" : u"dg";
  auto files =
      samples::BuildOffMsgChannel(samples::SampleOffMsgRecords(records, conversations, prefix));
  if (!samples::WriteOffMsgChannel(root, account, channel, files)) {
    throw Failure{"cannot write the channel in " +
                  ToUtf8(samples::OffMsgChannelFolder(root, account, channel))};
  }
  std::printf("wrote %d messages in %d conversations (%s0 ...) to %s\n", records, conversations,
              ToUtf8(prefix).c_str(),
              ToUtf8(samples::OffMsgChannelFolder(root, account, channel)).c_str());
  return kExitOk;
}

}  // namespace

const char* OffMsgCommand::Help() const {
  return "usage: vaultkit [--data-root DIR] --account NAME offmsg ACTION [--json]\n"
         "  list            conversations of both channels (0 IM, 2 discussions) in the\n"
         "                  store's order: a conversation with a later record moves to the\n"
         "                  end; its count spans both channels, its other columns come from\n"
         "                  its first record\n"
         "  show ID         the message(s) of ID (any letter case), decompressed; one per\n"
         "                  channel at most; exit 1 when no record of ID has a readable body\n"
         "  delete ID       remove every index record of ID; the bodies stay in the data\n"
         "                  file; an ID that is not there is no error (the store does not\n"
         "                  tell)\n"
         "  count           DataSum of both channels; -1 when neither has an index\n"
         "  latest          per channel the latest CreateTime and the Addr of its record\n"
         "  repair          clear a channel that has only one of its two files\n"
         "  clear-empty     delete the files of every channel whose DataSum is 0 or less\n"
         "  generate [--channel 0|2] [--conversations N] [--records M]\n"
         "                  write a sample channel (index and zlib bodies), replacing it\n"
         "repair, clear-empty and generate over an existing channel list the files they\n"
         "would delete and ask first (--yes: do not ask; --dry-run: only list them); each\n"
         "file is copied to OffMsgFiles/CHANNEL-NAME.removed-TIME before it goes.\n";
}

int OffMsgCommand::Run(Host& host, const Args& all) {
  Args args = all;
  bool json = args.TakeFlag("--json");
  if (args.empty()) throw UsageError{"offmsg needs an action: list, show, delete, ..."};
  const std::string& action = args[0];
  std::vector<std::string> rest(args.begin() + 1, args.end());
  if (action == "generate") {
    if (!host.HasAccount()) throw UsageError{"offline messages need --account NAME"};
    return Generate(host, args.Tail());
  }
  CheckAction("offmsg", args,
              {{"list", ""},
               {"show", "ID"},
               {"delete", "ID"},
               {"count", ""},
               {"latest", ""},
               {"repair", ""},
               {"clear-empty", ""}});
  // What repair and clear-empty may delete is agreed to and copied before the store opens.
  if (action == "repair") {
    // A channel with exactly one of its two files is cleared whole by the store.
    std::vector<LONG> lone;
    for (LONG channel : {0, 2}) {
      const std::string base = ChannelFolder(host, channel) + host.Account();
      if (IsRegularFile(base + ".xml") != IsRegularFile(base + ".txt")) lone.push_back(channel);
    }
    if (!lone.empty() &&
        !ConfirmClearing(host, lone, "clear the channel(s) that have only one of their files")) {
      return kExitOk;
    }
  }
  // The store reads each channel's count itself; whatever it may clear is kept first.
  if (action == "clear-empty" &&
      !ConfirmClearing(host, {0, 2}, "clear each channel whose count is 0 or unreadable")) {
    return kExitOk;
  }
  ComPtr<ILocalOffMsgStore> store = OpenOffMsgs(host);
  if (action == "list" && rest.empty()) return List(store.get(), json);
  if (action == "show" && rest.size() == 1) return Show(store.get(), rest[0], json);
  if (action == "delete" && rest.size() == 1) {
    std::u16string id = FromUtf8(rest[0]);
    return Report("DeleteOffMsgIndexByID", store->DeleteOffMsgIndexByID(id.c_str()));
  }
  if (action == "count" && rest.empty()) {
    LONG count = 0;
    if (int status = Report("GetTotalCount", store->GetTotalCount(&count)); status != kExitOk) {
      return status;
    }
    json ? PrintJson({{"count", count}}) : (void)std::printf("%d\n", count);
    return kExitOk;
  }
  if (action == "latest" && rest.empty()) {
    LONG t[4] = {};
    if (int status = Report("GetLatest", store->GetLatest(&t[0], &t[1], &t[2], &t[3]));
        status != kExitOk) {
      return status;
    }
    if (json) {
      PrintJson({{"im", {{"create_time", t[0]}, {"addr", t[1]}}},
                 {"discussion", {{"create_time", t[2]}, {"addr", t[3]}}}});
    } else {
      Table table({"channel", "latest", "addr"});
      table.Add({"0 IM", std::to_string(t[0]), std::to_string(t[1])});
      table.Add({"2 discussions", std::to_string(t[2]), std::to_string(t[3])});
      table.Print();
    }
    return kExitOk;
  }
  if (action == "repair") {
    LONG consistent = 0;
    if (int status = Report("CheckFiles", store->CheckFiles(&consistent)); status != kExitOk) {
      return status;
    }
    std::printf(consistent == 1 ? "both channels consistent\n"
                                : "a channel with only one of its files was cleared\n");
    return kExitOk;
  }
  if (action == "clear-empty") {
    return Report("ClearEmptyChannels", store->ClearEmptyChannels());
  }
  throw UsageError{"unknown or incomplete offmsg action (see vaultkit offmsg --help)"};
}

std::unique_ptr<Command> MakeOffMsgCommand() {
  return std::make_unique<OffMsgCommand>();
}

}  // namespace vk::cli
