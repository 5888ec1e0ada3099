// The department leaders' file as found on disk: opened, read, changed and written back; a
// second store opened on the written file answers as the first did.
#include <tuple>

#include "fuzz/FuzzSupport.h"
#include "org/DeptLeader.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  vk::fuzz::RoundTrip<CDeptLeader>(
      data, size, "Leader.xml",
      [](CDeptLeader& leader) {
        LONG value = 0;
        leader.GetVersion(&value);
        leader.GetLeader(1, &value);
        leader.SetLeader(2, 5, 9);
        leader.DeleteDept(1);
        leader.SetVersion(4);
        leader.ResetIfExpired();
      },
      [](CDeptLeader& leader) {
        LONG version = -1, two = -1;
        const HRESULT has_version = leader.GetVersion(&version);
        const HRESULT has_two = leader.GetLeader(2, &two);
        return std::tuple(has_version, version, has_two, two);
      },
      "the saved leaders answer otherwise");
  return 0;
}
