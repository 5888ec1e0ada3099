// The enterprise portal's file as found on disk: opened, every answer read, written back.
#include <vector>

#include "client/ClientRoot.h"
#include "fuzz/FuzzSupport.h"
#include "org/PortalStore.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const vk::fuzz::Scratch& scratch = vk::fuzz::Scratch::Fresh();
  scratch.Write("PortalIcon/EPortal.xml", vk::fuzz::Bytes(data, size));
  // The language picks which texts the getters read; the length picks it so that every
  // language meets every file.
  vk::ComPtr<vk::ClientRoot> root(new vk::ClientRoot());
  root->SetLanguage(static_cast<LONG>(size % 3));
  vk::ComPtr<CPortalStore> portal(new CPortalStore());
  if (portal->Initialize(scratch.File("PortalIcon/EPortal.xml").c_str(),
                         static_cast<IClientRoot*>(root.get())) != S_OK) {
    return 0;
  }
  LONG value = 0;
  BOOL flag = FALSE;
  portal->GetVersion(&value);
  for (auto text : {&CPortalStore::GetDeptPortalNote, &CPortalStore::GetDeptPortalUrl,
                    &CPortalStore::GetUserPortalLinkText, &CPortalStore::GetUserPortalUrl,
                    &CPortalStore::GetUserTipsState}) {
    vk::fuzz::OwnedBstr answer;
    (portal.get()->*text)(&answer);
  }
  portal->GetDeptPortalEnable(&flag);
  portal->GetUserPortalEnable(&flag);
  portal->GetUserTipsEnable(&flag);
  portal->IsPortalDept(1, &flag);
  LONG count = 0;
  if (portal->GetPortalDeptCount(&count) == S_OK) {
    if (size_t n = vk::fuzz::Capacity(count)) {
      std::vector<LONG> ids(n);
      portal->GetPortalDepts(ids.data(), static_cast<LONG>(n));
    }
  }
  count = 0;
  if (portal->GetUserTipsCount(&count) == S_OK) {
    if (size_t n = vk::fuzz::Capacity(count)) {
      std::vector<PortalTipInfo> tips(n);
      portal->GetUserTips(tips.data(), static_cast<LONG>(n));
    }
  }
  portal->SetVersion(3);
  portal->Close();
  return 0;
}
