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
    {&CLSID_DeptLeader, VK_PROGID_DEPT_LEADER_A, "CDeptLeader", &CreateObject<CDeptLeader>},
    {&CLSID_KeyDepts, VK_PROGID_KEY_DEPTS_A, "CKeyDepts", &CreateObject<CKeyDepts>},
    {&CLSID_MobileProfileStore, VK_PROGID_MOBILE_PROFILE_STORE_A, "CMobileProfileStore",
     &CreateObject<CMobileProfileStore>},
    {&CLSID_LocalOffMsgStore, VK_PROGID_LOCAL_OFF_MSG_STORE_A, "CLocalOffMsgStore",
     &CreateObject<CLocalOffMsgStore>},
    {&CLSID_OptionStore, VK_PROGID_OPTION_STORE_A, "COptionStore", &CreateObject<COptionStore>},
    {&CLSID_PortalStore, VK_PROGID_PORTAL_STORE_A, "CPortalStore", &CreateObject<CPortalStore>},
    {&CLSID_RevertDialogStore, VK_PROGID_REVERT_DIALOG_STORE_A, "CRevertDialogStore",
     &CreateObject<CRevertDialogStore>},
    {&CLSID_StoreModule, VK_PROGID_STORE_MODULE_A, "CStoreModule", &CreateObject<CStoreModule>},
    {&CLSID_UserGrid, VK_PROGID_USER_GRID_A, "CUserGrid", &CreateObject<CUserGrid>},
    {&CLSID_UserList, VK_PROGID_USER_LIST_A, "CUserList", &CreateObject<CUserList>},
    {&CLSID_WEZItemStore, VK_PROGID_WEZ_ITEM_STORE_A, "CWEZItemStore",
     &CreateObject<CWEZItemStore>},
    {&CLSID_WEZProfileProStore, VK_PROGID_WEZ_PROFILE_PRO_STORE_A, "CWEZProfileProStore",
     &CreateObject<CWEZProfileProStore>},
    {&CLSID_WEZProfileStore, VK_PROGID_WEZ_PROFILE_STORE_A, "CWEZProfileStore",
     &CreateObject<CWEZProfileStore>},
    {&CLSID_WEZGroupStore, VK_PROGID_WEZ_GROUP_STORE_A, "CWEZGroupStore",
     &CreateObject<CWEZGroupStore>},
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
