// The offline-message files of both channels as found on disk. The input holds up to four
// parts (instant-message index, its data file, discussion index, its data file); a missing
// part is a missing file. Every reading operation runs, then the index rewrites.
#include <optional>
#include <string>
#include <vector>

#include "client/ClientRoot.h"
#include "client/ModuleSite.h"
#include "fuzz/FuzzSupport.h"
#include "messages/LocalOffMsgStore.h"
#include "platform/ReadableFile.h"
#include "storage/OffMsgIndexScan.h"

namespace {

constexpr const char* kFiles[] = {
    "Accounts/fuzz/OffMsgFiles/IM/fuzz.xml", "Accounts/fuzz/OffMsgFiles/IM/fuzz.txt",
    "Accounts/fuzz/OffMsgFiles/DisGroup/fuzz.xml", "Accounts/fuzz/OffMsgFiles/DisGroup/fuzz.txt"};

// Reads every attribute of every item of a listing, as the client shows it; the first
// MsgID found is kept for the lookup that follows.
void ReadList(VARIANT& list, std::u16string& first_id) {
  if (list.vt != VT_DISPATCH || list.u.pdispVal == nullptr) return;
  auto* items = static_cast<IDataList*>(list.u.pdispVal);
  LONG count = 0;
  items->get_Count(&count);
  for (LONG i = 1; i <= count; ++i) {
    IDataItem* item = nullptr;
    if (items->Item(i, &item) != S_OK || item == nullptr) continue;
    for (const char16_t* name : {u"MsgID", u"SessionDesc", u"Actor", u"Title", u"Type", u"Xml",
                                 u"Identifier", u"Sender", u"Recievers"}) {
      vk::fuzz::OwnedBstr text;
      if (item->GetTextAttr(name, &text) == S_OK && first_id.empty() && text.get() != nullptr &&
          std::u16string_view(name) == u"MsgID") {
        first_id = text.get();
      }
    }
    LONG value = 0;
    item->GetIntAttr(u"CreateTime", &value);
    item->GetIntAttr(u"Count", &value);
    item->Release();
  }
}

struct Scanned {
  bool ok = false;
  std::vector<std::string> ids;
};

Scanned Scan(vk::ReadableFile& file, const vk::OffMsgIndexScan::Part& part) {
  Scanned s;
  s.ok = vk::OffMsgIndexScan::Scan(
      file, part, [](const vk::OffMsgAttributes&) {},
      [&](const vk::OffMsgAttributes& a) { s.ids.push_back(a.Utf8("MsgID").value_or("")); });
  return s;
}

// A large index is read in two parts when the first one reads: the two must then give what
// the whole file gives, wherever the split falls.
void CheckTwoParts(const std::u16string& path) {
  vk::ReadableFile file(path);
  if (!file.IsOpen()) return;
  std::optional<vk::OffMsgIndexScan::Split> split = vk::OffMsgIndexScan::FindSplit(file, 0.45);
  if (!split) return;
  const Scanned first = Scan(file, split->First());
  if (!first.ok) return;
  const Scanned second = Scan(file, split->Second());
  const Scanned whole = Scan(file, {});
  vk::fuzz::Expect(second.ok == whole.ok, "the two parts read as the whole file does");
  if (!whole.ok) return;
  std::vector<std::string> ids = first.ids;
  ids.insert(ids.end(), second.ids.begin(), second.ids.end());
  vk::fuzz::Expect(ids == whole.ids, "the two parts hold the whole file's records");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const vk::fuzz::Scratch& scratch = vk::fuzz::Scratch::Fresh();
  const auto parts = vk::fuzz::SplitParts(vk::fuzz::Bytes(data, size), 4);
  vk::ComPtr<vk::ClientRoot> root(new vk::ClientRoot());
  root->SetDataFolder(scratch.File(""));
  root->SetAccount(u"fuzz");
  vk::ComPtr<vk::ModuleSite> site(new vk::ModuleSite(root.get()));
  vk::ComPtr<CLocalOffMsgStore> store(new CLocalOffMsgStore());
  if (store->Init(site.get()) != S_OK || store->OpenAccount() != S_OK) return 0;
  for (size_t i = 0; i < parts.size(); ++i) scratch.Write(kFiles[i], parts[i]);
  CheckTwoParts(scratch.File(kFiles[0]));

  LONG value = 0, addr = 0, time = 0, disc_addr = 0;
  store->GetTotalCount(&value);
  std::u16string id;
  VARIANT list;
  VariantInit(&list);
  store->GetIndexes(&list);
  ReadList(list, id);
  VariantClear(&list);
  VariantInit(&list);
  store->GetOffMsgByID(id.empty() ? u"conv0" : id.c_str(), &list);
  ReadList(list, id);
  VariantClear(&list);
  store->GetLatest(&time, &addr, &value, &disc_addr);
  vk::fuzz::OwnedBstr written;
  store->GetFileLastWriteTime(scratch.File(kFiles[0]).c_str(), &written);
  store->SetFileLastWriteTime(VK_OFFMSG_CHANNEL_DISCUSSION, u"2026-01-01 00:00:00");
  store->DeleteOffMsgIndexByID(id.empty() ? u"conv1" : id.c_str());
  store->CheckFiles(&value);
  store->ClearEmptyChannels();
  return 0;
}
