#include "tools/vaultkit/cli/StoreAccess.h"

#include <cstdio>

#include "client/ModuleSite.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "tools/vaultkit/cli/Command.h"
#include "tools/vaultkit/cli/Host.h"
#include "tools/vaultkit/cli/Json.h"

namespace vk::cli {
namespace {

// A store through the module, or created by ProgID and opened on `path` by `open`.
template <typename I, typename Get, typename Open>
ComPtr<I> OpenOn(Host& host, const char16_t* row, Get get, const char16_t* prog_id,
                 const std::u16string& path, Open open) {
  HRESULT opened = S_OK;
  I* store = host.Store<I>(row, get, prog_id, [&](I* s) { return opened = open(s); });
  if (store == nullptr) {
    throw Failure{FAILED(opened) ? "cannot open " + ToUtf8(path) + ": " + FailureReason(opened)
                                 : "the component has no class " + ToUtf8(prog_id)};
  }
  return ComPtr<I>(store);
}

// The XML stores and the user list open on (path, root).
template <typename I, typename Get>
ComPtr<I> OpenWithRoot(Host& host, const char16_t* row, Get get, const char16_t* prog_id,
                       const std::string& file) {
  std::u16string path = host.AccountFile(file);
  IUnknown* root = static_cast<IClientRoot*>(host.Root());
  return OpenOn<I>(host, row, get, prog_id, path,
                   [&](I* s) { return s->Initialize(path.c_str(), root); });
}

// Stores whose Initialize takes the path as a system string.
template <typename I>
HRESULT InitializeWithBstr(I* store, const std::u16string& path) {
  BSTR text = SysAllocString(path.c_str());
  HRESULT hr = store->Initialize(text);
  SysFreeString(text);
  return hr;
}

}  // namespace

ComPtr<IUserList> OpenUserList(Host& host) {
  return OpenWithRoot<IUserList>(
      host, u"user list", [](IWEZStore* m, IUserList** s) { return m->GetUserList(s); },
      u"IUserList", "userList5.dat");
}

ComPtr<IUserGrid> OpenUserGrid(Host& host) {
  return OpenWithRoot<IUserGrid>(
      host, u"user grid", [](IWEZStore* m, IUserGrid** s) { return m->GetUserGrid(s); },
      u"IUserGrid", "UserGrid.xml");
}

ComPtr<IKeyDepts> OpenKeyDepts(Host& host) {
  return OpenWithRoot<IKeyDepts>(
      host, u"key departments", [](IWEZStore* m, IKeyDepts** s) { return m->GetKeyDeptsStore(s); },
      u"IKeyDepts", "KeyDepts.xml");
}

ComPtr<IDeptLeader> OpenDeptLeader(Host& host) {
  return OpenWithRoot<IDeptLeader>(
      host, u"department leaders",
      [](IWEZStore* m, IDeptLeader** s) { return m->GetDeptLeader(s); }, u"IDeptLeader",
      "Leader.xml");
}

ComPtr<IPortalStore> OpenPortal(Host& host) {
  return OpenWithRoot<IPortalStore>(
      host, u"portal", [](IWEZStore* m, IPortalStore** s) { return m->GetPortalStore(s); },
      u"IPortalStore", "PortalIcon/EPortal.xml");
}

ComPtr<IWEZItemStore> OpenItemStore(Host& host) {
  std::u16string path = host.AccountFile("WEZExtBuddy.xml");
  return OpenOn<IWEZItemStore>(
      host, u"items", [](IWEZStore* m, IWEZItemStore** s) { return m->GetItemStore(s); },
      u"IWEZItemStore", path, [&](IWEZItemStore* s) { return InitializeWithBstr(s, path); });
}

ComPtr<IWEZProfileStore> OpenProfiles(Host& host) {
  // Without an account, the default folder the module opens this store on at load.
  std::u16string path = host.HasAccount() ? host.AccountFile("WEZProfile.dat")
                                          : FromUtf8(host.DataRoot() + "Accounts/0/WEZProfile.dat");
  return OpenOn<IWEZProfileStore>(
      host, u"profiles", [](IWEZStore* m, IWEZProfileStore** s) { return m->GetProfileStore(s); },
      u"IWEZProfileStore", path, [&](IWEZProfileStore* s) { return s->Initialize(path.c_str()); });
}

ComPtr<IWEZProfileProStore> OpenBuddyProfiles(Host& host) {
  std::u16string path = host.AccountFile("WEZProfilePro.dat");
  return OpenOn<IWEZProfileProStore>(
      host, u"buddy profiles",
      [](IWEZStore* m, IWEZProfileProStore** s) { return m->GetProfileProStore(s); },
      u"Vaultkit.WEZProfileProStore", path,
      [&](IWEZProfileProStore* s) { return InitializeWithBstr(s, path); });
}

ComPtr<IMobileProfileStore> OpenMobileProfile(Host& host) {
  std::u16string path = host.AccountFile("MobileProfile.xml");
  return OpenOn<IMobileProfileStore>(
      host, u"mobile profiles",
      [](IWEZStore* m, IMobileProfileStore** s) { return m->GetMobileProfileStore(s); },
      u"IMobileProfileStore", path,
      [&](IMobileProfileStore* s) { return s->Initialize(path.c_str()); });
}

ComPtr<IRevertDialogStore> OpenRevertDialogs(Host& host) {
  std::u16string path = host.AccountFile("RevertDialog.xml");
  IUnknown* root = static_cast<IClientRoot*>(host.Root());
  return OpenOn<IRevertDialogStore>(
      host, u"reply-pending dialogs",
      [](IWEZStore* m, IRevertDialogStore** s) { return m->GetRevertDialogStore(s); },
      u"IRevertDialogStore", path,
      [&](IRevertDialogStore* s) {
        BSTR text = SysAllocString(path.c_str());
        HRESULT hr = s->Initialize(text, root);
        SysFreeString(text);
        return hr;
      });
}

ComPtr<ILocalOffMsgStore> OpenOffMsgs(Host& host) {
  if (!host.HasAccount()) throw UsageError{"offline messages need --account NAME"};
  // The module hands the store out without opening it; the client opens it.
  ILocalOffMsgStore* store = nullptr;
  if (host.Stores() == nullptr || FAILED(host.Stores()->GetLocalOffMsgStore(&store)) ||
      store == nullptr) {
    store = static_cast<ILocalOffMsgStore*>(
        host.CreateByProgId(u"ILocalOffMsgStore", IID_ILocalOffMsgStore));
  }
  if (store == nullptr) throw Failure{"the component has no class ILocalOffMsgStore"};
  ComPtr<ILocalOffMsgStore> held(store);
  ComPtr<ModuleSite> site(new ModuleSite(host.Root()));
  HRESULT hr = store->Init(static_cast<IModuleSite*>(site.get()));
  if (SUCCEEDED(hr)) hr = store->OpenAccount();
  if (FAILED(hr)) {
    throw Failure{"cannot open the offline message folders of " + host.Account() + " under " +
                  host.DataRoot() + ": " + FailureReason(hr)};
  }
  return held;
}

ComPtr<IWEZGroupStore> OpenGroupStore(Host& host, LONG kind) {
  static const char16_t* const kRows[] = {u"company groups (1)",  u"frequent contacts (2)",
                                          u"recent contacts (3)", u"user-defined groups (4)",
                                          u"mobile groups (5)",   u"external groups (6)"};
  static const char* const kFiles[] = {"Group.dat",       "FriendGroup.dat",
                                       "RecentGroup.dat", "UserDefinedGroup.dat",
                                       "MobileGroup.dat", "WEZExtGroup.dat"};
  if (kind < 1 || kind > 6) throw UsageError{"KIND is a group kind from 1 to 6"};
  const char16_t* row = kRows[kind - 1];
  const std::u16string path = host.HasAccount()
                                  ? host.AccountFile(kFiles[kind - 1])
                                  : FromUtf8(host.DataRoot() + "Accounts/0/" + kFiles[kind - 1]);
  if (kind == VK_GROUP_COMPANY && host.HasAccount() && host.Stores() != nullptr &&
      host.OpenedFile(u"user list").empty()) {
    IUserList* users = nullptr;
    if (SUCCEEDED(host.Stores()->GetUserList(&users)) && users != nullptr) {
      users->Initialize(host.AccountFile("userList5.dat").c_str(),
                        static_cast<IClientRoot*>(host.Root()));
      users->Release();
    }
  }
  HRESULT opened = S_OK;
  // The module's own store only while it has this very file open.
  IWEZGroupStore* store = host.Store<IWEZGroupStore>(
      row,
      [&](IWEZStore* m, IWEZGroupStore** s) {
        return host.OpenedFile(row) == path ? m->GetGroupStore(s, kind) : E_FAIL;
      },
      u"IWEZGroupStore",
      [&](IWEZGroupStore* s) {
        // The module creates the default folder only when its load gets that far.
        CreateFolders(path.substr(0, path.rfind(u'/')));
        return opened = s->Initialize(path.c_str(), kind);
      });
  if (store == nullptr) {
    throw Failure{FAILED(opened) ? "cannot open " + ToUtf8(path) + ": " + FailureReason(opened)
                                 : "the component has no class IWEZGroupStore"};
  }
  // Opening answers S_OK even when the database could not be opened; a count tells.
  LONG count = 0;
  if (store->GetGroupCount(&count) != S_OK) {
    store->Release();
    throw Failure{"cannot open the group database " + ToUtf8(path)};
  }
  return ComPtr<IWEZGroupStore>(store);
}

std::string StatusName(HRESULT hr) {
  static const struct {
    HRESULT status;
    const char* name;
  } kNames[] = {{S_OK, "S_OK"},
                {S_FALSE, "S_FALSE"},
                {E_NOTIMPL, "E_NOTIMPL"},
                {E_NOINTERFACE, "E_NOINTERFACE"},
                {E_POINTER, "E_POINTER"},
                {E_FAIL, "E_FAIL"},
                {E_UNEXPECTED, "E_UNEXPECTED"},
                {E_OUTOFMEMORY, "E_OUTOFMEMORY"},
                {E_INVALIDARG, "E_INVALIDARG"},
                {E_ACCESSDENIED, "E_ACCESSDENIED"}};
  char number[16];
  std::snprintf(number, sizeof number, "0x%08X", static_cast<unsigned>(hr));
  for (const auto& known : kNames) {
    if (known.status == hr) return std::string(known.name) + " (" + number + ")";
  }
  return number;
}

std::string FailureReason(HRESULT hr) {
  IErrorInfo* info = nullptr;
  std::string reason;
  if (GetErrorInfo(0, &info) == S_OK && info != nullptr) {
    BSTR description = nullptr;
    info->GetDescription(&description);
    reason = Utf8(description);
    info->Release();
  }
  return reason.empty() ? "the store answered " + StatusName(hr) : reason;
}

int Report(const char* what, HRESULT hr, std::initializer_list<HRESULT> success) {
  for (HRESULT ok : success) {
    if (hr == ok) return kExitOk;
  }
  std::fprintf(stderr, "vaultkit: %s failed: %s\n", what, FailureReason(hr).c_str());
  return kExitFailed;
}

std::string Utf8(BSTR text) {
  std::string utf8 = text == nullptr ? "" : ToUtf8(std::u16string_view(text, SysStringLen(text)));
  SysFreeString(text);
  return utf8;
}

template <typename I>
int VersionAction(I* store, const std::vector<std::string>& args, bool json) {
  if (args.size() == 1 && args[0] == "get") {
    LONG version = 0;
    HRESULT hr = store->GetVersion(&version);
    if (hr != S_OK) return Report("GetVersion", hr);
    if (json) {
      PrintJson({{"version", version}});
    } else {
      std::printf("%d\n", version);
    }
    return kExitOk;
  }
  if (args.size() == 2 && args[0] == "set") {
    return Report("SetVersion", store->SetVersion(ParseInt32(args[1], "N")));
  }
  throw UsageError{"version takes 'get' or 'set N'"};
}

template int VersionAction<IUserGrid>(IUserGrid*, const std::vector<std::string>&, bool);
template int VersionAction<IKeyDepts>(IKeyDepts*, const std::vector<std::string>&, bool);
template int VersionAction<IDeptLeader>(IDeptLeader*, const std::vector<std::string>&, bool);
template int VersionAction<IPortalStore>(IPortalStore*, const std::vector<std::string>&, bool);

}  // namespace vk::cli
