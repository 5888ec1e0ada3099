// The user grid's file as found on disk: opened, read, changed and written back; a second
// store opened on the written file answers as the first did.
#include <tuple>

#include "fuzz/FuzzSupport.h"
#include "org/UserGrid.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  auto again = vk::fuzz::RoundTrip<CUserGrid>(
      data, size, "UserGrid.xml",
      [](CUserGrid& grid) {
        LONG value = 0;
        grid.GetVersion(&value);
        grid.GetGrid(u"ann", &value);
        grid.SetGrid(u"bob", 3);
        grid.SetVersion(7);
      },
      [](CUserGrid& grid) {
        LONG version = -1, bob = -1;
        const HRESULT has_version = grid.GetVersion(&version);
        const HRESULT has_bob = grid.GetGrid(u"bob", &bob);
        return std::tuple(has_version, version, has_bob, bob);
      },
      "the saved user grid answers otherwise");
  if (again) again->Clear();
  return 0;
}
