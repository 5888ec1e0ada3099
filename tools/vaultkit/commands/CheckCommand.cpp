#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>

#include "tools/vaultkit/check/AccountCheck.h"
#include "tools/vaultkit/check/AccountNameNote.h"
#include "tools/vaultkit/cli/Host.h"
#include "tools/vaultkit/cli/Json.h"
#include "tools/vaultkit/commands/Commands.h"

namespace vk::cli {

// check [--json] [ACCOUNT-FOLDER]: what the stores would make of each file of an account
// folder, or of every account under the data root. Reads only; never loads the component.
class CheckCommand : public Command {
 public:
  const char* Name() const override { return "check"; }
  const char* Summary() const override {
    return "examine an account folder's files as the stores read them; changes nothing";
  }
  const char* Help() const override;
  int Run(Host& host, const Args& args) override;
  bool LoadsComponent() const override { return false; }
  int RunUnloaded(const Location& location, const Args& args) override;
};

namespace {

namespace fs = std::filesystem;

const char* StatusName(FileReport::Status status) {
  switch (status) {
    case FileReport::Status::kOk:
      return "ok";
    case FileReport::Status::kAbsent:
      return "absent";
    case FileReport::Status::kDamaged:
      return "damaged";
  }
  return "?";
}

// The folder as a whole path without a trailing separator: the enciphered files' key is made
// from its last component.
fs::path WholeFolder(const fs::path& folder) {
  std::error_code ec;
  fs::path whole = fs::absolute(folder, ec).lexically_normal();
  if (whole.filename().empty() && whole.has_parent_path()) whole = whole.parent_path();
  return whole;
}

bool IsFolder(const fs::path& path) {
  std::error_code ec;
  return fs::is_directory(path, ec);
}

// True when `folder` is a folder whose files the check can reach, false when there is no such
// folder; Failure when it is there but cannot be listed (every file would read as damaged).
bool ListableFolder(const fs::path& folder) {
  std::error_code ec;
  fs::file_status status = fs::status(folder, ec);
  if (!ec && !fs::is_directory(status)) return false;
  if (ec == std::errc::no_such_file_or_directory || ec == std::errc::not_a_directory) return false;
  if (!ec) fs::directory_iterator(folder, ec);
  // Listing needs read permission, reaching the files search permission.
  if (!ec && access(folder.c_str(), R_OK | X_OK) != 0) ec.assign(errno, std::generic_category());
  if (ec) throw Failure{folder.string() + " cannot be listed: " + ec.message()};
  return true;
}

// Every account folder under Accounts, by name.
std::vector<fs::path> AccountFolders(const fs::path& accounts) {
  std::vector<fs::path> folders;
  std::error_code ec;
  for (fs::directory_iterator it(accounts, ec), end; !ec && it != end; it.increment(ec)) {
    if (IsFolder(it->path())) folders.push_back(it->path());
  }
  if (ec) throw Failure{"cannot list " + accounts.string() + ": " + ec.message()};
  std::sort(folders.begin(), folders.end());
  return folders;
}

void PrintText(const std::vector<FolderReport>& reports) {
  for (const FolderReport& folder : reports) {
    std::printf("%s\n", folder.folder.c_str());
    for (const std::string& n : folder.notes) std::printf("  note: %s\n", n.c_str());
    for (const FileReport& file : folder.files) {
      FileReport::Status status = file.GetStatus();
      std::printf("  %-8s %s\n",
                  status == FileReport::Status::kDamaged ? "DAMAGED" : StatusName(status),
                  file.file.c_str());
      for (const std::string& p : file.problems) std::printf("           problem: %s\n", p.c_str());
      for (const std::string& n : file.notes) std::printf("           note: %s\n", n.c_str());
    }
  }
}

void PrintJsonReport(const std::vector<FolderReport>& reports, size_t damaged) {
  Json folders = Json::array();
  for (const FolderReport& folder : reports) {
    Json files = Json::array();
    for (const FileReport& file : folder.files) {
      files.push_back({{"file", file.file},
                       {"kind", file.kind},
                       {"status", StatusName(file.GetStatus())},
                       {"problems", file.problems},
                       {"notes", file.notes}});
    }
    folders.push_back({{"folder", folder.folder}, {"notes", folder.notes}, {"files", files}});
  }
  PrintJson({{"healthy", damaged == 0}, {"damaged_files", damaged}, {"folders", folders}});
}

}  // namespace

const char* CheckCommand::Help() const {
  return "usage: vaultkit [--account NAME] check [--json] ACCOUNT-FOLDER\n"
         "       vaultkit [--data-root DIR] [--account NAME] check [--json]\n"
         "Examines an account folder, the account NAME under the data root, or every\n"
         "account folder under DIR/Accounts (with its wez.cfg), and reports per file\n"
         "what the store that reads it will make of it. An account's name is its\n"
         "folder's name; for a copy under another name (alice-from-ticket-4711), --account\n"
         "names the account whose key and file names its files use.\n"
         "  userList5.dat and the six group databases: SQLite's integrity check, the\n"
         "    tables and columns the store creates, every statement it prepares;\n"
         "  UserGrid.xml, KeyDepts.xml, Leader.xml, PortalIcon/EPortal.xml,\n"
         "    MobileProfile.xml, WEZExtBuddy.xml, RevertDialog.xml: well-formed in their\n"
         "    declared encoding, under the root the store expects (the dialog file's\n"
         "    switches at values the store accepts);\n"
         "  WEZProfile.dat, WEZProfilePro.dat: decipherable with the key of the account's\n"
         "    name, to XML under Root (or their plain .xml companions, read first);\n"
         "  User.cfg, wez.cfg: UTF-16LE behind the FF FE mark;\n"
         "  OffMsgFiles/IM and OffMsgFiles/DisGroup: index and data file together, every\n"
         "    record's Addr and Len inside the data file, every body decompressing;\n"
         "  vaultkit.lock: which process owns the account now, or which one ended\n"
         "    without leaving it;\n"
         "  every file and folder of the account: none that other local users may write.\n"
         "Each problem names the file and what the store will do with it. A file a store\n"
         "creates when it is missing is reported absent, not damaged. The check opens\n"
         "databases read-only, never loads the component and changes nothing.\n"
         "Exit status: 0 all is well, 4 a file is damaged or open to other users, 1 no\n"
         "such account folder (or no Accounts folder under the data root), 2 wrong\n"
         "command line, 3 a folder cannot be listed (nothing is reported).\n";
}

int CheckCommand::Run(Host& host, const Args& args) {
  return RunUnloaded({host.DataRoot(), host.HasAccount() ? host.Account() : ""}, args);
}

int CheckCommand::RunUnloaded(const Location& location, const Args& all) {
  Args args = all;
  bool json = args.TakeFlag("--json");
  if (args.size() > 1) throw UsageError{"check takes at most one ACCOUNT-FOLDER"};
  for (const std::string& arg : args) {
    if (arg.starts_with("-")) throw UsageError{"check: unknown option " + arg};
  }

  std::vector<FolderReport> reports;
  if (!args.empty()) {
    // A folder as support receives it may have been renamed: --account names its account.
    fs::path folder = WholeFolder(args[0]);
    if (!ListableFolder(folder)) throw NotFound{"no account folder " + args[0]};
    const bool named = !location.account.empty();
    FolderReport report = AccountCheck::ForAccount().Run(
        folder, named ? location.account : folder.filename().string());
    if (!named) {
      if (std::optional<std::string> note = AccountNameNote(folder, report)) {
        report.notes.push_back(*note);
      }
    }
    reports.push_back(std::move(report));
  } else {
    fs::path accounts = WholeFolder(fs::path(location.data_root) / "Accounts");
    if (!ListableFolder(accounts)) throw NotFound{"no Accounts folder under " + location.data_root};
    std::vector<fs::path> folders;
    if (!location.account.empty()) {
      fs::path folder = accounts / location.account;
      if (!ListableFolder(folder)) throw NotFound{"no account folder " + folder.string()};
      folders.push_back(folder);
    } else {
      folders = AccountFolders(accounts);
      for (const fs::path& folder : folders) ListableFolder(folder);
    }
    reports.push_back(AccountCheck::ForAccountsFolder().Run(accounts, ""));
    AccountCheck account = AccountCheck::ForAccount();
    for (const fs::path& folder : folders) {
      reports.push_back(account.Run(folder, folder.filename().string()));
    }
  }

  size_t damaged = 0, absent = 0, files = 0;
  for (const FolderReport& report : reports) {
    damaged += report.Count(FileReport::Status::kDamaged);
    absent += report.Count(FileReport::Status::kAbsent);
    files += report.files.size();
  }
  if (json) {
    PrintJsonReport(reports, damaged);
  } else {
    PrintText(reports);
    std::printf("\n%zu files: %zu damaged, %zu absent, %zu ok%s\n", files, damaged, absent,
                files - damaged - absent, damaged == 0 ? " - all is well" : "");
  }
  return damaged == 0 ? kExitOk : kExitDamaged;
}

std::unique_ptr<Command> MakeCheckCommand() {
  return std::make_unique<CheckCommand>();
}

}  // namespace vk::cli
