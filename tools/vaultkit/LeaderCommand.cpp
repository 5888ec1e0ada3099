#include "tools/vaultkit/LeaderCommand.h"

#include <cstdio>

#include "tools/vaultkit/Host.h"
#include "tools/vaultkit/StoreAccess.h"

namespace vk::cli {

const char* LeaderCommand::Help() const {
  return "usage: vaultkit [--data-root DIR] --account NAME leader ACTION\n"
         "  get DEPT                  print the leader kept for department DEPT\n"
         "  set DEPT VERSION LEADER   keep LEADER for DEPT unless a newer VERSION is kept\n"
         "  delete DEPT               forget the department\n"
         "  reset-if-expired          empty the file when it is more than 30 days old\n"
         "  version get|set N         the file's version\n";
}

int LeaderCommand::Run(Host& host, const std::vector<std::string>& args) {
  if (args.empty()) throw UsageError{"leader needs an action: get, set, delete, ..."};
  ComRef<IDeptLeader> store = OpenDeptLeader(host);
  const std::string& action = args[0];
  std::vector<std::string> rest(args.begin() + 1, args.end());
  int status = 0;
  if (action == "get" && rest.size() == 1) {
    LONG leader = 0;
    HRESULT hr = store->GetLeader(static_cast<LONG>(ParseLong(rest[0], "DEPT")), &leader);
    if (hr == S_OK) std::printf("%d\n", leader);
    if (hr == E_FAIL)
      std::fprintf(stderr, "vaultkit: department %s is not listed\n", rest[0].c_str());
    return hr == S_OK ? 0 : 1;
  } else if (action == "set" && rest.size() == 3) {
    long version = ParseLong(rest[1], "VERSION");
    status = Report("SetLeader", store->SetLeader(static_cast<LONG>(ParseLong(rest[0], "DEPT")),
                                                  static_cast<ULONG>(version),
                                                  static_cast<LONG>(ParseLong(rest[2], "LEADER"))));
  } else if (action == "delete" && rest.size() == 1) {
    status = Report("DeleteDept", store->DeleteDept(static_cast<LONG>(ParseLong(rest[0], "DEPT"))));
  } else if (action == "reset-if-expired" && rest.empty()) {
    HRESULT hr = store->ResetIfExpired();
    if (SUCCEEDED(hr)) {
      std::printf("checked: a file more than 30 days old has been emptied\n");
    } else {
      status = Report("ResetIfExpired", hr);
    }
  } else if (action == "version") {
    status = VersionAction(store.get(), rest);
  } else {
    throw UsageError{"unknown or incomplete leader action (see vaultkit leader --help)"};
  }
  store->Close();
  return status;
}

}  // namespace vk::cli
