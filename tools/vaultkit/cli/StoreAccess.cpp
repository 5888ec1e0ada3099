#include "tools/vaultkit/cli/StoreAccess.h"

#include <cstdio>
#include <filesystem>

#include "client/ModuleSite.h"
#include "module/StoreCatalog.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "tools/vaultkit/cli/Command.h"
#include "tools/vaultkit/cli/Host.h"
#include "tools/vaultkit/cli/Json.h"

namespace vk::cli {
namespace {

// The row's store on `path`: the module's own while it has it open on that very file, else
// one created by its ProgID and opened there as the module would open it.
template <typename I>
ComPtr<I> OpenStore(Host& host, StoreId id, const std::u16string& path) {
  HRESULT opened = S_OK;
  ComPtr<I> store(static_cast<I*>(host.Store(id, path, &opened)));
  if (store == nullptr) {
    throw Failure{FAILED(opened) ? "cannot open " + ToUtf8(path) + ": " + FailureReason(opened)
                                 : "the component has no class " + ToUtf8(Row(id).prog_id)};
  }
  return store;
}

// Without an account, the default folder the module opens the store on at load.
std::u16string AccountOrDefaultFile(Host& host, StoreId id) {
  return host.HasAccount() ? host.AccountFile(id)
                           : FromUtf8(host.DataRoot() + "Accounts/" + ToUtf8(kDefaultAccount) +
                                      "/" + Row(id).file);
}

}  // namespace

ComPtr<IUserList> OpenUserList(Host& host) {
  return OpenStore<IUserList>(host, StoreId::kUserList, host.AccountFile(StoreId::kUserList));
}

ComPtr<IUserGrid> OpenUserGrid(Host& host) {
  return OpenStore<IUserGrid>(host, StoreId::kUserGrid, host.AccountFile(StoreId::kUserGrid));
}

ComPtr<IKeyDepts> OpenKeyDepts(Host& host) {
  return OpenStore<IKeyDepts>(host, StoreId::kKeyDepts, host.AccountFile(StoreId::kKeyDepts));
}

ComPtr<IDeptLeader> OpenDeptLeader(Host& host) {
  return OpenStore<IDeptLeader>(host, StoreId::kDeptLeader, host.AccountFile(StoreId::kDeptLeader));
}

ComPtr<IPortalStore> OpenPortal(Host& host) {
  return OpenStore<IPortalStore>(host, StoreId::kPortal, host.AccountFile(StoreId::kPortal));
}

ComPtr<IWEZItemStore> OpenItemStore(Host& host) {
  return OpenStore<IWEZItemStore>(host, StoreId::kItems, host.AccountFile(StoreId::kItems));
}

ComPtr<IWEZProfileStore> OpenProfiles(Host& host) {
  return OpenStore<IWEZProfileStore>(host, StoreId::kProfiles,
                                     AccountOrDefaultFile(host, StoreId::kProfiles));
}

ComPtr<IWEZProfileProStore> OpenBuddyProfiles(Host& host) {
  return OpenStore<IWEZProfileProStore>(host, StoreId::kBuddyProfiles,
                                        host.AccountFile(StoreId::kBuddyProfiles));
}

ComPtr<IMobileProfileStore> OpenMobileProfile(Host& host) {
  return OpenStore<IMobileProfileStore>(host, StoreId::kMobileProfiles,
                                        host.AccountFile(StoreId::kMobileProfiles));
}

ComPtr<IRevertDialogStore> OpenRevertDialogs(Host& host) {
  return OpenStore<IRevertDialogStore>(host, StoreId::kRevertDialogs,
                                       host.AccountFile(StoreId::kRevertDialogs));
}

std::u16string OptionFile(Host& host, bool user) {
  return user ? host.AccountFile(StoreId::kUserOptions)
              : FromUtf8(host.DataRoot() + "Accounts/" + kGlobalOptionsFile);
}

ComPtr<IOptionStore> OpenOptions(Host& host, bool user) {
  return OpenStore<IOptionStore>(host, user ? StoreId::kUserOptions : StoreId::kGlobalOptions,
                                 OptionFile(host, user));
}

ComPtr<ILocalOffMsgStore> OpenOffMsgs(Host& host) {
  if (!host.HasAccount()) throw UsageError{"offline messages need --account NAME"};
  // The module hands the store out without opening it; the client opens it.
  ILocalOffMsgStore* store = nullptr;
  if (host.Stores() == nullptr || FAILED(host.Stores()->GetLocalOffMsgStore(&store)) ||
      store == nullptr) {
    store = static_cast<ILocalOffMsgStore*>(
        host.CreateByProgId(Row(StoreId::kOffMsgs).prog_id, IID_ILocalOffMsgStore));
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
  const StoreRow* row = GroupRow(kind);
  if (row == nullptr) throw UsageError{"KIND is a group kind from 1 to 6"};
  const std::u16string path = AccountOrDefaultFile(host, row->id);
  if (kind == VK_GROUP_COMPANY && host.HasAccount() && host.Stores() != nullptr &&
      host.OpenedFile(StoreId::kUserList).empty()) {
    IUserList* users = nullptr;
    if (SUCCEEDED(host.Stores()->GetUserList(&users)) && users != nullptr) {
      users->Initialize(host.AccountFile(StoreId::kUserList).c_str(),
                        static_cast<IClientRoot*>(host.Root()));
      users->Release();
    }
  }
  // The module creates the default folder only when its load gets that far.
  if (host.OpenedFile(row->id) != path) CreateFolders(path.substr(0, path.rfind(u'/')));
  ComPtr<IWEZGroupStore> store = OpenStore<IWEZGroupStore>(host, row->id, path);
  // Opening answers S_OK even when the database could not be opened; a count tells.
  LONG count = 0;
  if (store->GetGroupCount(&count) != S_OK) {
    throw Failure{"cannot open the group database " + ToUtf8(path)};
  }
  return store;
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

std::string DescribedError() {
  IErrorInfo* info = nullptr;
  std::string reason;
  if (GetErrorInfo(0, &info) == S_OK && info != nullptr) {
    BSTR description = nullptr;
    info->GetDescription(&description);
    reason = Utf8(description);
    info->Release();
  }
  return reason;
}

std::string FailureReason(HRESULT hr) {
  const std::string reason = DescribedError();
  return reason.empty() ? "the store answered " + StatusName(hr) : reason;
}

void ConfirmWritten(Host& host, StoreId id) {
  const std::string reason = DescribedError();
  const std::string file = ToUtf8(AccountOrDefaultFile(host, id));
  if (!reason.empty()) throw Failure{host.Shown(reason)};
  std::error_code ec;
  if (!std::filesystem::is_regular_file(file, ec)) {
    throw Failure{host.Shown(file) + ": the change was not written (no regular file there)"};
  }
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
