// The department leaders' file as found on disk: opened, read, changed and written back.
#include "fuzz/FuzzSupport.h"
#include "org/DeptLeader.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const vk::fuzz::Scratch& scratch = vk::fuzz::Scratch::Fresh();
  scratch.Write("Leader.xml", vk::fuzz::Bytes(data, size));
  vk::fuzz::Ref<CDeptLeader> leader(new CDeptLeader());
  if (leader->Initialize(scratch.File("Leader.xml").c_str(), nullptr) != S_OK) return 0;
  LONG value = 0;
  leader->GetVersion(&value);
  leader->GetLeader(1, &value);
  leader->SetLeader(2, 5, 9);
  leader->DeleteDept(1);
  leader->SetVersion(4);
  leader->ResetIfExpired();
  leader->Close();
  return 0;
}
