// The group files earlier client versions kept beside the account's data (frequent contacts,
// user-defined groups, external buddies): taken in by the store's first opening, whose tree
// is then read. The first byte picks the kind; the rest is the file.
#include "fuzz/GroupTree.h"
#include "groups/GroupKind.h"
#include "groups/WEZGroupStore.h"
#include "platform/Files.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  static constexpr LONG kKinds[] = {2, 4, 6};
  const vk::GroupKind* kind = vk::FindGroupKind(kKinds[data[0] % 3]);
  const vk::fuzz::Scratch& scratch = vk::fuzz::Scratch::Fresh();
  scratch.Write(vk::PathToNative(kind->legacy_file), vk::fuzz::Bytes(data + 1, size - 1));
  vk::ComPtr<CWEZGroupStore> store(new CWEZGroupStore());
  if (store->Initialize(scratch.File("Groups.dat").c_str(), kind->kind) != S_OK) {
    return 0;
  }
  vk::fuzz::WalkGroups(store.get());
  return 0;
}
