#include "module/StoreModule.h"

#include <atomic>
#include <cerrno>
#include <cstring>

#include "groups/ModuleInstance.h"
#include "module/ClassTable.h"
#include "platform/Assert.h"
#include "platform/Files.h"
#include "platform/Localization.h"
#include "platform/Log.h"
#include "platform/Text.h"

namespace vk {
namespace {

std::atomic<CStoreModule*> g_instance{nullptr};

constexpr char16_t kAccounts[] = u"Accounts";
constexpr char16_t kLoginLine[] = u"Vaultkit:OnAccountChange";

template <typename I>
void ReleaseRef(I*& ref) {
  if (ref != nullptr) {
    ref->Release();
    ref = nullptr;
  }
}

// Hands out a reference the caller owns.
template <typename I>
HRESULT HandOut(I* held, I** out) {
  if (held != nullptr) held->AddRef();
  *out = held;
  return S_OK;
}

// The accessors with a presence check: E_FAIL while the store is missing.
template <typename I>
HRESULT HandOutHeld(I* held, I** out) {
  return held == nullptr ? E_FAIL : HandOut(held, out);
}

template <typename I>
HRESULT CreateStore(const CLSID& clsid, I*& slot) {
  if (slot != nullptr) return S_OK;
  return LocalCreate(clsid, InterfaceId<I>::Get(), reinterpret_cast<void**>(&slot));
}

// Data root + a relative part built from one of the system's "%s\\..." formats.
std::u16string AccountPath(const char16_t* format, const std::u16string& account) {
  return GetFileListPath() + NormalizeSeparators(FormatWide(format, kAccounts, account.c_str()));
}

// Creates an option file as exactly the two bytes FF FE when nothing is there, so the
// profile functions keep it in UTF-16; an existing file is never rewritten.
void EnsureOptionFile(const std::u16string& path) {
  if (!IsFileExist(LimitFileFind(path))) WriteFileAtomically(path, std::string("\xFF\xFE", 2));
}

std::u16string FromBstr(BSTR text) {
  return text == nullptr ? std::u16string() : std::u16string(text, SysStringLen(text));
}

}  // namespace

CStoreModule::CStoreModule() : sink_(new RootEventSink()) {
  g_instance = this;
  // The company group store reaches the user list through this record.
  ModuleInstance::Record(this, marker_.Watch());
  ++ServerLocks();  // the library stays loaded while a module exists
  flush_timer_.tick.Subscribe(this, &CStoreModule::Flush);
  flush_timer_.Start(true);
  flush_timer_.SetInterval(60000);
}

CStoreModule::~CStoreModule() {
  --ServerLocks();
  for (auto& path : paths_) path.clear();
  if (sink_ != nullptr) {
    if (sink_->IsConnected()) sink_->Disconnect();
    ReleaseRef(sink_);
  }
  ReleaseRef(site_);
  ReleaseRef(root_);
  ReleaseRef(offline_messages_);
  ReleaseRef(revert_dialogs_);
  ReleaseRef(portal_);
  ReleaseRef(dept_leader_);
  ReleaseRef(key_depts_);
  ReleaseRef(user_grid_);
  ReleaseRef(buddy_profile_);
  ReleaseRef(user_options_);
  ReleaseRef(global_options_);
  ReleaseRef(group_recent_);
  ReleaseRef(group_user_defined_);
  ReleaseRef(group_friend_);
  ReleaseRef(items_);
  ReleaseRef(profile_);
  ReleaseRef(mobile_profile_);
  ReleaseRef(user_list_);
  ReleaseRef(group_external_);
  ReleaseRef(group_mobile_);
  ReleaseRef(group_company_);
  // The timer window goes with flush_timer_, and the marker is cleared last of all.
}

CStoreModule* CStoreModule::Instance() {
  return g_instance;
}

IWEZGroupStore*& CStoreModule::GroupStore(LONG kind) {
  switch (kind) {
    case 1:
      return group_company_;
    case 2:
      return group_friend_;
    case 3:
      return group_recent_;
    case 4:
      return group_user_defined_;
    case 5:
      return group_mobile_;
    default:
      return group_external_;
  }
}

// ---- IClientModule ----------------------------------------------------------------------

HRESULT CStoreModule::get_Identifier(BSTR* identifier) {
  if (identifier == nullptr) {
    VK_REPORT_ASSERT();
    return E_INVALIDARG;
  }
  *identifier = SysAllocString(u"Norvane.WEZ.Store");
  return S_OK;
}

HRESULT CStoreModule::get_Name(BSTR* name) {
  if (name == nullptr) {
    VK_REPORT_ASSERT();
    return E_INVALIDARG;
  }
  char16_t buffer[261] = {};
  Localization_Constant_GetString(u"Vaultkit", u"C_ID_S_2", buffer, 260);
  *name = SysAllocString(buffer);
  return S_OK;
}

HRESULT CStoreModule::get_Site(IModuleSite** site) {
  if (site == nullptr) return E_INVALIDARG;
  *site = site_;
  if (site_ == nullptr) return E_FAIL;
  site_->AddRef();
  return S_OK;
}

// Keeps the site's IModuleSite and its root object. A null site, or a root that cannot be
// read, is an error out of the call: the client gets its status, nothing else happens.
HRESULT CStoreModule::TakeSiteAndRoot(IUnknown* site) {
  if (site == nullptr) return E_POINTER;
  IModuleSite* module_site = nullptr;
  site->QueryInterface(IID_IModuleSite, reinterpret_cast<void**>(&module_site));
  ReleaseRef(site_);
  site_ = module_site;
  if (site_ == nullptr) return E_NOINTERFACE;
  IClientRoot* root = nullptr;
  HRESULT hr = site_->get_RootObject(&root);
  if (FAILED(hr)) return hr;
  if (root == nullptr) return E_POINTER;
  ReleaseRef(root_);
  root_ = root;
  return S_OK;
}

HRESULT CStoreModule::OnLoad(IUnknown* site) {
  HRESULT hr = TakeSiteAndRoot(site);
  if (FAILED(hr)) return hr;

  std::u16string data_root = GetFileListPath();
  CreateFolder(data_root + kAccounts);

  // A failing step reports itself; the load then reports its own failure: two reports,
  // whichever step failed.
  auto load_failed = [] {
    VK_REPORT_ASSERT();
    return E_FAIL;
  };
  if (FAILED(CreateStore(CLSID_OptionStore, global_options_))) {
    VK_REPORT_ASSERT();
    return load_failed();
  }
  std::u16string wez_cfg = data_root + kAccounts + NormalizeSeparators(u"\\wez.cfg");
  EnsureOptionFile(wez_cfg);
  Opened(global_options_, wez_cfg, global_options_->Open(wez_cfg.c_str()));

  hr = VK_QUIET_GUARD({
    HRESULT taken = TakeSiteAndRoot(site);
    if (FAILED(taken)) throw ComError(taken, u"The site or its root object is missing");
    sink_->my_presence_change.Subscribe(this, &CStoreModule::OnMyPresenceChange);
    if (!sink_->Connect(root_)) throw "Error";
    return S_OK;
  });
  if (FAILED(hr)) {
    VK_REPORT_ASSERT();
    hr = load_failed();
    // What the client must offer, for a client developer who reads the thread's error.
    SetErrorDescription(
        u"OnLoad: the root object must offer IConnectionPointContainer with a connection "
        u"point for IClientRootEvents that accepts the module's sink (Advise)");
    return hr;
  }
  // Creating and opening the stores report their own failing step.
  if (FAILED(CreateStores())) return load_failed();

  CreateFolder(data_root + kAccounts + NormalizeSeparators(u"\\0"));
  if (FAILED(OpenDefaultAccountStores())) return load_failed();
  return S_OK;
}

HRESULT CStoreModule::CreateStores() {
  auto failed = [](HRESULT hr) {
    if (FAILED(hr)) VK_REPORT_ASSERT();
    return FAILED(hr);
  };
  if (failed(CreateStore(CLSID_UserList, user_list_)) ||
      failed(CreateStore(CLSID_UserGrid, user_grid_)) ||
      failed(CreateStore(CLSID_KeyDepts, key_depts_)) ||
      failed(CreateStore(CLSID_DeptLeader, dept_leader_)) ||
      failed(CreateStore(CLSID_PortalStore, portal_)) ||
      failed(CreateStore(CLSID_WEZGroupStore, group_company_)) ||
      failed(CreateStore(CLSID_WEZGroupStore, group_mobile_)) ||
      failed(CreateStore(CLSID_WEZGroupStore, group_external_)) ||
      failed(CreateStore(CLSID_WEZGroupStore, group_recent_)) ||
      failed(CreateStore(CLSID_WEZGroupStore, group_friend_)) ||
      failed(CreateStore(CLSID_OptionStore, user_options_)) ||
      failed(CreateStore(CLSID_WEZGroupStore, group_user_defined_)) ||
      failed(CreateStore(CLSID_WEZProfileStore, profile_)) ||
      failed(CreateStore(CLSID_MobileProfileStore, mobile_profile_)) ||
      failed(CreateStore(CLSID_WEZItemStore, items_)) ||
      failed(CreateStore(CLSID_WEZProfileProStore, buddy_profile_)) ||
      failed(CreateStore(CLSID_RevertDialogStore, revert_dialogs_)) ||
      failed(CreateStore(CLSID_LocalOffMsgStore, offline_messages_))) {
    return E_FAIL;
  }
  return S_OK;
}

HRESULT CStoreModule::OpenDefaultAccountStores() {
  std::u16string root = GetFileListPath();
  auto path = [&](const char16_t* format) {
    return root + NormalizeSeparators(FormatWide(format, kAccounts));
  };
  paths_[kRecentGroup] = path(u"%s\\0\\RecentGroup.dat");
  paths_[kFriendGroup] = path(u"%s\\0\\FriendGroup.dat");
  paths_[kUserDefinedGroup] = path(u"%s\\0\\UserDefinedGroup.dat");
  paths_[kWEZProfile] = path(u"%s\\0\\WEZProfile.dat");
  paths_[kGroup] = path(u"%s\\0\\Group.dat");
  paths_[kWEZExtGroup] = path(u"%s\\0\\WEZExtGroup.dat");

  auto failed = [](HRESULT hr) {
    if (FAILED(hr)) VK_REPORT_ASSERT();
    return FAILED(hr);
  };
  auto group = [&](IWEZGroupStore* store, PathSlot slot, LONG kind) {
    return Opened(store, paths_[slot], store->Initialize(paths_[slot].c_str(), kind));
  };
  if (failed(group(group_company_, kGroup, 1)) || failed(group(group_friend_, kFriendGroup, 2)) ||
      failed(group(group_recent_, kRecentGroup, 3)) ||
      failed(group(group_user_defined_, kUserDefinedGroup, 4)) ||
      failed(Opened(profile_, paths_[kWEZProfile],
                    profile_->Initialize(paths_[kWEZProfile].c_str()))) ||
      failed(group(group_external_, kWEZExtGroup, 6))) {
    return E_FAIL;
  }
  return S_OK;
}

HRESULT CStoreModule::OnAccountChange() {
  LoginLog(kLoginLine);
  if (root_ == nullptr) return E_POINTER;  // before OnLoad: an error out of the call
  BSTR account_text = nullptr;
  HRESULT hr = root_->get_Account(&account_text);
  if (FAILED(hr)) return hr;
  std::u16string account = FromBstr(account_text);
  SysFreeString(account_text);
  // An account name is one folder below "Accounts"; anything that would leave it is refused.
  if (!IsPlainName(account)) {
    OutputDebugStringW((u"Vaultkit: refused the account name '" + account +
                        u"': it is not one folder name below Accounts\n")
                           .c_str());
    VK_REPORT_ASSERT();
    return S_OK;
  }

  std::u16string folder = AccountPath(u"%s\\%s", account);
  if (!IsFileExist(LimitFileFind(folder))) CreateFolder(folder);
  TakeAccount(folder, account);

  paths_[kRevertDialog] = AccountPath(u"%s\\%s\\RevertDialog.xml", account);
  paths_[kGroup] = AccountPath(u"%s\\%s\\Group.dat", account);
  paths_[kMobileGroup] = AccountPath(u"%s\\%s\\MobileGroup.dat", account);
  paths_[kFriendGroup] = AccountPath(u"%s\\%s\\FriendGroup.dat", account);
  paths_[kRecentGroup] = AccountPath(u"%s\\%s\\RecentGroup.dat", account);
  paths_[kUserDefinedGroup] = AccountPath(u"%s\\%s\\UserDefinedGroup.dat", account);
  paths_[kUserCfg] = AccountPath(u"%s\\%s\\User.cfg", account);
  paths_[kWEZProfile] = AccountPath(u"%s\\%s\\WEZProfile.dat", account);
  paths_[kMobileProfile] = AccountPath(u"%s\\%s\\MobileProfile.xml", account);
  paths_[kWEZExtGroup] = AccountPath(u"%s\\%s\\WEZExtGroup.dat", account);
  paths_[kWEZExtBuddy] = AccountPath(u"%s\\%s\\WEZExtBuddy.xml", account);
  paths_[kUserList5] = AccountPath(u"%s\\%s\\userList5.dat", account);
  paths_[kUserGrid] = AccountPath(u"%s\\%s\\UserGrid.xml", account);
  paths_[kLeader] = AccountPath(u"%s\\%s\\Leader.xml", account);
  paths_[kWEZProfilePro] = AccountPath(u"%s\\%s\\WEZProfilePro.dat", account);
  paths_[kKeyDepts] = AccountPath(u"%s\\%s\\KeyDepts.xml", account);
  paths_[kEPortal] = AccountPath(u"%s\\%s\\PortalIcon\\EPortal.xml", account);

  EnsureOptionFile(paths_[kUserCfg]);
  if (FAILED(OpenAccountStores())) return S_OK;
  LoginLog(kLoginLine);
  return S_OK;
}

// Opens the stores in the fixed order. The first failure ends the sequence with an
// assertion report; a missing buddy profile file ends it silently.
HRESULT CStoreModule::OpenAccountStores() {
  // A store whose class is not built yet is missing: that counts as a failed step rather
  // than a call through an empty reference.
  auto open = [&](auto* store, PathSlot slot, auto&& call) -> bool {
    HRESULT hr = store == nullptr ? E_FAIL : Opened(store, paths_[slot], call(store));
    if (FAILED(hr)) VK_REPORT_ASSERT();
    return SUCCEEDED(hr);
  };
  auto group = [&](IWEZGroupStore* store, PathSlot slot, LONG kind) {
    return open(store, slot,
                [&](IWEZGroupStore* s) { return s->Initialize(paths_[slot].c_str(), kind); });
  };
  auto plain = [&](auto* store, PathSlot slot) {
    return open(store, slot, [&](auto* s) { return s->Initialize(paths_[slot].c_str()); });
  };
  auto with_root = [&](auto* store, PathSlot slot) {
    return open(store, slot, [&](auto* s) { return s->Initialize(paths_[slot].c_str(), root_); });
  };
  // The item, buddy profile and dialog stores take their path as an allocated string.
  auto allocated = [&](auto* store, PathSlot slot, auto... root) {
    return open(store, slot, [&](auto* s) {
      BSTR path = SysAllocString(paths_[slot].c_str());
      HRESULT hr = s->Initialize(path, root...);
      SysFreeString(path);
      return hr;
    });
  };
  bool ok = allocated(revert_dialogs_, kRevertDialog, root_) && group(group_company_, kGroup, 1) &&
            group(group_mobile_, kMobileGroup, 5) && group(group_friend_, kFriendGroup, 2) &&
            group(group_recent_, kRecentGroup, 3) &&
            group(group_user_defined_, kUserDefinedGroup, 4) &&
            open(user_options_, kUserCfg,
                 [&](IOptionStore* s) { return s->Open(paths_[kUserCfg].c_str()); }) &&
            plain(profile_, kWEZProfile) && plain(mobile_profile_, kMobileProfile) &&
            group(group_external_, kWEZExtGroup, 6) && allocated(items_, kWEZExtBuddy) &&
            with_root(user_list_, kUserList5) && with_root(user_grid_, kUserGrid) &&
            with_root(dept_leader_, kLeader);
  if (!ok) return E_FAIL;
  if (!IsFileExist(paths_[kWEZProfilePro])) return E_FAIL;  // ends silently
  if (!allocated(buddy_profile_, kWEZProfilePro)) return E_FAIL;
  // The results of these two are not checked.
  if (key_depts_ != nullptr) {
    Opened(key_depts_, paths_[kKeyDepts], key_depts_->Initialize(paths_[kKeyDepts].c_str(), root_));
  }
  if (portal_ != nullptr) {
    Opened(portal_, paths_[kEPortal], portal_->Initialize(paths_[kEPortal].c_str(), root_));
  }
  return S_OK;
}

HRESULT CStoreModule::Opened(IUnknown* store, const std::u16string& path, HRESULT hr) {
  if (SUCCEEDED(hr)) {
    opened_[store] = path;
  } else {
    opened_.erase(store);  // a failed opening leaves the store closed
  }
  return hr;
}

HRESULT CStoreModule::OnCommand(LONG, LONG, LONG, LONG, LONG, LONG, LONG, LONG, LONG, LONG, LONG,
                                LONG, LONG) {
  return S_OK;
}

// Owns the account folder for this process: another process on the same account (the
// command beside the client) then knows that its saves would overwrite ours. Without the lock
// the stores open all the same, as they always have; the log says who holds the account.
void CStoreModule::TakeAccount(const std::u16string& folder, const std::u16string& account) {
  account_lock_.Release();
  const std::string lock_file = PathToNative(folder) + "/" + kAccountLockFile;
  if (account_lock_.Take(lock_file, std::chrono::milliseconds(0))) {
    account_lock_.RecordHolder();
    return;
  }
  if (errno != EWOULDBLOCK) {
    const std::u16string text = u"The account '" + account + u"' cannot be locked (" +
                                FromUtf8(std::strerror(errno)) + u"): it is used unowned.";
    DoLog(u"important", u"XWEZStore", u"OnAccountChange", text.c_str());
    return;
  }
  const pid_t holder = FileLock::RecordedHolder(lock_file);
  const std::u16string text =
      u"The account '" + account + u"' is in use by " +
      (holder > 0 ? u"process " + FromUtf8(std::to_string(holder)) : u"another process") +
      u"; its changes and ours may overwrite each other.";
  DoLog(u"important", u"XWEZStore", u"OnAccountChange", text.c_str());
}

HRESULT CStoreModule::OnUnload() {
  Flush();
  account_lock_.Release();
  sink_->Disconnect();
  sink_->my_presence_change.Unsubscribe(this, &CStoreModule::OnMyPresenceChange);
  return S_OK;
}

void CStoreModule::Flush() {
  if (profile_ != nullptr) profile_->Close();
  if (user_list_ != nullptr) user_list_->Save();
  if (user_grid_ != nullptr) user_grid_->Close();
  if (key_depts_ != nullptr) key_depts_->Close();
  if (dept_leader_ != nullptr) dept_leader_->Close();
  if (buddy_profile_ != nullptr) buddy_profile_->Close();
  if (mobile_profile_ != nullptr) mobile_profile_->Close();
  if (items_ != nullptr) items_->Close();
}

void CStoreModule::OnMyPresenceChange(LONG, LONG state) {
  if (state == 0) {
    org_struct_ready_ = 0;
    user_list_ready_ = 0;
  }
}

void CStoreModule::ReadinessCheck(const char16_t* text) {
  DoLog(u"important", u"XWEZStore", u"NotifyOrgStructStatus", text);
  if (org_struct_ready_ == 1 && user_list_ready_ == 1 && profile_ != nullptr &&
      user_list_ != nullptr) {
    profile_->SetUserList(user_list_);
  }
}

// ---- IWEZStore ---------------------------------------------------------------------------

#define VK_CHECK_OUT(out) \
  if ((out) == nullptr) { \
    VK_REPORT_ASSERT();   \
    return E_INVALIDARG;  \
  }

HRESULT CStoreModule::GetProfileStore(IWEZProfileStore** store) {
  VK_CHECK_OUT(store);
  *store = nullptr;
  if (profile_ == nullptr) VK_REPORT_ASSERT();
  return HandOut(profile_, store);
}

HRESULT CStoreModule::GetMobileProfileStore(IMobileProfileStore** store) {
  VK_CHECK_OUT(store);
  *store = nullptr;
  if (mobile_profile_ == nullptr) {
    HRESULT hr = CreateStore(CLSID_MobileProfileStore, mobile_profile_);
    if (FAILED(hr)) {
      VK_REPORT_ASSERT();
      return hr;
    }
  }
  return HandOut(mobile_profile_, store);
}

HRESULT CStoreModule::GetItemStore(IWEZItemStore** store) {
  VK_CHECK_OUT(store);
  return HandOutHeld(items_, store);
}

// The option, portal and offline-message accessors hand out whatever is held: those stores
// are created unconditionally at load.
HRESULT CStoreModule::GetOptionStore(IOptionStore** store) {
  VK_CHECK_OUT(store);
  return HandOut(global_options_, store);
}

HRESULT CStoreModule::GetUserOptionStore(IOptionStore** store) {
  VK_CHECK_OUT(store);
  return HandOut(user_options_, store);
}

HRESULT CStoreModule::GetUserList(IUserList** store) {
  VK_CHECK_OUT(store);
  return HandOutHeld(user_list_, store);
}

HRESULT CStoreModule::GetPortalStore(IPortalStore** store) {
  VK_CHECK_OUT(store);
  return HandOut(portal_, store);
}

HRESULT CStoreModule::GetGroupStore(IWEZGroupStore** store, LONG kind) {
  VK_CHECK_OUT(store);
  if (kind < 1 || kind > 6) return S_OK;
  IWEZGroupStore* held = GroupStore(kind);
  if (held == nullptr) {
    VK_REPORT_ASSERT();
    return E_FAIL;
  }
  return HandOut(held, store);
}

HRESULT CStoreModule::GetProfileProStore(IWEZProfileProStore** store) {
  VK_CHECK_OUT(store);
  return HandOutHeld(buddy_profile_, store);
}

HRESULT CStoreModule::GetUserGrid(IUserGrid** store) {
  VK_CHECK_OUT(store);
  return HandOutHeld(user_grid_, store);
}

HRESULT CStoreModule::GetKeyDeptsStore(IKeyDepts** store) {
  VK_CHECK_OUT(store);
  return HandOutHeld(key_depts_, store);
}

HRESULT CStoreModule::GetDeptLeader(IDeptLeader** store) {
  VK_CHECK_OUT(store);
  return HandOutHeld(dept_leader_, store);
}

HRESULT CStoreModule::NotifyOrgStructStatus(LONG status) {
  org_struct_ready_ = status;
  ReadinessCheck(u"组织架构更新完毕");
  return S_OK;
}

HRESULT CStoreModule::NotifyUserListStatus(LONG status) {
  user_list_ready_ = status;
  ReadinessCheck(u"用户列表更新完毕");
  return S_OK;
}

HRESULT CStoreModule::GetRevertDialogStore(IRevertDialogStore** store) {
  VK_CHECK_OUT(store);
  return HandOutHeld(revert_dialogs_, store);
}

HRESULT CStoreModule::GetLocalOffMsgStore(ILocalOffMsgStore** store) {
  VK_CHECK_OUT(store);
  return HandOut(offline_messages_, store);
}

// ---- IModuleDiagnostics ------------------------------------------------------------------

std::vector<CStoreModule::StoreRow> CStoreModule::StoreRows() const {
  // In the order the load creates them, so the first missing row names where it stopped.
  return {
      {u"global options", global_options_},
      {u"user list", user_list_},
      {u"user grid", user_grid_},
      {u"key departments", key_depts_},
      {u"department leaders", dept_leader_},
      {u"portal", portal_},
      {u"company groups (1)", group_company_},
      {u"mobile groups (5)", group_mobile_},
      {u"external groups (6)", group_external_},
      {u"recent contacts (3)", group_recent_},
      {u"frequent contacts (2)", group_friend_},
      {u"user options", user_options_},
      {u"user-defined groups (4)", group_user_defined_},
      {u"profiles", profile_},
      {u"mobile profiles", mobile_profile_},
      {u"items", items_},
      {u"buddy profiles", buddy_profile_},
      {u"reply-pending dialogs", revert_dialogs_},
      {u"offline messages", offline_messages_},
  };
}

HRESULT CStoreModule::GetStoreCount(LONG* count) {
  if (count == nullptr) return E_INVALIDARG;
  *count = static_cast<LONG>(StoreRows().size());
  return S_OK;
}

HRESULT CStoreModule::GetStoreInfo(LONG index, BSTR* name, LONG* present, BSTR* path) {
  auto rows = StoreRows();
  if (index < 0 || static_cast<size_t>(index) >= rows.size()) return E_INVALIDARG;
  const StoreRow& row = rows[index];
  auto opened = opened_.find(row.store);
  if (name != nullptr) *name = SysAllocString(row.name);
  if (present != nullptr) *present = row.store != nullptr;
  if (path != nullptr)
    *path = SysAllocString(opened == opened_.end() ? u"" : opened->second.c_str());
  return S_OK;
}

HRESULT CStoreModule::GetReadiness(LONG* org_struct_ready, LONG* user_list_ready) {
  if (org_struct_ready == nullptr || user_list_ready == nullptr) return E_INVALIDARG;
  *org_struct_ready = org_struct_ready_;
  *user_list_ready = user_list_ready_;
  return S_OK;
}

}  // namespace vk
