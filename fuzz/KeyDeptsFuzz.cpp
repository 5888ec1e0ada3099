// The key departments' file as found on disk: opened, read, changed and written back; a
// second store opened on the written file answers as the first did.
#include <tuple>
#include <vector>

#include "fuzz/FuzzSupport.h"
#include "org/KeyDepts.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  vk::fuzz::RoundTrip<CKeyDepts>(
      data, size, "KeyDepts.xml",
      [](CKeyDepts& keys) {
        LONG version = 0;
        keys.GetVersion(&version);
        ULONG ids[64] = {};
        LONG count = 64;
        keys.GetKeyDepts(u"ann", ids, &count);
        ULONG mine[] = {12, 34};
        count = 2;
        keys.SetKeyDepts(u"bob", mine, &count);
        keys.SetVersion(9);
        keys.ResetIfExpired();
      },
      [](CKeyDepts& keys) {
        LONG version = -1;
        const HRESULT has_version = keys.GetVersion(&version);
        std::vector<ULONG> ids(64);
        LONG count = 64;
        const HRESULT has_ids = keys.GetKeyDepts(u"bob", ids.data(), &count);
        ids.resize(count > 0 && count <= 64 ? static_cast<size_t>(count) : 0);
        return std::tuple(has_version, version, has_ids, ids);
      },
      "the saved key departments answer otherwise");
  return 0;
}
