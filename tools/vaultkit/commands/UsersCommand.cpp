#include <libxml/xmlreader.h>
#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <optional>

#include "platform/Files.h"
#include "platform/ReadableFile.h"
#include "platform/Text.h"
#include "storage/XmlErrorTrap.h"
#include "storage/XmlParsePolicy.h"
#include "tools/vaultkit/check/AccountCheck.h"
#include "tools/vaultkit/cli/Host.h"
#include "tools/vaultkit/cli/Json.h"
#include "tools/vaultkit/cli/StoreAccess.h"
#include "tools/vaultkit/cli/Table.h"
#include "tools/vaultkit/commands/Commands.h"

namespace vk::cli {

// users import|search|dept|depts|find|versions|add|delete|... on the account's userList5.dat.
class UsersCommand : public Command {
 public:
  const char* Name() const override { return "users"; }
  const char* Summary() const override { return "the organisation directory (userList5.dat)"; }
  const char* Help() const override;
  int Run(Host& host, const Args& args) override;
};

namespace {

constexpr size_t kSearchCap = 50;  // the most one search of the directory returns

ULONG Id(const std::string& text, const char* what) {
  return ParseUint32(text, what);
}

// The rebuild file an import writes; its identity tells whether an import produced one.
std::pair<uintmax_t, std::filesystem::file_time_type> RebuildStamp(const std::string& path) {
  struct stat info {};
  std::error_code ec;
  if (::stat(path.c_str(), &info) != 0) return {0, {}};
  return {info.st_ino, std::filesystem::last_write_time(path, ec)};
}

// The first element of an XML file, read without loading the whole file. A file declared
// GB2312 is read as GBK, its superset, as the import reads it.
std::optional<std::string> FirstElement(const std::string& file) {
  // Opened by the platform layer, so a FIFO given as the file is refused instead of waited on.
  vk::ReadableFile in(vk::PathFromNative(file));
  if (!in.IsOpen()) return std::nullopt;
  std::string head(256, '\0');
  const ssize_t got = in.ReadAt(head.data(), head.size(), 0);
  head.resize(got > 0 ? static_cast<size_t>(got) : 0);
  head = head.substr(0, head.find("?>"));
  std::transform(head.begin(), head.end(), head.begin(), [](char c) { return std::tolower(c); });
  bool gbk = head.starts_with("<?xml") && head.find("gb2312") != std::string::npos;
  XmlErrorTrap quiet;
  xmlTextReaderPtr reader =
      xmlReaderForFd(in.Descriptor(), file.c_str(), gbk ? "GBK" : nullptr,
                     vk::XmlParsePolicy::kOptions | (gbk ? XML_PARSE_IGNORE_ENC : 0));
  if (reader == nullptr) return std::nullopt;
  std::optional<std::string> name;
  while (xmlTextReaderRead(reader) == 1) {
    if (xmlTextReaderNodeType(reader) == XML_READER_TYPE_ELEMENT) {
      name = reinterpret_cast<const char*>(xmlTextReaderConstLocalName(reader));
      break;
    }
  }
  xmlFreeTextReader(reader);
  return name;
}

// Lets the background reader finish so searches see the database.
void WaitForSearchLists(IUserList* users) {
  IUserListSync* sync = nullptr;
  if (SUCCEEDED(users->QueryInterface(IID_IUserListSync, reinterpret_cast<void**>(&sync)))) {
    sync->WaitForSearchLists();
    sync->Release();
  }
}

std::vector<ULONG> DeptIds(IUserList* users) {
  LONG count = 0;
  users->GetDeptCount(&count);
  std::vector<ULONG> ids(static_cast<size_t>(count > 0 ? count : 0));
  if (count > 0) users->GetDeptIds(ids.data(), &count);
  ids.resize(static_cast<size_t>(count > 0 ? count : 0));
  return ids;
}

std::string Nick(const UserListEntry& entry) {
  size_t n = 0;
  while (n < 32 && entry.nick[n] != 0) ++n;
  return ToUtf8(std::u16string_view(entry.nick, n));
}

int Import(Host& host, IUserList* users, const std::string& file, bool json) {
  if (!std::filesystem::exists(file)) throw UsageError{"no such file: " + file};
  if (!ReadableFile(FromUtf8(file)).IsOpen()) {
    throw Failure{"cannot read " + file + ": " + std::strerror(errno) +
                  ": the directory is unchanged"};
  }
  std::optional<std::string> root = FirstElement(file);
  if (root != "UserList") {
    throw Failure{file +
                  (root ? " is not an organisation file (its root is " + *root + ", not UserList)"
                        : " is not an XML file") +
                  ": the directory is unchanged"};
  }
  const std::string rebuild = ToUtf8(host.AccountFile(StoreId::kUserList)) + ".bak";
  auto before = RebuildStamp(rebuild);
  auto start = std::chrono::steady_clock::now();
  std::u16string path = FromUtf8(std::filesystem::absolute(file).string());
  SetErrorInfo(0, nullptr);
  HRESULT hr = users->LoadDataFromXml(path.c_str());
  // An import that did not complete writes no rebuild file, whatever it answered. A file it
  // could not write (no space, no permission) left its reason behind; a document it could not
  // read as a whole did not.
  if (hr == S_OK && RebuildStamp(rebuild) == before) {
    const std::string reason = DescribedError();
    throw Failure{"the import of " + file + " did not complete (" +
                  (reason.empty() ? "the file is damaged or incomplete" : reason) +
                  "): the directory is unchanged"};
  }
  // The first operation with the swap step brings the new database online.
  std::vector<ULONG> depts = DeptIds(users);
  WaitForSearchLists(users);
  double ms =
      std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
  if (hr != S_OK) return Report("LoadDataFromXml", hr);
  long members = 0;
  for (ULONG id : depts) {
    LONG n = 0;
    users->GetUserCount(id, &n);
    members += n;
  }
  if (json) {
    PrintJson({{"file", file}, {"departments", depts.size()}, {"members", members}, {"ms", ms}});
  } else {
    std::printf("imported %s: %zu departments, %ld members in %.1f ms\n", file.c_str(),
                depts.size(), members, ms);
  }
  return kExitOk;
}

// The member of `nick` (lower case) as find prints it; null when there is none.
Json MemberJson(IUserList* users, const std::u16string& nick) {
  BOOL exists = FALSE;
  users->IsNickExist(nick.c_str(), &exists);
  if (!exists) return nullptr;
  ULONG uin = 0;
  users->GetUinByNick(nick.c_str(), &uin);
  BSTR name = nullptr;
  users->GetNameByNick(nick.c_str(), &name);
  LONG gender = 0;
  users->GetGenderByNick(nick.c_str(), &gender);
  ULONG ids[32] = {};
  LONG count = 32;
  users->GetDeptIdsByNick(nick.c_str(), ids, &count);
  return {{"nick", ToUtf8(nick)},
          {"uin", uin},
          {"name", Utf8(name)},
          {"gender", gender},
          {"departments", std::vector<ULONG>(ids, ids + std::clamp<LONG>(count, 0, 32))}};
}

int Search(IUserList* users, const std::string& prefix, size_t limit, bool json) {
  WaitForSearchLists(users);
  BSTR matches = nullptr, reserved = nullptr;
  HRESULT hr = users->SearchUsers(WideToLower(FromUtf8(prefix)).c_str(), &matches, &reserved);
  SysFreeString(reserved);
  if (hr != S_OK) {
    SysFreeString(matches);
    return Report("SearchUsers", hr);
  }
  std::string text = Utf8(matches);
  Json found = Json::array();
  for (size_t start = 0, end; (end = text.find(';', start)) != std::string::npos; start = end + 1) {
    found.push_back(text.substr(start, end - start));
  }
  const size_t matched = found.size();
  if (found.size() > limit) found.erase(found.begin() + static_cast<ptrdiff_t>(limit), found.end());
  if (json) {
    // Each match as find prints it: the display text is the nickname, then the name in
    // parentheses when there is one.
    Json members = Json::array();
    for (const auto& match : found) {
      const std::string display = match.get<std::string>();
      Json member = MemberJson(users, FromUtf8(display.substr(0, display.find('('))));
      if (!member.is_null()) members.push_back(member);
    }
    PrintJson(members);
  } else {
    for (const auto& match : found) std::printf("%s\n", match.get<std::string>().c_str());
  }
  // The directory's search returns at most 50 matches and no total: at 50, more may match.
  if (matched > found.size() || matched >= kSearchCap) {
    std::fprintf(stderr, "vaultkit: %zu of %s%zu shown; --limit to change%s\n", found.size(),
                 matched >= kSearchCap ? "at least " : "", matched,
                 matched >= kSearchCap ? " (the search stops at 50: narrow PREFIX)" : "");
  }
  if (found.empty()) throw NotFound{"no one matches '" + prefix + "'"};
  return kExitOk;
}

int Dept(IUserList* users, ULONG dept, bool json) {
  LONG count = 0;
  HRESULT hr = users->GetUserCount(dept, &count);
  if (hr != S_OK) return Report("GetUserCount", hr);
  if (count <= 0) throw NotFound{"department " + std::to_string(dept) + " has no members"};
  std::vector<UserListEntry> entries(static_cast<size_t>(count > 0 ? count : 0) + 1);
  LONG written = count;
  hr = users->GetDeptUsers(dept, entries.data(), &written);
  if (hr != S_OK) return Report("GetDeptUsers", hr);
  Json members = Json::array();
  Table table({"nick", "uin", "name"});
  for (LONG i = 0; i < written && i < count; ++i) {
    BSTR name = nullptr;
    std::string nick = Nick(entries[i]);
    users->GetNameByNick(FromUtf8(nick).c_str(), &name);
    std::string display = Utf8(name);
    members.push_back({{"nick", nick}, {"uin", entries[i].uin}, {"name", display}});
    table.Add({nick, std::to_string(entries[i].uin), display});
  }
  if (json) {
    PrintJson({{"department", dept}, {"members", members}});
  } else {
    std::printf("department %u: %zu members\n", dept, members.size());
    if (!table.Empty()) table.Print();
  }
  return kExitOk;
}

// An answer of nothing from a directory the store cannot read is not "not found": the user
// list answers a damaged database with empty results, so such an answer is checked against the
// file, as `vaultkit check` reads it.
void RefuseIfDamaged(Host& host) {
  const std::string file = Row(StoreId::kUserList).file;
  const FolderReport report = AccountCheck::ForAccount().Run(
      std::filesystem::path(host.DataRoot()) / "Accounts" / host.Account(), host.Account());
  for (const FileReport& checked : report.files) {
    if (checked.file == file && checked.GetStatus() == FileReport::Status::kDamaged) {
      throw Failure{checked.problems.front() + "; see `vaultkit check`"};
    }
  }
}

int Depts(IUserList* users, bool json) {
  Json all = Json::array();
  Table table({"department", "version", "members"});
  for (ULONG id : DeptIds(users)) {
    ULONG version = 0;
    LONG members = 0;
    users->GetDeptVersion(id, &version);
    users->GetUserCount(id, &members);
    all.push_back({{"department", id}, {"version", version}, {"members", members}});
    table.Add({std::to_string(id), std::to_string(version), std::to_string(members)});
  }
  if (json) {
    PrintJson(all);
  } else {
    std::printf("%zu departments\n", all.size());
    if (!table.Empty()) table.Print();
  }
  return kExitOk;
}

// Nicknames are kept in lower case; the name and gender lookups compare exactly, so the
// nickname is lower-cased first, as the client does.
int Find(IUserList* users, const std::string& nick_text, bool json) {
  const Json member = MemberJson(users, WideToLower(FromUtf8(nick_text)));
  if (member.is_null()) throw NotFound{"no member '" + nick_text + "'"};
  if (json) {
    PrintJson(member);
    return kExitOk;
  }
  std::printf("nick:        %s\nuin:         %u\nname:        %s\ngender:      %d\ndepartments:",
              member["nick"].get<std::string>().c_str(), member["uin"].get<ULONG>(),
              member["name"].get<std::string>().c_str(), member["gender"].get<LONG>());
  for (ULONG id : member["departments"]) std::printf(" %u", id);
  std::printf("\n");
  return kExitOk;
}

int Versions(IUserList* users, bool json) {
  BSTR dir = nullptr, root = nullptr;
  users->GetVersionInfo(&dir, &root);
  std::string dir_text = Utf8(dir), root_text = Utf8(root);
  ULONG pro = 0, dept_ver = 0, max = 0;
  users->GetProVer(&pro);
  users->GetDeptVer(&dept_ver);
  users->GetMaxDeptVersion(&max);
  if (json) {
    PrintJson({{"pro_ver", pro},
               {"dept_ver", dept_ver},
               {"highest_department_version", max},
               {"version_info", {dir_text, root_text}}});
    return kExitOk;
  }
  std::printf("ProVer:                 %u\nDeptVer:                %u\n", pro, dept_ver);
  std::printf("highest department ver: %u\n", max);
  std::printf("version info:           %s / %s\n", dir_text.c_str(), root_text.c_str());
  return kExitOk;
}

}  // namespace

const char* UsersCommand::Help() const {
  return "usage: vaultkit [--data-root DIR] --account NAME users ACTION [--json]\n"
         "  import FILE                  replace the directory with an organisation file\n"
         "                               (root UserList); any other file is refused\n"
         "  search PREFIX [--limit N]    members whose nickname, name or spelling begins so;\n"
         "                               the first N (1-50, default 50); the directory's\n"
         "                               search stops at 50, which stderr says\n"
         "  dept ID                      the members of a department\n"
         "  depts                        department ids with their versions\n"
         "  find NICK                    uin, departments, name and gender of a member\n"
         "                               (NICK in any letter case); exit 1 when unknown\n"
         "  versions                     the directory's versions\n"
         "  add DEPT NICK UIN [GENDER]   add a member to a department\n"
         "  delete DEPT NICK             remove a member from a department\n"
         "  delete-dept DEPT             remove a department and its members\n"
         "  set-dept-version DEPT VER    set a department's version\n"
         "  set-pro-ver N | set-dept-ver N   set a directory-wide version\n";
}

int UsersCommand::Run(Host& host, const Args& all) {
  Args args = all;
  bool json = args.TakeFlag("--json");
  const uint32_t limit = ParseUint32(args.TakeOption("--limit", "50"), "--limit");
  if (limit < 1 || limit > kSearchCap) throw UsageError{"--limit takes a number from 1 to 50"};
  if (args.empty()) throw UsageError{"users needs an action (see vaultkit users --help)"};
  const std::string& action = args[0];
  std::vector<std::string> rest(args.begin() + 1, args.end());
  auto need = [&](size_t low, size_t high) {
    if (rest.size() < low || rest.size() > high) {
      throw UsageError{"wrong number of arguments for users " + action};
    }
  };
  CheckAction("users", args,
              {{"import", "FILE"},
               {"search", "PREFIX"},
               {"dept", "ID:u"},
               {"depts", ""},
               {"find", "NICK"},
               {"versions", ""},
               {"add", "DEPT:u NICK UIN:u [GENDER:u]"},
               {"delete", "DEPT:u NICK"},
               {"delete-dept", "DEPT:u"},
               {"set-dept-version", "DEPT:u VER:u"},
               {"set-pro-ver", "N:i"},
               {"set-dept-ver", "N:i"}});
  if (action == "add" && FromUtf8(rest[1]).size() > 31) {
    throw UsageError{"NICK may have at most 31 characters"};
  }
  ComPtr<IUserList> users = OpenUserList(host);
  if (action == "import") {
    need(1, 1);
    return Import(host, users.get(), rest[0], json);
  }
  try {
    if (action == "search") return Search(users.get(), rest[0], limit, json);
    if (action == "dept") return Dept(users.get(), Id(rest[0], "ID"), json);
    if (action == "depts") {
      if (DeptIds(users.get()).empty()) RefuseIfDamaged(host);
      return Depts(users.get(), json);
    }
    if (action == "find") return Find(users.get(), rest[0], json);
  } catch (const NotFound&) {
    RefuseIfDamaged(host);
    throw;
  }
  if (action == "versions") {
    need(0, 0);
    return Versions(users.get(), json);
  }
  std::u16string nick = rest.size() > 1 ? FromUtf8(rest[1]) : u"";
  BOOL exists = FALSE;
  if (action == "add") {
    need(3, 4);
    if (nick.size() > 31) throw UsageError{"NICK may have at most 31 characters"};
    UserListEntry entry{};
    nick.copy(entry.nick, nick.size());
    entry.uin = Id(rest[2], "UIN");
    ULONG gender = rest.size() == 4 ? Id(rest[3], "GENDER") : 0;
    // The row is written even though the answer is E_FAIL: confirm by looking it up.
    SetErrorInfo(0, nullptr);
    users->AddUserEx(Id(rest[0], "DEPT"), &entry, gender);
    users->IsNickExist(nick.c_str(), &exists);
    if (!exists) throw Failure{"could not add " + rest[1] + ": " + FailureReason(E_FAIL)};
    std::printf("added %s\n", rest[1].c_str());
    return kExitOk;
  }
  if (action == "delete") {
    need(2, 2);
    users->DeleteUser(Id(rest[0], "DEPT"), nick.c_str());
    users->IsNickExist(nick.c_str(), &exists);
    std::printf(exists ? "%s is still a member elsewhere\n" : "%s is no longer a member\n",
                rest[1].c_str());
    return kExitOk;
  }
  if (action == "delete-dept") {
    need(1, 1);
    return Report("DeleteDept", users->DeleteDept(Id(rest[0], "DEPT")));
  }
  if (action == "set-dept-version") {
    need(2, 2);
    ULONG dept = Id(rest[0], "DEPT"), version = Id(rest[1], "VER"), now = 0;
    users->SetDeptVersion(dept, version);
    users->GetDeptVersion(dept, &now);
    if (now != version)
      throw Failure{"department " + rest[0] + " kept version " + std::to_string(now)};
    std::printf("department %u now has version %u\n", dept, now);
    return kExitOk;
  }
  if (action == "set-pro-ver" || action == "set-dept-ver") {
    need(1, 1);
    LONG value = ParseInt32(rest[0], "N");
    return action == "set-pro-ver" ? Report("SetProVer", users->SetProVer(value))
                                   : Report("SetDeptVer", users->SetDeptVer(value));
  }
  throw UsageError{"unknown users action '" + action + "' (see vaultkit users --help)"};
}

std::unique_ptr<Command> MakeUsersCommand() {
  return std::make_unique<UsersCommand>();
}

}  // namespace vk::cli
