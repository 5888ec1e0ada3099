#include "tools/vaultkit/UsersCommand.h"

#include <chrono>
#include <cstdio>
#include <filesystem>

#include "platform/Text.h"
#include "tools/vaultkit/Host.h"
#include "tools/vaultkit/StoreAccess.h"

namespace vk::cli {
namespace {

ULONG Id(const std::string& text, const char* what) {
  long value = ParseLong(text, what);
  if (value < 0) throw UsageError{std::string(what) + " must not be negative"};
  return static_cast<ULONG>(value);
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

int Import(IUserList* users, const std::string& file) {
  if (!std::filesystem::exists(file)) throw UsageError{"no such file: " + file};
  auto start = std::chrono::steady_clock::now();
  std::u16string path = FromUtf8(std::filesystem::absolute(file).string());
  HRESULT hr = users->LoadDataFromXml(path.c_str());
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
  std::printf("imported %s: %zu departments, %ld members in %.1f ms\n", file.c_str(), depts.size(),
              members, ms);
  return 0;
}

int Search(IUserList* users, const std::string& prefix) {
  WaitForSearchLists(users);
  BSTR matches = nullptr, reserved = nullptr;
  HRESULT hr = users->SearchUsers(WideToLower(FromUtf8(prefix)).c_str(), &matches, &reserved);
  SysFreeString(reserved);
  std::string text = Utf8(matches);
  size_t found = 0;
  for (size_t start = 0, end; (end = text.find(';', start)) != std::string::npos; start = end + 1) {
    std::printf("%s\n", text.substr(start, end - start).c_str());
    ++found;
  }
  if (found == 0) std::printf("(no one matches '%s')\n", prefix.c_str());
  return Report("SearchUsers", hr);
}

int Dept(IUserList* users, ULONG dept) {
  LONG count = 0;
  HRESULT hr = users->GetUserCount(dept, &count);
  if (hr != S_OK) return Report("GetUserCount", hr);
  std::vector<UserListEntry> entries(static_cast<size_t>(count > 0 ? count : 0) + 1);
  LONG written = count;
  hr = users->GetDeptUsers(dept, entries.data(), &written);
  std::printf("department %u: %d members\n", dept, written);
  for (LONG i = 0; i < written && i < count; ++i) {
    BSTR name = nullptr;
    std::u16string nick = FromUtf8(Nick(entries[i]));
    users->GetNameByNick(nick.c_str(), &name);
    std::printf("  %-20s uin %-10u %s\n", Nick(entries[i]).c_str(), entries[i].uin,
                Utf8(name).c_str());
  }
  return Report("GetDeptUsers", hr);
}

int Find(IUserList* users, const std::string& nick_text) {
  std::u16string nick = FromUtf8(nick_text);
  BOOL exists = FALSE;
  users->IsNickExist(nick.c_str(), &exists);
  if (!exists) {
    std::fprintf(stderr, "vaultkit: no member '%s'\n", nick_text.c_str());
    return 1;
  }
  ULONG uin = 0;
  users->GetUinByNick(nick.c_str(), &uin);
  BSTR name = nullptr;
  users->GetNameByNick(nick.c_str(), &name);
  LONG gender = 0;
  users->GetGenderByNick(nick.c_str(), &gender);
  ULONG ids[32] = {};
  LONG count = 32;
  users->GetDeptIdsByNick(nick.c_str(), ids, &count);
  std::printf("nick:        %s\nuin:         %u\nname:        %s\ngender:      %d\ndepartments:",
              nick_text.c_str(), uin, Utf8(name).c_str(), gender);
  for (LONG i = 0; i < count && i < 32; ++i) std::printf(" %u", ids[i]);
  std::printf("\n");
  return 0;
}

int Versions(IUserList* users) {
  BSTR dir = nullptr, root = nullptr;
  users->GetVersionInfo(&dir, &root);
  ULONG pro = 0, dept_ver = 0, max = 0;
  users->GetProVer(&pro);
  users->GetDeptVer(&dept_ver);
  users->GetMaxDeptVersion(&max);
  std::printf("ProVer:                 %u\nDeptVer:                %u\n", pro, dept_ver);
  std::printf("highest department ver: %u\n", max);
  std::printf("version info:           %s / %s\n", Utf8(dir).c_str(), Utf8(root).c_str());
  return 0;
}

}  // namespace

const char* UsersCommand::Help() const {
  return "usage: vaultkit [--data-root DIR] --account NAME users ACTION\n"
         "  import FILE                  replace the directory with an organisation file\n"
         "  search PREFIX                members whose nickname, name or spelling begins so\n"
         "  dept ID                      the members of a department\n"
         "  depts                        department ids with their versions\n"
         "  find NICK                    uin, departments, name and gender of a member\n"
         "  versions                     the directory's versions\n"
         "  add DEPT NICK UIN [GENDER]   add a member to a department\n"
         "  delete DEPT NICK             remove a member from a department\n"
         "  delete-dept DEPT             remove a department and its members\n"
         "  set-dept-version DEPT VER    set a department's version\n"
         "  set-pro-ver N | set-dept-ver N   set a directory-wide version\n";
}

int UsersCommand::Run(Host& host, const std::vector<std::string>& args) {
  if (args.empty()) throw UsageError{"users needs an action (see vaultkit users --help)"};
  const std::string& action = args[0];
  std::vector<std::string> rest(args.begin() + 1, args.end());
  auto need = [&](size_t low, size_t high) {
    if (rest.size() < low || rest.size() > high) {
      throw UsageError{"wrong number of arguments for users " + action};
    }
  };
  ComRef<IUserList> users = OpenUserList(host);
  if (action == "import") {
    need(1, 1);
    return Import(users.get(), rest[0]);
  }
  if (action == "search") {
    need(1, 1);
    return Search(users.get(), rest[0]);
  }
  if (action == "dept") {
    need(1, 1);
    return Dept(users.get(), Id(rest[0], "ID"));
  }
  if (action == "depts") {
    need(0, 0);
    std::vector<ULONG> ids = DeptIds(users.get());
    std::printf("%zu departments\n", ids.size());
    for (ULONG id : ids) {
      ULONG version = 0;
      LONG members = 0;
      users->GetDeptVersion(id, &version);
      users->GetUserCount(id, &members);
      std::printf("  %-10u version %-10u %d members\n", id, version, members);
    }
    return 0;
  }
  if (action == "find") {
    need(1, 1);
    return Find(users.get(), rest[0]);
  }
  if (action == "versions") {
    need(0, 0);
    return Versions(users.get());
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
    users->AddUserEx(Id(rest[0], "DEPT"), &entry, gender);
    users->IsNickExist(nick.c_str(), &exists);
    std::printf(exists ? "added %s\n" : "could not add %s\n", rest[1].c_str());
    return exists ? 0 : 1;
  }
  if (action == "delete") {
    need(2, 2);
    users->DeleteUser(Id(rest[0], "DEPT"), nick.c_str());
    users->IsNickExist(nick.c_str(), &exists);
    std::printf(exists ? "%s is still a member elsewhere\n" : "%s is no longer a member\n",
                rest[1].c_str());
    return 0;
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
    std::printf("department %u now has version %u\n", dept, now);
    return now == version ? 0 : 1;
  }
  if (action == "set-pro-ver" || action == "set-dept-ver") {
    need(1, 1);
    LONG value = static_cast<LONG>(ParseLong(rest[0], "N"));
    return action == "set-pro-ver" ? Report("SetProVer", users->SetProVer(value))
                                   : Report("SetDeptVer", users->SetDeptVer(value));
  }
  throw UsageError{"unknown users action '" + action + "' (see vaultkit users --help)"};
}

}  // namespace vk::cli
