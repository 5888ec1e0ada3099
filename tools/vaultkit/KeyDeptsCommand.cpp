#include "tools/vaultkit/KeyDeptsCommand.h"

#include <cstdio>

#include "platform/Text.h"
#include "tools/vaultkit/Host.h"
#include "tools/vaultkit/StoreAccess.h"

namespace vk::cli {

const char* KeyDeptsCommand::Help() const {
  return "usage: vaultkit [--data-root DIR] --account NAME keydepts ACTION\n"
         "  get NICK            print the key department ids kept for NICK\n"
         "  set NICK ID...      keep the ids (unsigned 32-bit) for NICK\n"
         "  reset-if-expired    empty the file when it is 30 days old or older\n"
         "  version get|set N   the file's version\n";
}

int KeyDeptsCommand::Run(Host& host, const std::vector<std::string>& args) {
  if (args.empty()) throw UsageError{"keydepts needs an action: get, set, reset-if-expired"};
  ComRef<IKeyDepts> store = OpenKeyDepts(host);
  const std::string& action = args[0];
  std::vector<std::string> rest(args.begin() + 1, args.end());
  int status = 0;
  if (action == "get" && rest.size() == 1) {
    std::vector<ULONG> ids(4096);
    LONG count = static_cast<LONG>(ids.size());
    HRESULT hr = store->GetKeyDepts(FromUtf8(rest[0]).c_str(), ids.data(), &count);
    if (hr == S_OK) {
      for (LONG i = 0; i < count; ++i) std::printf(i == 0 ? "%u" : " %u", ids[i]);
      std::printf("\n");
    }
    return Report("GetKeyDepts", hr);
  } else if (action == "set" && rest.size() >= 1) {
    std::vector<ULONG> ids;
    for (size_t i = 1; i < rest.size(); ++i) {
      long id = ParseLong(rest[i], "ID");
      if (id < 0) throw UsageError{"ID must not be negative"};
      ids.push_back(static_cast<ULONG>(id));
    }
    LONG count = static_cast<LONG>(ids.size());
    status =
        Report("SetKeyDepts", store->SetKeyDepts(FromUtf8(rest[0]).c_str(), ids.data(), &count));
  } else if (action == "reset-if-expired" && rest.empty()) {
    // The answer is S_FALSE either way; whether the list was emptied shows in a later get.
    HRESULT hr = store->ResetIfExpired();
    if (SUCCEEDED(hr)) {
      std::printf("checked: a file 30 days old or older has been emptied\n");
    } else {
      status = Report("ResetIfExpired", hr);
    }
  } else if (action == "version") {
    status = VersionAction(store.get(), rest);
  } else {
    throw UsageError{"unknown or incomplete keydepts action (see vaultkit keydepts --help)"};
  }
  store->Close();
  return status;
}

}  // namespace vk::cli
