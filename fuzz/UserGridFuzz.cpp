// The user grid's file as found on disk: opened, read, changed and written back; a second
// store opened on the written file answers as the first did.
#include <tuple>

#include "fuzz/FuzzSupport.h"
#include "org/UserGrid.h"

namespace {

auto Answers(CUserGrid* grid) {
  LONG version = -1, bob = -1;
  const HRESULT has_version = grid->GetVersion(&version);
  const HRESULT has_bob = grid->GetGrid(u"bob", &bob);
  return std::tuple(has_version, version, has_bob, bob);
}

}  // namespace

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
  const auto answers = Answers(grid.get());
  grid->Close();
  vk::fuzz::Ref<CUserGrid> again(new CUserGrid());
  again->Initialize(scratch.File("UserGrid.xml").c_str(), nullptr);
  vk::fuzz::Expect(Answers(again.get()) == answers, "the saved user grid answers otherwise");
  again->Clear();
  return 0;
}
