// The one object through which the client reaches its local storage: it follows the
// account, decides which file each store works on, opens the stores, flushes them every 60
// seconds and on unload, and keeps the two readiness flags.
#pragma once

#include <array>
#include <string>

#include "module/FlushTimer.h"
#include "module/LivenessMarker.h"
#include "module/RootEventSink.h"
#include "module/StoreCatalog.h"
#include "platform/FileLock.h"
#include "runtime/AutomationObject.h"
#include "runtime/ComPtr.h"
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
  // The full path of the store's current file; empty before the store was given one.
  const std::u16string& Path(StoreId id) const { return paths_[Index(id)]; }
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
  static constexpr std::size_t Index(StoreId id) { return static_cast<std::size_t>(id); }
  // The store held for the row, as the interface the row names; null while missing.
  template <typename I>
  I* Held(StoreId id) const {
    return static_cast<I*>(stores_[Index(id)].get());
  }
  // Creates the row's store unless it exists already.
  HRESULT Create(StoreId id);
  // Opens the row's store on its current path; a missing store fails with E_FAIL. Records
  // the path of a successful opening.
  HRESULT Open(StoreId id);
  HRESULT TakeSiteAndRoot(IUnknown* site);
  HRESULT CreateStores();
  HRESULT OpenDefaultAccountStores();
  HRESULT OpenAccountStores();
  void ReadinessCheck(const char16_t* text);

  // Declared first so that it is cleared last, after every other member is gone.
  LivenessMarker marker_;
  FlushTimer flush_timer_;
  // One reference per row of the store catalogue, released in the reverse of its holding
  // order.
  std::array<ComPtr<IUnknown>, kStoreCount> stores_;
  ComPtr<IClientRoot> root_;
  ComPtr<IModuleSite> site_;
  ComPtr<RootEventSink> sink_;
  std::array<std::u16string, kStoreCount> paths_;
  // The file each store was last opened on successfully (diagnostics only).
  std::array<std::u16string, kStoreCount> opened_;
  LONG org_struct_ready_ = 0;
  LONG user_list_ready_ = 0;
  // This process owns the current account while it holds the account folder's lock; declared
  // last, so that it is let go only after the stores have written their changes.
  FileLock account_lock_;
};

}  // namespace vk
