// The key departments' file as found on disk: opened, read, changed and written back.
#include "fuzz/FuzzSupport.h"
#include "org/KeyDepts.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const vk::fuzz::Scratch& scratch = vk::fuzz::Scratch::Fresh();
  scratch.Write("KeyDepts.xml", vk::fuzz::Bytes(data, size));
  vk::fuzz::Ref<CKeyDepts> keys(new CKeyDepts());
  if (keys->Initialize(scratch.File("KeyDepts.xml").c_str(), nullptr) != S_OK) return 0;
  LONG version = 0;
  keys->GetVersion(&version);
  ULONG ids[64] = {};
  LONG count = 64;
  keys->GetKeyDepts(u"ann", ids, &count);
  ULONG mine[] = {12, 34};
  count = 2;
  keys->SetKeyDepts(u"bob", mine, &count);
  keys->SetVersion(9);
  keys->ResetIfExpired();
  keys->Close();
  return 0;
}
