// The stores the subcommands use, reached through the module or, while the module has not
// opened them, created by ProgID and opened on the account's file. Each throws Failure,
// naming the file and the reason, when the store cannot be had.
#pragma once

#include <initializer_list>
#include <string>
#include <vector>

#include "module/StoreCatalog.h"
#include "runtime/ComPtr.h"
#include "tools/vaultkit/cli/Command.h"
#include "vaultkit/vaultkit.h"

namespace vk::cli {

class Host;

ComPtr<IUserList> OpenUserList(Host& host);
ComPtr<IUserGrid> OpenUserGrid(Host& host);
ComPtr<IKeyDepts> OpenKeyDepts(Host& host);
ComPtr<IDeptLeader> OpenDeptLeader(Host& host);
ComPtr<IPortalStore> OpenPortal(Host& host);
ComPtr<IWEZItemStore> OpenItemStore(Host& host);
ComPtr<IMobileProfileStore> OpenMobileProfile(Host& host);
ComPtr<IRevertDialogStore> OpenRevertDialogs(Host& host);
// The account's User.cfg (`user`) or the data root's wez.cfg, and its store.
std::u16string OptionFile(Host& host, bool user);
ComPtr<IOptionStore> OpenOptions(Host& host, bool user);
// The offline message store as the client opens it: Init with a site, then OpenAccount.
ComPtr<ILocalOffMsgStore> OpenOffMsgs(Host& host);
// Without --account, the profile store of the default folder "0".
ComPtr<IWEZProfileStore> OpenProfiles(Host& host);
ComPtr<IWEZProfileProStore> OpenBuddyProfiles(Host& host);
// The group store of `kind` (1 to 6) on the account's file, or without an account on the
// default folder "0" where the module's load opens it. For the company tree the module's user
// list, which answers its member queries, is opened on the account's directory first.
ComPtr<IWEZGroupStore> OpenGroupStore(Host& host, LONG kind);

// Reads a status as the operation's contract gives it: a status in `success` is success
// (kExitOk); any other prints "vaultkit: <what> failed: <why>" on stderr and returns
// kExitFailed. <why> is what the component left in the thread's error object, else the
// status by name.
int Report(const char* what, HRESULT hr, std::initializer_list<HRESULT> success = {S_OK});
// The status by name and number, e.g. "E_FAIL (0x80004005)".
std::string StatusName(HRESULT hr);
// Why the last call failed, from the thread's error object (which it clears); else the
// status by name.
std::string FailureReason(HRESULT hr);
// What the component left in the thread's error object (which it clears); empty when nothing.
std::string DescribedError();
std::string Utf8(BSTR text);  // frees the string

// Runs a lookup with a clean error object. E_FAIL that leaves no description behind is the
// store's "found nothing" (NotFound with `absent`); another failure throws Failure saying why.
template <typename Call>
void Lookup(const char* what, const std::string& absent, Call call) {
  SetErrorInfo(0, nullptr);
  HRESULT hr = call();
  if (hr == S_OK) return;
  IErrorInfo* info = nullptr;
  bool described = GetErrorInfo(0, &info) == S_OK && info != nullptr;
  if (info != nullptr) {
    SetErrorInfo(0, info);  // FailureReason reads it
    info->Release();
  }
  if (hr == E_FAIL && !described) throw NotFound{absent};
  throw Failure{std::string(what) + " failed: " + FailureReason(hr)};
}

// The confirmation of CloseAndConfirm alone, after a call that saves at once.
void ConfirmWritten(Host& host, StoreId id);
// Writes a store's changes with Close and confirms that they reached the row's file. Close
// answers S_OK by contract, so a save that failed is known by the reason it left in the thread's
// error object (cleared first, so that only this save speaks), and by the file not being a
// regular file afterwards. Throws Failure "<file>: <reason>". Returns `status`, the change's
// own exit status; nothing is confirmed after a change that failed.
template <typename I>
int CloseAndConfirm(Host& host, I* store, StoreId id, int status) {
  SetErrorInfo(0, nullptr);
  store->Close();
  if (status == kExitOk) ConfirmWritten(host, id);
  return status;
}

// `version get` and `version set N` of a versioned XML store.
template <typename I>
int VersionAction(I* store, const std::vector<std::string>& args, bool json);

}  // namespace vk::cli
