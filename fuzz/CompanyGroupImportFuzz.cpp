// The server's company group XML: imported into a fresh company tree, which is then read.
#include "fuzz/GroupTree.h"
#include "groups/WEZGroupStore.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const vk::fuzz::Scratch& scratch = vk::fuzz::Scratch::Fresh();
  scratch.Write("company.xml", vk::fuzz::Bytes(data, size));
  vk::ComPtr<CWEZGroupStore> store(new CWEZGroupStore());
  if (store->Initialize(scratch.File("Group.dat").c_str(), 1) != S_OK) return 0;
  store->LoadDataFromXml(scratch.File("company.xml").c_str());
  vk::fuzz::WalkGroups(store.get());
  return 0;
}
