#include <cstdio>

#include "platform/Text.h"
#include "tools/vaultkit/cli/Host.h"
#include "tools/vaultkit/cli/Json.h"
#include "tools/vaultkit/cli/StoreAccess.h"
#include "tools/vaultkit/cli/Table.h"
#include "tools/vaultkit/cli/XmlEntries.h"
#include "tools/vaultkit/commands/Commands.h"

namespace vk::cli {

// grid get|set|clear|version on the account's UserGrid.xml.
class GridCommand : public Command {
 public:
  const char* Name() const override { return "grid"; }
  const char* Summary() const override {
    return "the user grid: a number per nickname (UserGrid.xml)";
  }
  const char* Help() const override;
  int Run(Host& host, const Args& args) override;
};

namespace {

std::vector<XmlEntry> Users(Host& host) {
  return ReadXmlEntries(host.AccountFile(StoreId::kUserGrid), u"/UserGrid//User");
}

int List(Host& host, bool json) {
  Json all = Json::array();
  Table table({"nick", "grid"});
  for (const XmlEntry& user : Users(host)) {
    std::string nick = user.Attribute("Nick").value_or(""),
                grid = user.Attribute("Grid").value_or("");
    all.push_back({{"nick", nick}, {"grid", NumberJson(user.Attribute("Grid"))}});
    table.Add({nick, grid});
  }
  if (json) {
    PrintJson(all);
  } else if (table.Empty()) {
    std::printf("(no grid values)\n");
  } else {
    table.Print();
  }
  return kExitOk;
}

}  // namespace

const char* GridCommand::Help() const {
  return "usage: vaultkit [--data-root DIR] --account NAME grid ACTION [--json]\n"
         "  get NICK          the grid value kept for NICK (exact letter case); exit 1 when\n"
         "                    none is kept (the store itself answers 0 for an unknown NICK)\n"
         "  set NICK VALUE    keep VALUE (-2147483648..2147483647) for NICK\n"
         "  list              every nickname with its value, as the file holds them\n"
         "  clear             remove the FIRST entry of the grid only (not all of them)\n"
         "  version get|set N the file's version\n"
         "Changes are written to UserGrid.xml when the store is flushed (every 60 s in the\n"
         "client; when this command ends here).\n";
}

int GridCommand::Run(Host& host, const Args& all) {
  Args args = all;
  bool json = args.TakeFlag("--json");
  if (args.empty()) throw UsageError{"grid needs an action: get, set, list, clear or version"};
  CheckAction("grid", args,
              {{"get", "NICK"},
               {"set", "NICK VALUE:i"},
               {"list", ""},
               {"clear", ""},
               {"version", "get"},
               {"version", "set N:i"}});
  ComPtr<IUserGrid> grid = OpenUserGrid(host);
  const std::string& action = args[0];
  std::vector<std::string> rest(args.begin() + 1, args.end());
  if (action == "get" && rest.size() == 1) {
    LONG value = 0;
    HRESULT hr = grid->GetGrid(FromUtf8(rest[0]).c_str(), &value);
    if (hr != S_OK) return Report("GetGrid", hr);
    bool kept = false;
    for (const XmlEntry& user : Users(host)) kept = kept || user.Attribute("Nick") == rest[0];
    if (!kept) throw NotFound{"no grid value is kept for '" + rest[0] + "'"};
    if (json) {
      PrintJson({{"nick", rest[0]}, {"grid", value}});
    } else {
      std::printf("%d\n", value);
    }
    return kExitOk;
  }
  if (action == "list" && rest.empty()) return List(host, json);
  int status = kExitOk;
  if (action == "set" && rest.size() == 2) {
    status =
        Report("SetGrid", grid->SetGrid(FromUtf8(rest[0]).c_str(), ParseInt32(rest[1], "VALUE")));
  } else if (action == "clear" && rest.empty()) {
    // S_FALSE is the answer of a clear that worked; S_OK comes from its guard after a failure.
    status = Report("Clear", grid->Clear(), {S_FALSE});
  } else if (action == "version") {
    status = VersionAction(grid.get(), rest, json);
  } else {
    throw UsageError{"unknown or incomplete grid action (see vaultkit grid --help)"};
  }
  return CloseAndConfirm(host, grid.get(), StoreId::kUserGrid, status);
}

std::unique_ptr<Command> MakeGridCommand() {
  return std::make_unique<GridCommand>();
}

}  // namespace vk::cli
