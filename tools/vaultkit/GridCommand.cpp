#include "tools/vaultkit/GridCommand.h"

#include <cstdio>

#include "platform/Text.h"
#include "tools/vaultkit/Host.h"
#include "tools/vaultkit/StoreAccess.h"

namespace vk::cli {

const char* GridCommand::Help() const {
  return "usage: vaultkit [--data-root DIR] --account NAME grid ACTION\n"
         "  get NICK          print the grid value kept for NICK\n"
         "  set NICK VALUE    keep VALUE (a 32-bit integer) for NICK\n"
         "  clear             remove the first entry of the grid\n"
         "  version get|set N the file's version\n"
         "Changes are written to UserGrid.xml when the store is flushed (every 60 s in the\n"
         "client; when this command ends here).\n";
}

int GridCommand::Run(Host& host, const std::vector<std::string>& args) {
  if (args.empty()) throw UsageError{"grid needs an action: get, set, clear or version"};
  ComRef<IUserGrid> grid = OpenUserGrid(host);
  const std::string& action = args[0];
  std::vector<std::string> rest(args.begin() + 1, args.end());
  if (action == "get" && rest.size() == 1) {
    LONG value = 0;
    HRESULT hr = grid->GetGrid(FromUtf8(rest[0]).c_str(), &value);
    if (hr == S_OK) std::printf("%d\n", value);
    return Report("GetGrid", hr);
  }
  if (action == "set" && rest.size() == 2) {
    LONG value = static_cast<LONG>(ParseLong(rest[1], "VALUE"));
    int status = Report("SetGrid", grid->SetGrid(FromUtf8(rest[0]).c_str(), value));
    grid->Close();
    return status;
  }
  if (action == "clear" && rest.empty()) {
    int status = Report("Clear", grid->Clear());
    grid->Close();
    return status;
  }
  if (action == "version") {
    int status = VersionAction(grid.get(), rest);
    grid->Close();
    return status;
  }
  throw UsageError{"unknown or incomplete grid action (see vaultkit grid --help)"};
}

}  // namespace vk::cli
