// The one list of the stores an account has: which class each is, which file of the account
// folder it works on, how it is opened and flushed, and the orders the module creates, opens
// and flushes them in. The module loops over it; the command picks rows from it by id. Adding
// a store is one row here and its class.
#pragma once

#include <array>
#include <cstddef>

#include "vaultkit/identifiers.h"
#include "vaultkit/vaultkit.h"

namespace vk {

// In the order the module creates the stores at load; also the order of the module's
// diagnostic rows, whose index is the id.
enum class StoreId : int {
  kGlobalOptions,
  kUserList,
  kUserGrid,
  kKeyDepts,
  kDeptLeader,
  kPortal,
  kCompanyGroups,
  kMobileGroups,
  kExternalGroups,
  kRecentContacts,
  kFrequentContacts,
  kUserOptions,
  kUserDefinedGroups,
  kProfiles,
  kMobileProfiles,
  kItems,
  kBuddyProfiles,
  kRevertDialogs,
  kOffMsgs,
  kCount
};
inline constexpr std::size_t kStoreCount = static_cast<std::size_t>(StoreId::kCount);

namespace catalog {

// A store's opening operation: every store takes its full path; a group store its kind too,
// and some the client's root, which they keep with their own reference.
using OpenCall = HRESULT (*)(IUnknown* store, const char16_t* path, IUnknown* root, LONG kind);
// The operation that writes a store's pending changes.
using FlushCall = HRESULT (*)(IUnknown* store);

template <typename I>
HRESULT WithPath(IUnknown* store, const char16_t* path, IUnknown*, LONG) {
  return static_cast<I*>(store)->Initialize(path);
}
template <typename I>
HRESULT WithPathAndRoot(IUnknown* store, const char16_t* path, IUnknown* root, LONG) {
  return static_cast<I*>(store)->Initialize(path, root);
}
// The item, buddy profile and dialog stores take the path as an allocated system string,
// freed after the call.
template <typename I, bool kRoot>
HRESULT WithSystemString(IUnknown* store, const char16_t* path, IUnknown* root, LONG) {
  BSTR text = SysAllocString(path);
  HRESULT hr;
  if constexpr (kRoot) {
    hr = static_cast<I*>(store)->Initialize(text, root);
  } else {
    hr = static_cast<I*>(store)->Initialize(text);
  }
  SysFreeString(text);
  return hr;
}
inline HRESULT GroupWithKind(IUnknown* store, const char16_t* path, IUnknown*, LONG kind) {
  return static_cast<IWEZGroupStore*>(store)->Initialize(path, kind);
}
inline HRESULT OptionFile(IUnknown* store, const char16_t* path, IUnknown*, LONG) {
  return static_cast<IOptionStore*>(store)->Open(path);
}
template <typename I>
HRESULT Close(IUnknown* store) {
  return static_cast<I*>(store)->Close();
}
inline HRESULT SaveUserList(IUnknown* store) {
  return static_cast<IUserList*>(store)->Save();
}

// How a client gets the store from the module: the typed accessor of IWEZStore.
using GetCall = HRESULT (*)(IWEZStore* module, LONG kind, IUnknown** store);
template <typename I, HRESULT (IWEZStore::*kAccessor)(I**)>
HRESULT Accessor(IWEZStore* module, LONG, IUnknown** store) {
  I* typed = nullptr;
  HRESULT hr = (module->*kAccessor)(&typed);
  *store = typed;
  return hr;
}
inline HRESULT GroupAccessor(IWEZStore* module, LONG kind, IUnknown** store) {
  IWEZGroupStore* typed = nullptr;
  HRESULT hr = module->GetGroupStore(&typed, kind);
  *store = typed;
  return hr;
}

}  // namespace catalog

struct StoreRow {
  StoreId id;
  const CLSID* clsid;
  const IID* iid;  // the interface the module holds the store by
  const char16_t* prog_id;
  const char16_t* name;      // a display text for diagnostics; never matched against
  const char* file;          // relative to the account folder; null: the store finds its own files
  catalog::OpenCall open;    // null: the module never opens it
  LONG kind;                 // a group store's kind, else 0
  catalog::FlushCall flush;  // null: the flush leaves it alone
  catalog::GetCall get;      // the module's accessor
};

namespace catalog {
constexpr StoreRow Entry(StoreId id, const CLSID& clsid, const IID& iid, const char16_t* prog_id,
                         GetCall get, const char16_t* name, const char* file, OpenCall open,
                         FlushCall flush = nullptr) {
  return {id, &clsid, &iid, prog_id, name, file, open, 0, flush, get};
}
constexpr StoreRow Group(StoreId id, LONG kind, const char16_t* name, const char* file) {
  return {id,
          &CLSID_WEZGroupStore,
          &IID_IWEZGroupStore,
          VK_PROGID_WEZ_GROUP_STORE,
          name,
          file,
          &GroupWithKind,
          kind,
          nullptr,
          &GroupAccessor};
}
}  // namespace catalog

// The account's own option file lives beside the accounts, not in one of them.
inline constexpr char kGlobalOptionsFile[] = "wez.cfg";
// The folder the module opens its default stores in before any account is known.
inline constexpr char16_t kDefaultAccount[] = u"0";

// Not inline: the identifiers it points at are one object per translation unit.
constexpr std::array<StoreRow, kStoreCount> kStoreCatalog = [] {
  using namespace catalog;
  using S = StoreId;
  return std::array<StoreRow, kStoreCount>{
      Entry(S::kGlobalOptions, CLSID_OptionStore, IID_IOptionStore, VK_PROGID_OPTION_STORE,
            &Accessor<IOptionStore, &IWEZStore::GetOptionStore>, u"global options", nullptr,
            &OptionFile),
      Entry(S::kUserList, CLSID_UserList, IID_IUserList, VK_PROGID_USER_LIST,
            &Accessor<IUserList, &IWEZStore::GetUserList>, u"user list", "userList5.dat",
            &WithPathAndRoot<IUserList>, &SaveUserList),
      Entry(S::kUserGrid, CLSID_UserGrid, IID_IUserGrid, VK_PROGID_USER_GRID,
            &Accessor<IUserGrid, &IWEZStore::GetUserGrid>, u"user grid", "UserGrid.xml",
            &WithPathAndRoot<IUserGrid>, &Close<IUserGrid>),
      Entry(S::kKeyDepts, CLSID_KeyDepts, IID_IKeyDepts, VK_PROGID_KEY_DEPTS,
            &Accessor<IKeyDepts, &IWEZStore::GetKeyDeptsStore>, u"key departments", "KeyDepts.xml",
            &WithPathAndRoot<IKeyDepts>, &Close<IKeyDepts>),
      Entry(S::kDeptLeader, CLSID_DeptLeader, IID_IDeptLeader, VK_PROGID_DEPT_LEADER,
            &Accessor<IDeptLeader, &IWEZStore::GetDeptLeader>, u"department leaders", "Leader.xml",
            &WithPathAndRoot<IDeptLeader>, &Close<IDeptLeader>),
      Entry(S::kPortal, CLSID_PortalStore, IID_IPortalStore, VK_PROGID_PORTAL_STORE,
            &Accessor<IPortalStore, &IWEZStore::GetPortalStore>, u"portal",
            "PortalIcon/EPortal.xml", &WithPathAndRoot<IPortalStore>),
      Group(S::kCompanyGroups, 1, u"company groups (1)", "Group.dat"),
      Group(S::kMobileGroups, 5, u"mobile groups (5)", "MobileGroup.dat"),
      Group(S::kExternalGroups, 6, u"external groups (6)", "WEZExtGroup.dat"),
      Group(S::kRecentContacts, 3, u"recent contacts (3)", "RecentGroup.dat"),
      Group(S::kFrequentContacts, 2, u"frequent contacts (2)", "FriendGroup.dat"),
      Entry(S::kUserOptions, CLSID_OptionStore, IID_IOptionStore, VK_PROGID_OPTION_STORE,
            &Accessor<IOptionStore, &IWEZStore::GetUserOptionStore>, u"user options", "User.cfg",
            &OptionFile),
      Group(S::kUserDefinedGroups, 4, u"user-defined groups (4)", "UserDefinedGroup.dat"),
      Entry(S::kProfiles, CLSID_WEZProfileStore, IID_IWEZProfileStore, VK_PROGID_WEZ_PROFILE_STORE,
            &Accessor<IWEZProfileStore, &IWEZStore::GetProfileStore>, u"profiles", "WEZProfile.dat",
            &WithPath<IWEZProfileStore>, &Close<IWEZProfileStore>),
      Entry(S::kMobileProfiles, CLSID_MobileProfileStore, IID_IMobileProfileStore,
            VK_PROGID_MOBILE_PROFILE_STORE,
            &Accessor<IMobileProfileStore, &IWEZStore::GetMobileProfileStore>, u"mobile profiles",
            "MobileProfile.xml", &WithPath<IMobileProfileStore>, &Close<IMobileProfileStore>),
      Entry(S::kItems, CLSID_WEZItemStore, IID_IWEZItemStore, VK_PROGID_WEZ_ITEM_STORE,
            &Accessor<IWEZItemStore, &IWEZStore::GetItemStore>, u"items", "WEZExtBuddy.xml",
            &WithSystemString<IWEZItemStore, false>, &Close<IWEZItemStore>),
      Entry(S::kBuddyProfiles, CLSID_WEZProfileProStore, IID_IWEZProfileProStore,
            VK_PROGID_WEZ_PROFILE_PRO_STORE,
            &Accessor<IWEZProfileProStore, &IWEZStore::GetProfileProStore>, u"buddy profiles",
            "WEZProfilePro.dat", &WithSystemString<IWEZProfileProStore, false>,
            &Close<IWEZProfileProStore>),
      Entry(S::kRevertDialogs, CLSID_RevertDialogStore, IID_IRevertDialogStore,
            VK_PROGID_REVERT_DIALOG_STORE,
            &Accessor<IRevertDialogStore, &IWEZStore::GetRevertDialogStore>,
            u"reply-pending dialogs", "RevertDialog.xml",
            &WithSystemString<IRevertDialogStore, true>),
      Entry(S::kOffMsgs, CLSID_LocalOffMsgStore, IID_ILocalOffMsgStore,
            VK_PROGID_LOCAL_OFF_MSG_STORE,
            &Accessor<ILocalOffMsgStore, &IWEZStore::GetLocalOffMsgStore>, u"offline messages",
            nullptr, nullptr),
  };
}();

static constexpr const StoreRow& Row(StoreId id) {
  return kStoreCatalog[static_cast<std::size_t>(id)];
}

static_assert(
    [] {
      for (std::size_t i = 0; i < kStoreCount; ++i) {
        if (static_cast<std::size_t>(kStoreCatalog[i].id) != i) return false;
      }
      return true;
    }(),
    "a row's id is its place in the catalogue");

// The group store of kind 1 to 6; null for any other kind.
static constexpr const StoreRow* GroupRow(LONG kind) {
  for (const StoreRow& row : kStoreCatalog) {
    if (row.kind != 0 && row.kind == kind) return &row;
  }
  return nullptr;
}

// The order the stores are held in: they are released in its reverse, the offline
// messages first and the company groups last.
inline constexpr StoreId kHoldingOrder[] = {
    StoreId::kCompanyGroups,  StoreId::kMobileGroups,     StoreId::kExternalGroups,
    StoreId::kUserList,       StoreId::kMobileProfiles,   StoreId::kProfiles,
    StoreId::kItems,          StoreId::kFrequentContacts, StoreId::kUserDefinedGroups,
    StoreId::kRecentContacts, StoreId::kGlobalOptions,    StoreId::kUserOptions,
    StoreId::kBuddyProfiles,  StoreId::kUserGrid,         StoreId::kKeyDepts,
    StoreId::kDeptLeader,     StoreId::kPortal,           StoreId::kRevertDialogs,
    StoreId::kOffMsgs};

// Opened at load on the default account folder, in this order; the first failure ends it.
inline constexpr StoreId kDefaultOpenOrder[] = {
    StoreId::kCompanyGroups,     StoreId::kFrequentContacts, StoreId::kRecentContacts,
    StoreId::kUserDefinedGroups, StoreId::kProfiles,         StoreId::kExternalGroups};

// How a step of the account change ends the sequence.
enum class OpenRule {
  kChecked,        // a failure ends the sequence with an assertion report
  kFileMustExist,  // without its file the sequence ends here silently
  kUnchecked,      // its result is not looked at
};
struct OpenStep {
  StoreId id;
  OpenRule rule;
};
inline constexpr OpenStep kAccountOpenOrder[] = {
    {StoreId::kRevertDialogs, OpenRule::kChecked},
    {StoreId::kCompanyGroups, OpenRule::kChecked},
    {StoreId::kMobileGroups, OpenRule::kChecked},
    {StoreId::kFrequentContacts, OpenRule::kChecked},
    {StoreId::kRecentContacts, OpenRule::kChecked},
    {StoreId::kUserDefinedGroups, OpenRule::kChecked},
    {StoreId::kUserOptions, OpenRule::kChecked},
    {StoreId::kProfiles, OpenRule::kChecked},
    {StoreId::kMobileProfiles, OpenRule::kChecked},
    {StoreId::kExternalGroups, OpenRule::kChecked},
    {StoreId::kItems, OpenRule::kChecked},
    {StoreId::kUserList, OpenRule::kChecked},
    {StoreId::kUserGrid, OpenRule::kChecked},
    {StoreId::kDeptLeader, OpenRule::kChecked},
    {StoreId::kBuddyProfiles, OpenRule::kFileMustExist},
    {StoreId::kKeyDepts, OpenRule::kUnchecked},
    {StoreId::kPortal, OpenRule::kUnchecked},
};

// The stores the periodic and final flush writes, in this order, each through its row's flush
// operation.
inline constexpr StoreId kFlushOrder[] = {
    StoreId::kProfiles,   StoreId::kUserList,      StoreId::kUserGrid,       StoreId::kKeyDepts,
    StoreId::kDeptLeader, StoreId::kBuddyProfiles, StoreId::kMobileProfiles, StoreId::kItems};

}  // namespace vk
