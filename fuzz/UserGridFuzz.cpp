// The user grid's file as found on disk: opened, read, changed and written back.
#include "fuzz/FuzzSupport.h"
#include "org/UserGrid.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const vk::fuzz::Scratch& scratch = vk::fuzz::Scratch::Fresh();
  scratch.Write("UserGrid.xml", vk::fuzz::Bytes(data, size));
  vk::fuzz::Ref<CUserGrid> grid(new CUserGrid());
  if (grid->Initialize(scratch.File("UserGrid.xml").c_str(), nullptr) != S_OK) return 0;
  LONG value = 0;
  grid->GetVersion(&value);
  grid->GetGrid(u"ann", &value);
  grid->SetGrid(u"bob", 3);
  grid->SetVersion(7);
  grid->Close();
  grid->Clear();
  return 0;
}
