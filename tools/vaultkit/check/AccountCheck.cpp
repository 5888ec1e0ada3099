#include "tools/vaultkit/check/AccountCheck.h"

#include <algorithm>
#include <exception>

#include "module/StoreCatalog.h"
#include "storage/SqlStore.h"
#include "tools/vaultkit/check/AccessCheck.h"
#include "tools/vaultkit/check/AccountLockCheck.h"
#include "tools/vaultkit/check/DatabaseCheck.h"
#include "tools/vaultkit/check/DialogFileCheck.h"
#include "tools/vaultkit/check/EncipheredFileCheck.h"
#include "tools/vaultkit/check/OffMsgChannelCheck.h"
#include "tools/vaultkit/check/OptionFileCheck.h"
#include "tools/vaultkit/check/XmlFileCheck.h"

// The user list's and the group store's schema headers each name their statements with
// enumerators of their own in vk, so the two cannot be included in one file.
namespace vk {
SqlSchema UserListSchema();
SqlSchema GroupSchema();
}  // namespace vk

namespace vk::cli {
namespace {

// The account folder's file of the store's row.
const char* File(StoreId id) {
  return Row(id).file;
}

// `store` names the store that reads the file ("the user grid").
std::unique_ptr<FileCheck> Xml(const char* file, const std::string& store, ExpectedRoot root,
                               const std::string& wrong_root = "") {
  return std::make_unique<XmlFileCheck>(
      file, std::move(root), store + " writes its empty template there when it opens it",
      store + " will start from an empty template (the old file is kept as " + file +
          ".damaged-<time>)",
      wrong_root.empty() ? store + " keeps it, but its lookups find none of its entries"
                         : wrong_root);
}

std::unique_ptr<FileCheck> Groups(const char* file, const char* tree) {
  return std::make_unique<DatabaseCheck>(
      file, GroupSchema(),
      std::string("the group store of the ") + tree +
          " creates it with its root groups when it opens it",
      std::string("the group store of the ") + tree +
          " answers E_FAIL or misses groups; nothing rebuilds the file");
}

FileReport Unexamined(const std::string& reason) {
  FileReport report{"?", "?"};
  report.Problem("a file of this folder could not be examined (" + reason + ")");
  return report;
}

}  // namespace

size_t FolderReport::Count(FileReport::Status status) const {
  return std::count_if(files.begin(), files.end(),
                       [&](const FileReport& f) { return f.GetStatus() == status; });
}

AccountCheck AccountCheck::ForAccount() {
  AccountCheck check;
  auto& c = check.checks_;
  c.push_back(std::make_unique<DatabaseCheck>(
      File(StoreId::kUserList), UserListSchema(),
      "the user list creates an empty directory database when it opens it",
      "the user list's queries answer E_FAIL or miss members until the next organisation "
      "import replaces the file"));
  c.push_back(Groups(File(StoreId::kCompanyGroups), "company"));
  c.push_back(Groups(File(StoreId::kFrequentContacts), "frequent contacts"));
  c.push_back(Groups(File(StoreId::kRecentContacts), "recent contacts"));
  c.push_back(Groups(File(StoreId::kUserDefinedGroups), "user-defined groups"));
  c.push_back(Groups(File(StoreId::kMobileGroups), "mobile contacts"));
  c.push_back(Groups(File(StoreId::kExternalGroups), "external buddies"));
  c.push_back(Xml(File(StoreId::kUserGrid), "the user grid", {"UserGrid"}));
  c.push_back(Xml(File(StoreId::kKeyDepts), "the key departments store", {"KeyDepts"}));
  c.push_back(Xml(File(StoreId::kDeptLeader), "the department leaders store", {"Leader"}));
  c.push_back(Xml(File(StoreId::kPortal), "the portal store",
                  {"PORTAL", "Portal",
                   "holds the portal's empty template: every portal query answers \"not "
                   "found\" until a published portal is installed"},
                  "every portal query answers \"not found\" until a published portal is "
                  "installed"));
  c.push_back(Xml(File(StoreId::kMobileProfiles), "the mobile profile store",
                  {.name = "Root", .required = false},
                  "the mobile profile store reads the entries under it all the same"));
  c.push_back(Xml(File(StoreId::kItems), "the item store", {"Root"}));
  c.push_back(std::make_unique<DialogFileCheck>());
  c.push_back(std::make_unique<EncipheredFileCheck>(
      File(StoreId::kProfiles), "the profile store", true,
      "the profile store starts from an empty template and writes the file at its next save"));
  c.push_back(std::make_unique<EncipheredFileCheck>(
      File(StoreId::kBuddyProfiles), "the buddy profile store", false,
      "the account change stops at the buddy profile store, so key departments and the "
      "portal are not opened by the module until the file exists"));
  c.push_back(std::make_unique<OptionFileCheck>(
      File(StoreId::kUserOptions),
      "the module creates it, holding only its FF FE mark, at the account change"));
  c.push_back(std::make_unique<OffMsgChannelCheck>("IM", 0));
  c.push_back(std::make_unique<OffMsgChannelCheck>("DisGroup", 2));
  c.push_back(std::make_unique<AccountLockCheck>());
  c.push_back(std::make_unique<AccessCheck>());
  return check;
}

AccountCheck AccountCheck::ForAccountsFolder() {
  AccountCheck check;
  check.checks_.push_back(std::make_unique<OptionFileCheck>(
      kGlobalOptionsFile, "the module creates it, holding only its FF FE mark, when it loads"));
  return check;
}

FolderReport AccountCheck::Run(const std::filesystem::path& folder,
                               const std::string& account) const {
  FolderReport report{folder.string(), {}, {}};
  for (const auto& check : checks_) {
    try {
      report.files.push_back(check->Run(folder, account));
    } catch (const std::exception& e) {
      report.files.push_back(Unexamined(e.what()));
    } catch (...) {
      report.files.push_back(Unexamined("an unknown error"));
    }
  }
  return report;
}

}  // namespace vk::cli
