// An option file as found on disk: read through the profile functions, then written (which
// reads and rewrites the whole file) and read again: what was written is what is read.
#include <algorithm>

#include "fuzz/FuzzSupport.h"
#include "settings/OptionStore.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const vk::fuzz::Scratch& scratch = vk::fuzz::Scratch::Fresh();
  scratch.Write("User.cfg", vk::fuzz::Bytes(data, size));
  vk::ComPtr<COptionStore> store(new COptionStore());
  if (store->Open(scratch.File("User.cfg").c_str()) != S_OK) return 0;
  LONG value = 0;
  store->GetInt(u"Num", &value);
  OLECHAR text[64] = {};
  store->GetString(u"Text", text, sizeof text);
  unsigned char blob[8] = {};
  store->GetStruct(u"Blob", blob, sizeof blob);
  if (store->SetInt(u"Num", 12345) == S_OK) {
    store->GetInt(u"Num", &value);
    vk::fuzz::Expect(value == 12345, "the option file does not give back the number written");
  }
  store->SetString(u"Text", nullptr);
  const unsigned char mine[3] = {1, 2, 0xAB};
  if (store->SetStruct(u"Mine", mine, sizeof mine) == S_OK) {
    vk::fuzz::Expect(store->GetStruct(u"Mine", blob, sizeof mine) == S_OK &&
                         std::equal(mine, mine + sizeof mine, blob),
                     "the option file does not give back the bytes written");
  }
  store->GetString(u"Other", text, sizeof text);
  return 0;
}
