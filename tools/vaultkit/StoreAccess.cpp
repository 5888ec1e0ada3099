#include "tools/vaultkit/StoreAccess.h"

#include <cstdio>
#include <stdexcept>

#include "platform/Text.h"
#include "tools/vaultkit/Command.h"
#include "tools/vaultkit/Host.h"

namespace vk::cli {
namespace {

// The XML stores and the user list open on (path, root).
template <typename I, typename Get>
ComRef<I> OpenWithRoot(Host& host, const char16_t* row, Get get, const char16_t* prog_id,
                       const std::string& file) {
  std::u16string path = host.AccountFile(file);
  IUnknown* root = static_cast<IClientRoot*>(host.Root());
  I* store =
      host.Store<I>(row, get, prog_id, [&](I* s) { return s->Initialize(path.c_str(), root); });
  if (store == nullptr) {
    throw std::runtime_error("the store " + ToUtf8(prog_id) + " is not available");
  }
  return ComRef<I>(store);
}

// The stores that open on a path alone.
template <typename I, typename Get, typename Open>
ComRef<I> OpenOnPath(Host& host, const char16_t* row, Get get, const char16_t* prog_id,
                     const std::string& file, Open open) {
  std::u16string path = host.AccountFile(file);
  I* store = host.Store<I>(row, get, prog_id, [&](I* s) { return open(s, path); });
  if (store == nullptr) {
    throw std::runtime_error("the store " + ToUtf8(prog_id) + " cannot be opened on " +
                             ToUtf8(path));
  }
  return ComRef<I>(store);
}

}  // namespace

ComRef<IUserList> OpenUserList(Host& host) {
  return OpenWithRoot<IUserList>(
      host, u"user list", [](IWEZStore* m, IUserList** s) { return m->GetUserList(s); },
      u"IUserList", "userList5.dat");
}

ComRef<IUserGrid> OpenUserGrid(Host& host) {
  return OpenWithRoot<IUserGrid>(
      host, u"user grid", [](IWEZStore* m, IUserGrid** s) { return m->GetUserGrid(s); },
      u"IUserGrid", "UserGrid.xml");
}

ComRef<IKeyDepts> OpenKeyDepts(Host& host) {
  return OpenWithRoot<IKeyDepts>(
      host, u"key departments", [](IWEZStore* m, IKeyDepts** s) { return m->GetKeyDeptsStore(s); },
      u"IKeyDepts", "KeyDepts.xml");
}

ComRef<IDeptLeader> OpenDeptLeader(Host& host) {
  return OpenWithRoot<IDeptLeader>(
      host, u"department leaders",
      [](IWEZStore* m, IDeptLeader** s) { return m->GetDeptLeader(s); }, u"IDeptLeader",
      "Leader.xml");
}

ComRef<IPortalStore> OpenPortal(Host& host) {
  return OpenWithRoot<IPortalStore>(
      host, u"portal", [](IWEZStore* m, IPortalStore** s) { return m->GetPortalStore(s); },
      u"IPortalStore", "PortalIcon/EPortal.xml");
}

ComRef<IWEZItemStore> OpenItemStore(Host& host) {
  return OpenOnPath<IWEZItemStore>(
      host, u"items", [](IWEZStore* m, IWEZItemStore** s) { return m->GetItemStore(s); },
      u"IWEZItemStore", "WEZExtBuddy.xml",
      [](IWEZItemStore* s, const std::u16string& path) {
        BSTR text = SysAllocString(path.c_str());
        HRESULT hr = s->Initialize(text);
        SysFreeString(text);
        return hr;
      });
}

ComRef<IMobileProfileStore> OpenMobileProfile(Host& host) {
  return OpenOnPath<IMobileProfileStore>(
      host, u"mobile profiles",
      [](IWEZStore* m, IMobileProfileStore** s) { return m->GetMobileProfileStore(s); },
      u"IMobileProfileStore", "MobileProfile.xml",
      [](IMobileProfileStore* s, const std::u16string& path) {
        return s->Initialize(path.c_str());
      });
}

int ReportWithReason(const char* what, HRESULT hr) {
  IErrorInfo* info = nullptr;
  std::string reason;
  if (GetErrorInfo(0, &info) == S_OK && info != nullptr) {
    BSTR description = nullptr;
    info->GetDescription(&description);
    reason = Utf8(description);
    info->Release();
  }
  int status = Report(what, hr);
  if (status != 0 && !reason.empty()) std::fprintf(stderr, "vaultkit: %s\n", reason.c_str());
  return status;
}

int Report(const char* what, HRESULT hr) {
  if (hr == S_OK) return 0;
  std::fprintf(stderr, "vaultkit: %s answered 0x%08X%s\n", what, static_cast<unsigned>(hr),
               hr == S_FALSE  ? " (S_FALSE)"
               : hr == E_FAIL ? " (E_FAIL)"
                              : "");
  return 1;
}

std::string Utf8(BSTR text) {
  std::string utf8 = text == nullptr ? "" : ToUtf8(std::u16string_view(text, SysStringLen(text)));
  SysFreeString(text);
  return utf8;
}

template <typename I>
int VersionAction(I* store, const std::vector<std::string>& args) {
  if (args.size() == 1 && args[0] == "get") {
    LONG version = 0;
    HRESULT hr = store->GetVersion(&version);
    if (hr == S_OK) std::printf("%d\n", version);
    return Report("GetVersion", hr);
  }
  if (args.size() == 2 && args[0] == "set") {
    return Report("SetVersion", store->SetVersion(static_cast<LONG>(ParseLong(args[1], "N"))));
  }
  throw UsageError{"version takes 'get' or 'set N'"};
}

template int VersionAction<IUserGrid>(IUserGrid*, const std::vector<std::string>&);
template int VersionAction<IKeyDepts>(IKeyDepts*, const std::vector<std::string>&);
template int VersionAction<IDeptLeader>(IDeptLeader*, const std::vector<std::string>&);
template int VersionAction<IPortalStore>(IPortalStore*, const std::vector<std::string>&);

}  // namespace vk::cli
