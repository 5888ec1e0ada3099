// The reply-pending dialog file as found in the account folder: opened through the store
// (which reads it with CMarkup), every dialog and switch read, changed and written back.
#include <vector>

#include "client/ClientRoot.h"
#include "fuzz/FuzzSupport.h"
#include "messages/RevertDialogStore.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const vk::fuzz::Scratch& scratch = vk::fuzz::Scratch::Fresh();
  scratch.Write("Accounts/fuzz/RevertDialog.xml", vk::fuzz::Bytes(data, size));
  vk::ComPtr<vk::ClientRoot> root(new vk::ClientRoot());
  root->SetAccount(u"fuzz");
  vk::ComPtr<CRevertDialogStore> store(new CRevertDialogStore());
  // The module passes the path in the stored format, with backslashes.
  store->Initialize(
      vk::fuzz::OwnedBstr(scratch.File("") + u"Accounts\\fuzz\\RevertDialog.xml").get(),
      static_cast<IClientRoot*>(root.get()));

  int16_t flag = 0;
  LONG value = 0;
  store->GetIsNeedtoRevert(&flag);
  store->GetRevertalready(&flag);
  store->HasDialogs(&flag);
  store->GetRevertOpenConfig(&value);
  store->GetRCARight(&value);
  LONG count = 0;
  store->GetDialogCount(&count);
  if (size_t n = vk::fuzz::Capacity(count)) {
    std::vector<RevertDialogInfo> dialogs(n);
    store->GetDialogs(dialogs.data(), static_cast<LONG>(n));
  }
  store->FindDialog(u"s1", &flag);
  vk::fuzz::OwnedBstr mode;
  store->GetDialogAttrib(u"s1", u"Mode", &mode);
  store->SetDialogAttrib(u"s1", u"Mode", u"2");
  store->AddDialogWithReceiver(u"s9", u"p", u"1", u"20260101000000", u"bob");
  store->RemoveDialog(u"s1");
  store->SetNeedtoRevert();
  store->SetRevertOpenConfig(2);
  return 0;
}
