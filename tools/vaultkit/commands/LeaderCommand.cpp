#include <cstdio>

#include "tools/vaultkit/cli/Host.h"
#include "tools/vaultkit/cli/Json.h"
#include "tools/vaultkit/cli/StoreAccess.h"
#include "tools/vaultkit/cli/Table.h"
#include "tools/vaultkit/cli/XmlEntries.h"
#include "tools/vaultkit/commands/Commands.h"

namespace vk::cli {

// leader get|set|delete|reset-if-expired|version on the account's Leader.xml.
class LeaderCommand : public Command {
 public:
  const char* Name() const override { return "leader"; }
  const char* Summary() const override { return "department leaders (Leader.xml)"; }
  const char* Help() const override;
  int Run(Host& host, const Args& args) override;
};

namespace {

int List(Host& host, bool json) {
  Json all = Json::array();
  Table table({"department", "leader", "version"});
  for (const XmlEntry& dept :
       ReadXmlEntries(host.AccountFile(StoreId::kDeptLeader), u"/Leader//Dept")) {
    std::string id = dept.Attribute("id").value_or(""),
                leader = dept.Attribute("Leader").value_or(""),
                version = dept.Attribute("Version").value_or("");
    all.push_back({{"department", NumberJson(dept.Attribute("id"))},
                   {"leader", NumberJson(dept.Attribute("Leader"))},
                   {"version", NumberJson(dept.Attribute("Version"))}});
    table.Add({id, leader, version});
  }
  if (json) {
    PrintJson(all);
  } else if (table.Empty()) {
    std::printf("(no leaders)\n");
  } else {
    table.Print();
  }
  return kExitOk;
}

}  // namespace

const char* LeaderCommand::Help() const {
  return "usage: vaultkit [--data-root DIR] --account NAME leader ACTION [--json]\n"
         "  get DEPT                  the leader kept for department DEPT; exit 1 when none\n"
         "  set DEPT VERSION LEADER   keep LEADER for DEPT unless the kept VERSION is the\n"
         "                            same or newer (DEPT, LEADER signed, VERSION unsigned)\n"
         "  list                      every department with its leader and version\n"
         "  delete DEPT               the store's DeleteDept: it only removes child elements\n"
         "                            of the entry, so the department KEEPS its leader; the\n"
         "                            file is merely written again (the store's contract)\n"
         "  reset-if-expired          empty the file when it is more than 30 days old\n"
         "  version get|set N         the file's version; get always fails on files this\n"
         "                            store writes (its version lookup never matches them)\n";
}

int LeaderCommand::Run(Host& host, const Args& all) {
  Args args = all;
  bool json = args.TakeFlag("--json");
  if (args.empty()) throw UsageError{"leader needs an action: get, set, list, delete, ..."};
  CheckAction("leader", args,
              {{"get", "DEPT:i"},
               {"set", "DEPT:i VERSION:u LEADER:i"},
               {"list", ""},
               {"delete", "DEPT:i"},
               {"reset-if-expired", ""},
               {"version", "get"},
               {"version", "set N:i"}});
  ComPtr<IDeptLeader> store = OpenDeptLeader(host);
  const std::string& action = args[0];
  std::vector<std::string> rest(args.begin() + 1, args.end());
  if (action == "get" && rest.size() == 1) {
    LONG leader = 0;
    HRESULT hr = store->GetLeader(ParseInt32(rest[0], "DEPT"), &leader);
    // The store answers E_FAIL for a department it does not list.
    if (hr == E_FAIL) throw NotFound{"department " + rest[0] + " has no leader kept"};
    if (hr != S_OK) return Report("GetLeader", hr);
    if (json) {
      // The same object as a row of list: the version is the file's, as the store keeps it.
      Json version = nullptr;
      for (const XmlEntry& dept :
           ReadXmlEntries(host.AccountFile(StoreId::kDeptLeader), u"/Leader//Dept")) {
        if (version.is_null() && NumberJson(dept.Attribute("id")) == ParseInt32(rest[0], "DEPT")) {
          version = NumberJson(dept.Attribute("Version"));
        }
      }
      PrintJson(
          {{"department", ParseInt32(rest[0], "DEPT")}, {"leader", leader}, {"version", version}});
    } else {
      std::printf("%d\n", leader);
    }
    return kExitOk;
  }
  if (action == "list" && rest.empty()) return List(host, json);
  int status = kExitOk;
  if (action == "set" && rest.size() == 3) {
    status = Report("SetLeader",
                    store->SetLeader(ParseInt32(rest[0], "DEPT"), ParseUint32(rest[1], "VERSION"),
                                     ParseInt32(rest[2], "LEADER")));
  } else if (action == "delete" && rest.size() == 1) {
    status = Report("DeleteDept", store->DeleteDept(ParseInt32(rest[0], "DEPT")));
  } else if (action == "reset-if-expired" && rest.empty()) {
    status = Report("ResetIfExpired", store->ResetIfExpired(), {S_OK, S_FALSE});
    if (status == kExitOk) std::printf("checked: a file more than 30 days old has been emptied\n");
  } else if (action == "version") {
    status = VersionAction(store.get(), rest, json);
  } else {
    throw UsageError{"unknown or incomplete leader action (see vaultkit leader --help)"};
  }
  return CloseAndConfirm(host, store.get(), StoreId::kDeptLeader, status);
}

std::unique_ptr<Command> MakeLeaderCommand() {
  return std::make_unique<LeaderCommand>();
}

}  // namespace vk::cli
