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
    sink_.reset();
  }
  site_.reset();
  root_.reset();
  for (auto id = std::rbegin(kHoldingOrder); id != std::rend(kHoldingOrder); ++id) {
    stores_[Index(*id)].reset();
  }
  // The timer window goes with flush_timer_, and the marker is cleared last of all.
}

CStoreModule* CStoreModule::Instance() {
  return g_instance;
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
  *site = site_.AddRef();
  return site_ == nullptr ? E_FAIL : S_OK;
}

// Keeps the site's IModuleSite and its root object. A null site, or a root that cannot be
// read, is an error out of the call: the client gets its status, nothing else happens.
HRESULT CStoreModule::TakeSiteAndRoot(IUnknown* site) {
  if (site == nullptr) return E_POINTER;
  site->QueryInterface(IID_IModuleSite, reinterpret_cast<void**>(site_.Out()));
  if (site_ == nullptr) return E_NOINTERFACE;
  ComPtr<IClientRoot> root;
  HRESULT hr = site_->get_RootObject(root.Out());
  if (FAILED(hr)) return hr;
  if (root == nullptr) return E_POINTER;
  root_ = std::move(root);
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
  if (FAILED(Create(StoreId::kGlobalOptions))) {
    VK_REPORT_ASSERT();
    return load_failed();
  }
  // Its result is not checked: the load goes on without the options.
  paths_[Index(StoreId::kGlobalOptions)] =
      data_root + kAccounts + u"/" + FromUtf8(kGlobalOptionsFile);
  EnsureOptionFile(Path(StoreId::kGlobalOptions));
  Open(StoreId::kGlobalOptions);

  hr = VK_QUIET_GUARD({
    HRESULT taken = TakeSiteAndRoot(site);
    if (FAILED(taken)) throw ComError(taken, u"The site or its root object is missing");
    sink_->my_presence_change.Subscribe(this, &CStoreModule::OnMyPresenceChange);
    if (!sink_->Connect(root_.get())) throw "Error";
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

  CreateFolder(data_root + kAccounts + u"/" + kDefaultAccount);
  if (FAILED(OpenDefaultAccountStores())) return load_failed();
  return S_OK;
}

HRESULT CStoreModule::Create(StoreId id) {
  ComPtr<IUnknown>& slot = stores_[Index(id)];
  if (slot != nullptr) return S_OK;
  const StoreRow& row = Row(id);
  return LocalCreate(*row.clsid, *row.iid, reinterpret_cast<void**>(slot.Out()));
}

// In the catalogue's order; the global options, created first, exist already.
HRESULT CStoreModule::CreateStores() {
  for (const StoreRow& row : kStoreCatalog) {
    if (FAILED(Create(row.id))) {
      VK_REPORT_ASSERT();
      return E_FAIL;
    }
  }
  return S_OK;
}

HRESULT CStoreModule::Open(StoreId id) {
  const StoreRow& row = Row(id);
  IUnknown* store = stores_[Index(id)].get();
  // A store whose class is not built yet is missing: that counts as a failed step rather
  // than a call through an empty reference.
  HRESULT hr = store == nullptr ? E_FAIL : row.open(store, Path(id).c_str(), root_.get(), row.kind);
  // A failed opening leaves the store closed.
  opened_[Index(id)] = SUCCEEDED(hr) ? Path(id) : u"";
  return hr;
}

HRESULT CStoreModule::OpenDefaultAccountStores() {
  const std::u16string folder = GetFileListPath() + kAccounts + u"/" + kDefaultAccount + u"/";
  for (StoreId id : kDefaultOpenOrder) {
    paths_[Index(id)] = folder + FromUtf8(Row(id).file);
  }
  for (StoreId id : kDefaultOpenOrder) {
    if (FAILED(Open(id))) {
      VK_REPORT_ASSERT();
      return E_FAIL;
    }
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

  for (const StoreRow& row : kStoreCatalog) {
    if (row.file != nullptr) paths_[Index(row.id)] = folder + u"/" + FromUtf8(row.file);
  }

  EnsureOptionFile(Path(StoreId::kUserOptions));
  if (FAILED(OpenAccountStores())) return S_OK;
  LoginLog(kLoginLine);
  return S_OK;
}

// Opens the stores in the fixed order. The first failure ends the sequence with an
// assertion report; a missing buddy profile file ends it silently.
HRESULT CStoreModule::OpenAccountStores() {
  for (const OpenStep& step : kAccountOpenOrder) {
    if (step.rule == OpenRule::kFileMustExist && !IsFileExist(Path(step.id))) return E_FAIL;
    if (step.rule == OpenRule::kUnchecked) {
      if (stores_[Index(step.id)] != nullptr) Open(step.id);
      continue;
    }
    if (FAILED(Open(step.id))) {
      VK_REPORT_ASSERT();
      return E_FAIL;
    }
  }
  return S_OK;
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
  for (StoreId id : kFlushOrder) {
    IUnknown* store = stores_[Index(id)].get();
    if (store != nullptr && Row(id).flush != nullptr) Row(id).flush(store);
  }
}

void CStoreModule::OnMyPresenceChange(LONG, LONG state) {
  if (state == 0) {
    org_struct_ready_ = 0;
    user_list_ready_ = 0;
  }
}

void CStoreModule::ReadinessCheck(const char16_t* text) {
  DoLog(u"important", u"XWEZStore", u"NotifyOrgStructStatus", text);
  auto* profiles = Held<IWEZProfileStore>(StoreId::kProfiles);
  auto* users = Held<IUserList>(StoreId::kUserList);
  if (org_struct_ready_ == 1 && user_list_ready_ == 1 && profiles != nullptr && users != nullptr) {
    profiles->SetUserList(users);
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
  auto* held = Held<IWEZProfileStore>(StoreId::kProfiles);
  if (held == nullptr) VK_REPORT_ASSERT();
  return HandOut(held, store);
}

HRESULT CStoreModule::GetMobileProfileStore(IMobileProfileStore** store) {
  VK_CHECK_OUT(store);
  *store = nullptr;
  HRESULT hr = Create(StoreId::kMobileProfiles);
  if (FAILED(hr)) {
    VK_REPORT_ASSERT();
    return hr;
  }
  return HandOut(Held<IMobileProfileStore>(StoreId::kMobileProfiles), store);
}

HRESULT CStoreModule::GetItemStore(IWEZItemStore** store) {
  VK_CHECK_OUT(store);
  return HandOutHeld(Held<IWEZItemStore>(StoreId::kItems), store);
}

// The option, portal and offline-message accessors hand out whatever is held: those stores
// are created unconditionally at load.
HRESULT CStoreModule::GetOptionStore(IOptionStore** store) {
  VK_CHECK_OUT(store);
  return HandOut(Held<IOptionStore>(StoreId::kGlobalOptions), store);
}

HRESULT CStoreModule::GetUserOptionStore(IOptionStore** store) {
  VK_CHECK_OUT(store);
  return HandOut(Held<IOptionStore>(StoreId::kUserOptions), store);
}

HRESULT CStoreModule::GetUserList(IUserList** store) {
  VK_CHECK_OUT(store);
  return HandOutHeld(Held<IUserList>(StoreId::kUserList), store);
}

HRESULT CStoreModule::GetPortalStore(IPortalStore** store) {
  VK_CHECK_OUT(store);
  return HandOut(Held<IPortalStore>(StoreId::kPortal), store);
}

HRESULT CStoreModule::GetGroupStore(IWEZGroupStore** store, LONG kind) {
  VK_CHECK_OUT(store);
  if (kind < 1 || kind > 6) return S_OK;
  IWEZGroupStore* held = Held<IWEZGroupStore>(GroupRow(kind)->id);
  if (held == nullptr) {
    VK_REPORT_ASSERT();
    return E_FAIL;
  }
  return HandOut(held, store);
}

HRESULT CStoreModule::GetProfileProStore(IWEZProfileProStore** store) {
  VK_CHECK_OUT(store);
  return HandOutHeld(Held<IWEZProfileProStore>(StoreId::kBuddyProfiles), store);
}

HRESULT CStoreModule::GetUserGrid(IUserGrid** store) {
  VK_CHECK_OUT(store);
  return HandOutHeld(Held<IUserGrid>(StoreId::kUserGrid), store);
}

HRESULT CStoreModule::GetKeyDeptsStore(IKeyDepts** store) {
  VK_CHECK_OUT(store);
  return HandOutHeld(Held<IKeyDepts>(StoreId::kKeyDepts), store);
}

HRESULT CStoreModule::GetDeptLeader(IDeptLeader** store) {
  VK_CHECK_OUT(store);
  return HandOutHeld(Held<IDeptLeader>(StoreId::kDeptLeader), store);
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
  return HandOutHeld(Held<IRevertDialogStore>(StoreId::kRevertDialogs), store);
}

HRESULT CStoreModule::GetLocalOffMsgStore(ILocalOffMsgStore** store) {
  VK_CHECK_OUT(store);
  return HandOut(Held<ILocalOffMsgStore>(StoreId::kOffMsgs), store);
}

// ---- IModuleDiagnostics ------------------------------------------------------------------

// One row per store, in the catalogue's order: the order the load creates them, so the first
// missing row names where it stopped.
HRESULT CStoreModule::GetStoreCount(LONG* count) {
  if (count == nullptr) return E_INVALIDARG;
  *count = static_cast<LONG>(kStoreCount);
  return S_OK;
}

HRESULT CStoreModule::GetStoreInfo(LONG index, BSTR* name, LONG* present, BSTR* path) {
  if (index < 0 || static_cast<size_t>(index) >= kStoreCount) return E_INVALIDARG;
  if (name != nullptr) *name = SysAllocString(kStoreCatalog[index].name);
  if (present != nullptr) *present = stores_[index] != nullptr;
  if (path != nullptr) *path = SysAllocString(opened_[index].c_str());
  return S_OK;
}

HRESULT CStoreModule::GetReadiness(LONG* org_struct_ready, LONG* user_list_ready) {
  if (org_struct_ready == nullptr || user_list_ready == nullptr) return E_INVALIDARG;
  *org_struct_ready = org_struct_ready_;
  *user_list_ready = user_list_ready_;
  return S_OK;
}

}  // namespace vk
