// The department leaders' file as found on disk: opened, read, changed and written back; a
// second store opened on the written file answers as the first did.
#include <tuple>

#include "fuzz/FuzzSupport.h"
#include "org/DeptLeader.h"

namespace {

auto Answers(CDeptLeader* leader) {
  LONG version = -1, two = -1;
  const HRESULT has_version = leader->GetVersion(&version);
  const HRESULT has_two = leader->GetLeader(2, &two);
  return std::tuple(has_version, version, has_two, two);
}

}  // namespace

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
  const auto answers = Answers(leader.get());
  leader->Close();
  vk::fuzz::Ref<CDeptLeader> again(new CDeptLeader());
  again->Initialize(scratch.File("Leader.xml").c_str(), nullptr);
  vk::fuzz::Expect(Answers(again.get()) == answers, "the saved leaders answer otherwise");
  return 0;
}
