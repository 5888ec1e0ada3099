// The key departments' file as found on disk: opened, read, changed and written back; a
// second store opened on the written file answers as the first did.
#include <tuple>
#include <vector>

#include "fuzz/FuzzSupport.h"
#include "org/KeyDepts.h"

namespace {

auto Answers(CKeyDepts* keys) {
  LONG version = -1;
  const HRESULT has_version = keys->GetVersion(&version);
  std::vector<ULONG> ids(64);
  LONG count = 64;
  const HRESULT has_ids = keys->GetKeyDepts(u"bob", ids.data(), &count);
  ids.resize(count > 0 && count <= 64 ? static_cast<size_t>(count) : 0);
  return std::tuple(has_version, version, has_ids, ids);
}

}  // namespace

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
  const auto answers = Answers(keys.get());
  keys->Close();
  vk::fuzz::Ref<CKeyDepts> again(new CKeyDepts());
  again->Initialize(scratch.File("KeyDepts.xml").c_str(), nullptr);
  vk::fuzz::Expect(Answers(again.get()) == answers, "the saved key departments answer otherwise");
  return 0;
}
