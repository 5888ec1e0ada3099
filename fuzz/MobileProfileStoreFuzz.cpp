// The mobile profile's file as found on disk: opened, every entry read, changed, written back.
#include <string>
#include <vector>

#include "fuzz/FuzzSupport.h"
#include "profiles/MobileProfileStore.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const vk::fuzz::Scratch& scratch = vk::fuzz::Scratch::Fresh();
  scratch.Write("MobileProfile.xml", vk::fuzz::Bytes(data, size));
  vk::ComPtr<CMobileProfileStore> store(new CMobileProfileStore());
  if (store->Initialize(scratch.File("MobileProfile.xml").c_str()) != S_OK) return 0;
  LONG count = 0;
  store->GetItemCount(&count);
  std::u16string first = u"phone";
  if (size_t n = vk::fuzz::Capacity(count)) {
    std::vector<MobileProfileItem> items(n);
    store->GetItems(items.data());
    if (count > 0) first = vk::FieldText(items[0].Name);
  }
  MobileProfileItem item{};
  store->GetItem(first.c_str(), &item);
  MobileProfileItem added{};
  vk::CopyToField(added.Name, first);
  vk::CopyToField(added.Number, u"13800000000");
  store->AddItem(&added);
  store->DeleteItem(first.c_str());
  store->Close();
  return 0;
}
