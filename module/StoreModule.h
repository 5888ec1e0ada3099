// The one object through which the client reaches its local storage: it follows the
// account, decides which file each store works on, opens the stores, flushes them every 60
// seconds and on unload, and keeps the two readiness flags.
#pragma once

#include <array>
#include <map>
#include <string>
#include <vector>

#include "module/FlushTimer.h"
#include "module/LivenessMarker.h"
#include "module/RootEventSink.h"
#include "platform/FileLock.h"
#include "runtime/AutomationObject.h"
#include "vaultkit/vaultkit.h"

namespace vk {

class CStoreModule : public AutomationObject<IClientModule, IWEZStore, IModuleDiagnostics> {
 public:
  CStoreModule();
  ~CStoreModule() override;

  // The module constructed last; never cleared. The company group store reaches the user
  // list through it.
  static CStoreModule* Instance();

  LivenessMarker& Marker() { return marker_; }
  LONG OrgStructReady() const { return org_struct_ready_; }
  LONG UserListReady() const { return user_list_ready_; }
  // The full paths of the current files, in the order of PathSlot.
  enum PathSlot {
    kMobileGroup,
    kWEZExtGroup,
    kGroup,
    kUserList5,
    kRecentGroup,
    kFriendGroup,
    kUserCfg,
    kUserDefinedGroup,
    kWEZProfile,
    kMobileProfile,
    kWEZExtBuddy,
    kWEZProfilePro,
    kUserGrid,
    kKeyDepts,
    kLeader,
    kEPortal,
    kRevertDialog,
    kPathCount
  };
  const std::u16string& Path(PathSlot slot) const { return paths_[slot]; }
  bool SinkConnected() const { return sink_ != nullptr && sink_->IsConnected(); }

  // The periodic and final flush; the tick handler of the flush timer.
  void Flush();
  // Root event OnMyPresenceChange.
  void OnMyPresenceChange(LONG presence, LONG state);

  // IClientModule
  HRESULT get_Identifier(BSTR* identifier) override;
  HRESULT get_Name(BSTR* name) override;
  HRESULT get_Site(IModuleSite** site) override;
  HRESULT OnLoad(IUnknown* site) override;
  HRESULT OnAccountChange() override;
  HRESULT OnCommand(LONG, LONG, LONG, LONG, LONG, LONG, LONG, LONG, LONG, LONG, LONG, LONG,
                    LONG) override;
  HRESULT OnUnload() override;

  // IWEZStore
  HRESULT GetProfileStore(IWEZProfileStore** store) override;
  HRESULT GetMobileProfileStore(IMobileProfileStore** store) override;
  HRESULT GetItemStore(IWEZItemStore** store) override;
  HRESULT GetOptionStore(IOptionStore** store) override;
  HRESULT GetUserOptionStore(IOptionStore** store) override;
  HRESULT GetUserList(IUserList** store) override;
  HRESULT GetPortalStore(IPortalStore** store) override;
  HRESULT GetGroupStore(IWEZGroupStore** store, LONG kind) override;
  HRESULT GetProfileProStore(IWEZProfileProStore** store) override;
  HRESULT GetUserGrid(IUserGrid** store) override;
  HRESULT GetKeyDeptsStore(IKeyDepts** store) override;
  HRESULT GetDeptLeader(IDeptLeader** store) override;
  HRESULT NotifyOrgStructStatus(LONG status) override;
  HRESULT NotifyUserListStatus(LONG status) override;
  HRESULT GetRevertDialogStore(IRevertDialogStore** store) override;
  HRESULT GetLocalOffMsgStore(ILocalOffMsgStore** store) override;

  // IModuleDiagnostics
  HRESULT GetStoreCount(LONG* count) override;
  HRESULT GetStoreInfo(LONG index, BSTR* name, LONG* present, BSTR* path) override;
  HRESULT GetReadiness(LONG* org_struct_ready, LONG* user_list_ready) override;

 private:
  // Takes the account folder's lock for this process, or logs who holds it.
  void TakeAccount(const std::u16string& folder, const std::u16string& account);
  struct StoreRow {
    const char16_t* name;
    IUnknown* store;
  };
  std::vector<StoreRow> StoreRows() const;
  // Records the path of a successful opening; answers hr.
  HRESULT Opened(IUnknown* store, const std::u16string& path, HRESULT hr);
  HRESULT TakeSiteAndRoot(IUnknown* site);
  HRESULT CreateStores();
  HRESULT OpenDefaultAccountStores();
  HRESULT OpenAccountStores();
  void ReadinessCheck(const char16_t* text);
  IWEZGroupStore*& GroupStore(LONG kind);

  // Declared first so that it is cleared last, after every other member is gone.
  LivenessMarker marker_;
  FlushTimer flush_timer_;
  IWEZGroupStore* group_company_ = nullptr;   // kind 1
  IWEZGroupStore* group_mobile_ = nullptr;    // kind 5
  IWEZGroupStore* group_external_ = nullptr;  // kind 6
  IUserList* user_list_ = nullptr;
  IMobileProfileStore* mobile_profile_ = nullptr;
  IWEZProfileStore* profile_ = nullptr;
  IWEZItemStore* items_ = nullptr;
  IWEZGroupStore* group_friend_ = nullptr;        // kind 2
  IWEZGroupStore* group_user_defined_ = nullptr;  // kind 4
  IWEZGroupStore* group_recent_ = nullptr;        // kind 3
  IOptionStore* global_options_ = nullptr;
  IOptionStore* user_options_ = nullptr;
  IWEZProfileProStore* buddy_profile_ = nullptr;
  IUserGrid* user_grid_ = nullptr;
  IKeyDepts* key_depts_ = nullptr;
  IDeptLeader* dept_leader_ = nullptr;
  IPortalStore* portal_ = nullptr;
  IRevertDialogStore* revert_dialogs_ = nullptr;
  ILocalOffMsgStore* offline_messages_ = nullptr;
  IClientRoot* root_ = nullptr;
  IModuleSite* site_ = nullptr;
  RootEventSink* sink_ = nullptr;
  std::array<std::u16string, kPathCount> paths_;
  // The file each store was last opened on successfully (diagnostics only).
  std::map<const IUnknown*, std::u16string> opened_;
  LONG org_struct_ready_ = 0;
  LONG user_list_ready_ = 0;
  // This process owns the current account while it holds the account folder's lock; declared
  // last, so that it is let go only after the stores have written their changes.
  FileLock account_lock_;
};

}  // namespace vk
