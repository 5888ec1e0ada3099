#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "platform/Text.h"
#include "tools/vaultkit/cli/Host.h"
#include "tools/vaultkit/cli/Json.h"
#include "tools/vaultkit/cli/StoreAccess.h"
#include "tools/vaultkit/cli/Table.h"
#include "tools/vaultkit/commands/Commands.h"

namespace vk::cli {

// Shows the module's identifier and name, every store it holds with its file, the load and
// account-change results and the readiness flags.
class StatusCommand : public Command {
 public:
  const char* Name() const override { return "status"; }
  const char* Summary() const override { return "show the module, its stores and their files"; }
  const char* Help() const override;
  int Run(Host& host, const Args& args) override;
  bool Writes(const std::vector<std::string>&) const override { return false; }
};

namespace {

const char* Outcome(HRESULT hr) {
  return SUCCEEDED(hr) ? "succeeded" : "failed";
}

// The text field of a client log line, its escapes undone.
std::string LogText(const std::string& line) {
  size_t at = 0;
  for (int field = 0; field < 4 && at != std::string::npos; ++field) {
    at = line.find('\t', at);
    if (at != std::string::npos) ++at;
  }
  if (at == std::string::npos) return line;
  std::string text;
  for (size_t i = at; i < line.size(); ++i) {
    if (line[i] != '\\' || i + 1 == line.size()) {
      text += line[i];
      continue;
    }
    char next = line[++i];
    text += next == 'n' ? '\n' : next == 't' ? '\t' : next == 'r' ? '\r' : next;
  }
  return text;
}

// The assertion reports this run added to the client log.
std::vector<std::string> ThisRunsReports(Host& host) {
  std::ifstream log(host.DataRoot() + "vaultkit.log", std::ios::binary);
  log.seekg(static_cast<std::streamoff>(host.LogStart()));
  std::vector<std::string> reports;
  std::string line;
  while (std::getline(log, line)) {
    if (line.find("ASSERT HAPPENS!") != std::string::npos) reports.push_back(LogText(line));
  }
  return reports;
}

// Copies of damaged files that stores replaced by their templates, below the data root.
std::vector<std::string> DamagedCopies(Host& host) {
  std::vector<std::string> copies;
  std::error_code ec;
  for (std::filesystem::recursive_directory_iterator it(host.DataRoot() + "Accounts", ec), end;
       !ec && it != end; it.increment(ec)) {
    // A run on a copy of the account lists the copies the user's folder holds; the ones
    // this run made are reported apart, as damaged files.
    const std::string shown = host.Shown(it->path().string());
    if (it->path().filename().string().find(".damaged-") != std::string::npos &&
        std::filesystem::exists(shown)) {
      copies.push_back(shown);
    }
  }
  std::sort(copies.begin(), copies.end());
  return copies;
}

struct StoreRow {
  std::string name;
  bool present;
  std::string file;
};

std::vector<StoreRow> StoreRows(Host& host, LONG& org, LONG& users) {
  std::vector<StoreRow> rows;
  IModuleDiagnostics* diagnostics = nullptr;
  host.Module()->QueryInterface(IID_IModuleDiagnostics, reinterpret_cast<void**>(&diagnostics));
  if (diagnostics == nullptr) return rows;
  LONG count = 0;
  diagnostics->GetReadiness(&org, &users);
  diagnostics->GetStoreCount(&count);
  for (LONG i = 0; i < count; ++i) {
    BSTR name = nullptr, path = nullptr;
    LONG present = 0;
    diagnostics->GetStoreInfo(i, &name, &present, &path);
    rows.push_back({Utf8(name), present != 0, host.Shown(Utf8(path))});
  }
  diagnostics->Release();
  return rows;
}

}  // namespace

const char* StatusCommand::Help() const {
  return "usage: vaultkit [--data-root DIR] [--account NAME] status [--json]\n"
         "Loads the component, changes to the account when one is given, and shows the\n"
         "module's identifier and name, whether each store exists and which file it has\n"
         "open, the results of the load and the account change, the readiness flags, the\n"
         "assertion reports of this run and the copies of damaged files that stores kept\n"
         "before replacing them (<file>.damaged-<time>). Exits 3 when the load or the\n"
         "account change failed.\n";
}

int StatusCommand::Run(Host& host, const Args& all) {
  Args args = all;
  bool json = args.TakeFlag("--json");
  if (!args.empty()) throw UsageError{"status takes no arguments but --json"};
  BSTR text = nullptr;
  host.Module()->get_Identifier(&text);
  std::string identifier = Utf8(text);
  text = nullptr;
  host.Module()->get_Name(&text);
  std::string name = Utf8(text);
  LONG org = 0, users = 0;
  std::vector<StoreRow> stores = StoreRows(host, org, users);
  std::vector<std::string> reports = ThisRunsReports(host), damaged = DamagedCopies(host);
  bool failed = FAILED(host.LoadStatus()) || (host.HasAccount() && FAILED(host.AccountStatus()));
  std::string first_missing;
  for (const StoreRow& row : stores) {
    if (!row.present && first_missing.empty()) first_missing = row.name;
  }

  if (json) {
    Json doc = {{"module", identifier},
                {"name", name},
                {"data_root", host.Shown(host.DataRoot())},
                {"load", StatusName(host.LoadStatus())}};
    if (host.HasAccount()) {
      doc["account"] = host.Account();
      doc["account_change"] = StatusName(host.AccountStatus());
    }
    doc["readiness"] = {{"organisation_structure", org != 0}, {"user_list", users != 0}};
    Json rows = Json::array();
    for (const StoreRow& row : stores) {
      rows.push_back({{"store", row.name}, {"exists", row.present}, {"file", row.file}});
    }
    doc["stores"] = rows;
    doc["assertion_reports"] = reports;
    doc["damaged_copies"] = damaged;
    PrintJson(doc);
    return failed ? kExitFailed : kExitOk;
  }

  std::printf("module:          %s\n", identifier.c_str());
  std::printf("name:            %s\n", name.c_str());
  std::printf("data root:       %s\n", host.Shown(host.DataRoot()).c_str());
  std::printf("load:            %s (%s)\n", Outcome(host.LoadStatus()),
              StatusName(host.LoadStatus()).c_str());
  if (host.HasAccount()) {
    std::printf("account:         %s (account change %s, %s)\n", host.Account().c_str(),
                Outcome(host.AccountStatus()), StatusName(host.AccountStatus()).c_str());
  }
  std::printf("readiness:       organisation structure %d, user list %d\n\n", org, users);
  Table table({"store", "exists", "file"});
  for (const StoreRow& row : stores) {
    table.Add({row.name, row.present ? "yes" : "no", row.file.empty() ? "-" : row.file});
  }
  table.Print();
  if (FAILED(host.LoadStatus()) && !first_missing.empty()) {
    std::printf("\nthe load stopped before creating: %s\n", first_missing.c_str());
  }
  if (!reports.empty()) {
    std::printf("\nassertion reports of this run:\n");
    for (const std::string& report : reports) std::printf("%s\n", report.c_str());
  }
  if (!damaged.empty()) {
    std::printf("\ndamaged files kept aside:\n");
    for (const std::string& copy : damaged) std::printf("  %s\n", copy.c_str());
  }
  return failed ? kExitFailed : kExitOk;
}

std::unique_ptr<Command> MakeStatusCommand() {
  return std::make_unique<StatusCommand>();
}

}  // namespace vk::cli
