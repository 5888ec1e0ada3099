#include "module/ClassTable.h"

#include "groups/WEZGroupStore.h"
#include "messages/LocalOffMsgStore.h"
#include "messages/RevertDialogStore.h"
#include "module/Exports.h"
#include "module/StoreModule.h"
#include "org/DeptLeader.h"
#include "org/KeyDepts.h"
#include "org/PortalStore.h"
#include "org/UserGrid.h"
#include "org/UserList.h"
#include "profiles/MobileProfileStore.h"
#include "profiles/WEZItemStore.h"
#include "profiles/WEZProfileProStore.h"
#include "profiles/WEZProfileStore.h"
#include "settings/OptionStore.h"
#include "vaultkit/identifiers.h"

namespace vk {
namespace {

// A class that is not built yet is absent: creating it fails, and the module's load stops
// there with an assertion report.
const ClassEntry kClasses[] = {
    {&CLSID_DeptLeader, "IDeptLeader", "CDeptLeader", &CreateObject<CDeptLeader>},
    {&CLSID_KeyDepts, "IKeyDepts", "CKeyDepts", &CreateObject<CKeyDepts>},
    {&CLSID_MobileProfileStore, "IMobileProfileStore", "CMobileProfileStore",
     &CreateObject<CMobileProfileStore>},
    {&CLSID_LocalOffMsgStore, "ILocalOffMsgStore", "CLocalOffMsgStore",
     &CreateObject<CLocalOffMsgStore>},
    {&CLSID_OptionStore, "IOptionStore", "COptionStore", &CreateObject<COptionStore>},
    {&CLSID_PortalStore, "IPortalStore", "CPortalStore", &CreateObject<CPortalStore>},
    {&CLSID_RevertDialogStore, "IRevertDialogStore", "CRevertDialogStore",
     &CreateObject<CRevertDialogStore>},
    {&CLSID_StoreModule, "Vaultkit.StoreModule", "CStoreModule", &CreateObject<CStoreModule>},
    {&CLSID_UserGrid, "IUserGrid", "CUserGrid", &CreateObject<CUserGrid>},
    {&CLSID_UserList, "IUserList", "CUserList", &CreateObject<CUserList>},
    {&CLSID_WEZItemStore, "IWEZItemStore", "CWEZItemStore", &CreateObject<CWEZItemStore>},
    {&CLSID_WEZProfileProStore, "Vaultkit.WEZProfileProStore", "CWEZProfileProStore",
     &CreateObject<CWEZProfileProStore>},
    {&CLSID_WEZProfileStore, "IWEZProfileStore", "CWEZProfileStore",
     &CreateObject<CWEZProfileStore>},
    {&CLSID_WEZGroupStore, "IWEZGroupStore", "CWEZGroupStore", &CreateObject<CWEZGroupStore>},
};

}  // namespace

std::span<const ClassEntry> ClassTable() {
  return kClasses;
}

const ClassEntry* FindClass(REFCLSID clsid) {
  for (const ClassEntry& entry : kClasses) {
    if (SameIid(*entry.clsid, clsid)) return &entry;
  }
  return nullptr;
}

HRESULT LocalCreate(REFCLSID clsid, REFIID riid, void** object) {
  if (object == nullptr) return E_INVALIDARG;
  *object = nullptr;
  IClassFactory* factory = nullptr;
  HRESULT hr = DllGetClassObject(clsid, IID_IClassFactory, reinterpret_cast<void**>(&factory));
  if (SUCCEEDED(hr) && factory != nullptr) {
    hr = factory->CreateInstance(nullptr, riid, object);
    factory->Release();
  }
  return hr;
}

}  // namespace vk
