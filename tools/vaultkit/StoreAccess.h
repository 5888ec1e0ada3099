// The stores the subcommands use, reached through the module or, while the module has not
// opened them, created by ProgID and opened on the account's file. Each throws
// std::runtime_error when the store cannot be had.
#pragma once

#include <string>
#include <vector>

#include "tools/vaultkit/ComRef.h"
#include "vaultkit/vaultkit.h"

namespace vk::cli {

class Host;

ComRef<IUserList> OpenUserList(Host& host);
ComRef<IUserGrid> OpenUserGrid(Host& host);
ComRef<IKeyDepts> OpenKeyDepts(Host& host);
ComRef<IDeptLeader> OpenDeptLeader(Host& host);
ComRef<IPortalStore> OpenPortal(Host& host);
ComRef<IWEZItemStore> OpenItemStore(Host& host);
ComRef<IMobileProfileStore> OpenMobileProfile(Host& host);

// Prints the outcome of a store call: nothing on S_OK, else a line on stderr; returns the
// exit status (0 or 1).
int Report(const char* what, HRESULT hr);
// Report, followed by the reason the store left in the thread's error object, if any.
int ReportWithReason(const char* what, HRESULT hr);
std::string Utf8(BSTR text);  // frees the string

// `version get` and `version set N` of a versioned XML store.
template <typename I>
int VersionAction(I* store, const std::vector<std::string>& args);

}  // namespace vk::cli
