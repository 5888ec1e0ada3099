// The item (external buddy) file as found on disk, and another item file to merge into: the
// first is opened, every item and field read, changed and written back; then merged.
#include <string>
#include <vector>

#include "fuzz/FuzzSupport.h"
#include "profiles/WEZItemStore.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const vk::fuzz::Scratch& scratch = vk::fuzz::Scratch::Fresh();
  const auto parts = vk::fuzz::SplitParts(vk::fuzz::Bytes(data, size), 2);
  scratch.Write("WEZExtBuddy.xml", parts[0]);
  if (parts.size() > 1) scratch.Write("Merge.xml", parts[1]);
  vk::ComPtr<CWEZItemStore> store(new CWEZItemStore());
  if (store->Initialize(vk::fuzz::OwnedBstr(scratch.File("WEZExtBuddy.xml")).get()) != S_OK) {
    return 0;
  }
  LONG count = 0;
  store->GetItemCount(&count);
  std::u16string name = u"ann";
  if (size_t n = vk::fuzz::Capacity(count)) {
    std::vector<ItemField> names(n);
    store->GetItemNames(names.data());
    if (count > 0) name = vk::FieldText(names[0].value);
  }
  LONG fields = 0;
  store->GetItemFieldCount(name.c_str(), &fields);
  std::u16string value = u"x";
  if (size_t n = vk::fuzz::Capacity(fields)) {
    std::vector<ItemField> records(n);
    store->GetItemFields(name.c_str(), records.data(), &fields);
    if (fields > 0) value = vk::FieldText(records[0].value);
  }
  VARIANT list;
  VariantInit(&list);
  store->GetItemFieldList(name.c_str(), &list);
  VariantClear(&list);
  vk::fuzz::OwnedBstr found;
  store->FindItemByFieldValue(value.c_str(), &found);
  ItemField change[2] = {};
  vk::CopyToField(change[0].id, u"Mobile");
  vk::CopyToField(change[0].value, u"123");
  vk::CopyToField(change[1].id, u"Mail");
  store->SetItemFields(name.c_str(), change, 2);
  store->DeleteItemFields(name.c_str(), change + 1, 1);
  store->Close();
  store->MergeIntoFile(scratch.File("Merge.xml").c_str());
  store->DeleteItem(name.c_str());
  store->Close();
  return 0;
}
