#include <cstdio>
#include <filesystem>
#include <set>

#include "platform/Text.h"
#include "tools/vaultkit/cli/Host.h"
#include "tools/vaultkit/cli/Json.h"
#include "tools/vaultkit/cli/SetAside.h"
#include "tools/vaultkit/cli/StoreAccess.h"
#include "tools/vaultkit/cli/Table.h"
#include "tools/vaultkit/cli/XmlEntries.h"
#include "tools/vaultkit/commands/Commands.h"

namespace vk::cli {

// groups tree|add|rename|delete|members|add-member|delete-member|import|version on the six
// contact-group databases.
class GroupsCommand : public Command {
 public:
  const char* Name() const override { return "groups"; }
  const char* Summary() const override { return "the six contact-group trees (Group.dat, ...)"; }
  const char* Help() const override;
  int Run(Host& host, const Args& args) override;
};

namespace {

std::string NameOf(const GroupInfo& group) {
  size_t n = 0;
  while (n < 32 && group.name[n] != 0) ++n;
  return ToUtf8(std::u16string_view(group.name, n));
}

std::vector<GroupInfo> SubGroups(IWEZGroupStore* store, LONG parent) {
  LONG count = 0;
  if (store->GetSubGroupCount(parent, &count) != S_OK || count <= 0) return {};
  std::vector<GroupInfo> groups(static_cast<size_t>(count));
  // A parent without children answers E_FAIL; the count says how many came.
  store->GetSubGroups(parent, groups.data(), &count);
  groups.resize(static_cast<size_t>(std::max<LONG>(count, 0)));
  return groups;
}

// The member count, or nothing when the store cannot tell (kind 1 without a directory).
std::optional<LONG> MemberCount(IWEZGroupStore* store, LONG id) {
  LONG count = 0;
  if (store->GetMemberCount(id, &count) != S_OK) return std::nullopt;
  return count;
}

// Walks the tree depth first from the roots (parent 0). An id is visited once: imported ids
// that do not read as numbers all read as 0, the roots' own parent.
void Walk(IWEZGroupStore* store, LONG parent, int depth, std::set<LONG>& seen, Table& table,
          Json& out) {
  for (const GroupInfo& group : SubGroups(store, parent)) {
    if (!seen.insert(group.id).second) continue;
    std::optional<LONG> members = MemberCount(store, group.id);
    table.Add({std::string(2 * depth, ' ') + NameOf(group), std::to_string(group.id),
               members ? std::to_string(*members) : "-", group.groupType ? "1" : "0"});
    Json node = {{"id", group.id},
                 {"name", NameOf(group)},
                 {"type", group.groupType},
                 {"members", members ? Json(*members) : Json(nullptr)},
                 {"children", Json::array()}};
    Walk(store, group.id, depth + 1, seen, table, node["children"]);
    out.push_back(std::move(node));
  }
}

int Tree(IWEZGroupStore* store, LONG kind, bool json) {
  Table table({"group", "id", "members", "type"});
  Json roots = Json::array();
  std::set<LONG> seen;
  Walk(store, 0, 0, seen, table, roots);
  if (json) {
    PrintJson({{"kind", kind}, {"groups", roots}});
  } else {
    table.Print();
  }
  return kExitOk;
}

int Members(IWEZGroupStore* store, LONG kind, LONG id, bool json) {
  std::optional<LONG> count = MemberCount(store, id);
  if (!count && kind == VK_GROUP_COMPANY) {
    throw Failure{
        "the company tree takes its members from the directory, which is not open "
        "(give --account NAME)"};
  }
  if (!count) return Report("GetMemberCount", E_FAIL);
  std::vector<BSTR> nicks(static_cast<size_t>(std::max<LONG>(*count, 0)), nullptr);
  LONG got = 0;
  // An empty group answers E_FAIL with a count of 0.
  if (nicks.empty() || store->GetMembers(id, nicks.data(), &got) != S_OK || got == 0) {
    throw NotFound{"group " + std::to_string(id) + " has no members"};
  }
  Json all = Json::array();
  for (LONG i = 0; i < got && i < *count; ++i) all.push_back(Utf8(nicks[i]));
  if (json) {
    PrintJson({{"group", id}, {"members", all}});
  } else {
    for (const auto& nick : all) std::printf("%s\n", nick.get<std::string>().c_str());
  }
  return kExitOk;
}

int Add(IWEZGroupStore* store, LONG kind, LONG parent, const std::string& name, bool json) {
  // New ids follow the largest id outside the roots. A group filed under parent 0 is a root, so
  // the next add takes its id again and replaces it; one filed under a parent that does not
  // exist is never reached from the roots, and its id is handed out again too.
  const std::string see = " (see 'vaultkit groups tree " + std::to_string(kind) + "')";
  if (parent == 0)
    throw UsageError{"PARENT 0 would make a root, which the next add replaces" + see};
  GroupInfo existing{};
  existing.id = parent;
  if (store->GetGroupInfo(&existing) != S_OK) {
    throw NotFound{"no group " + std::to_string(parent) + " in tree " + std::to_string(kind) +
                   " to add under" + see};
  }
  GroupInfo group{};
  group.parentId = parent;
  std::u16string wide = FromUtf8(name);
  wide.copy(group.name, std::min<size_t>(wide.size(), 31));
  HRESULT hr = store->AddGroup(&group);
  if (hr != S_OK) return Report("AddGroup", hr);
  if (json) {
    PrintJson({{"id", group.id}, {"parent", parent}, {"name", NameOf(group)}});
  } else {
    std::printf("%d\n", group.id);
  }
  return kExitOk;
}

int Import(Host& host, IWEZGroupStore* store, const std::string& file, bool json) {
  if (!std::filesystem::is_regular_file(file)) throw UsageError{"no such file: " + file};
  // The store empties the tree for any document without a Groups root; refuse those here.
  std::optional<std::string> root = XmlRootName(FromUtf8(file));
  if (root != "Groups") {
    throw Failure{file +
                  (root ? " is not a group file (its root is " + *root + ", not Groups)"
                        : " is not an XML file") +
                  ": the company tree is unchanged"};
  }
  // An import replaces the whole company tree: over one that has groups besides the root the
  // store makes for an empty tree, it is asked for, and the database is copied aside first.
  LONG present = 0;
  if (SUCCEEDED(store->GetGroupCount(&present)) && present > 1) {
    const StoreRow& row = Row(StoreId::kCompanyGroups);
    const std::string folder = host.DataRoot() + "Accounts/" +
                               (host.HasAccount() ? host.Account() : ToUtf8(kDefaultAccount));
    if (!host.Confirm("replace the " + std::to_string(present) + " groups of the company tree by " +
                      file + " (a copy is kept as " + row.file + ".removed-TIME)")) {
      return kExitOk;
    }
    SetAside(folder + "/" + row.file, folder, row.file);
  }
  std::u16string path = FromUtf8(std::filesystem::absolute(file).string());
  HRESULT hr = store->LoadDataFromXml(path.c_str());
  if (hr != S_OK) return Report("LoadDataFromXml", hr);
  LONG groups = 0;
  store->GetGroupCount(&groups);
  BSTR version = nullptr;
  store->GetVersion(&version);
  std::string text = Utf8(version);
  if (json) {
    PrintJson({{"file", file}, {"groups", groups}, {"version", text}});
  } else {
    std::printf("imported %s: %d groups, version %s\n", file.c_str(), groups, text.c_str());
  }
  return kExitOk;
}

int Version(IWEZGroupStore* store, const std::vector<std::string>& args, bool json) {
  if (args.size() == 2 && args[0] == "set") {
    return Report("SetVersion", store->SetVersion(FromUtf8(args[1]).c_str()));
  }
  if (!args.empty() && !(args.size() == 1 && args[0] == "get")) {
    throw UsageError{"version takes KIND, then 'get' or 'set V'"};
  }
  BSTR version = nullptr;
  HRESULT hr = store->GetVersion(&version);
  std::string text = Utf8(version);
  if (int status = Report("GetVersion", hr, {S_OK, S_FALSE}); status != kExitOk) return status;
  if (json) {
    PrintJson({{"version", text}, {"stored", hr == S_OK}});
  } else {
    std::printf("%s%s\n", text.c_str(), hr == S_FALSE ? " (none stored)" : "");
  }
  return kExitOk;
}

}  // namespace

const char* GroupsCommand::Help() const {
  return "usage: vaultkit [--data-root DIR] [--account NAME] groups ACTION [--json]\n"
         "KIND: 1 company, 2 frequent contacts, 3 recent contacts, 4 user-defined,\n"
         "5 mobile, 6 external buddies. Without --account the default folder \"0\" is used.\n"
         "  tree KIND                  the whole tree from its roots, indented, with member\n"
         "                             counts (kind 1: from the directory, '-' when the\n"
         "                             account has none); groups whose parent was deleted\n"
         "                             are not reached\n"
         "  add KIND PARENT NAME       a new group under the existing group PARENT (exit 1\n"
         "                             when there is none; 0, a new root, is refused: the\n"
         "                             next add would take its id and replace it); prints\n"
         "                             its id (NAME keeps its first 31 characters)\n"
         "  rename KIND ID NAME        renaming an id that does not exist also succeeds\n"
         "  delete KIND ID             deletes the group and its members, NOT its child\n"
         "                             groups (they stay, under a parent that is gone)\n"
         "  members KIND GROUP         the nicknames filed under GROUP; exit 1 when none\n"
         "  add-member KIND GROUP NICK    nicknames are kept as given (no case folding)\n"
         "  delete-member KIND GROUP NICK deleting a nickname that is not there succeeds\n"
         "  import FILE                replaces the company tree (kind 1) and its version\n"
         "                             from a group file; members are not touched\n"
         "  version KIND [get|set V]   the tree's version text; \"0\" when none is stored\n"
         "Every opening writes the roots again, undoing a rename of a root. Kind 1 refuses\n"
         "rename, delete and the member edits: it is replaced by import only.\n";
}

int GroupsCommand::Run(Host& host, const Args& all) {
  Args args = all;
  bool json = args.TakeFlag("--json");
  if (args.empty()) throw UsageError{"groups needs an action: tree, add, members, import, ..."};
  const std::string action = args[0];
  if (action == "import") {
    if (args.size() != 2) throw UsageError{"import takes FILE"};
    ComPtr<IWEZGroupStore> store = OpenGroupStore(host, VK_GROUP_COMPANY);
    return Import(host, store.get(), args[1], json);
  }
  if (args.size() < 2) throw UsageError{action + " needs KIND (see vaultkit groups --help)"};
  const LONG kind = ParseInt32(args[1], "KIND");
  std::vector<std::string> rest(args.begin() + 2, args.end());
  if (action == "version") return Version(OpenGroupStore(host, kind).get(), rest, json);

  auto arity = [&](size_t n, const char* usage) {
    if (rest.size() != n) throw UsageError{action + " takes " + usage};
  };
  if (action == "tree")
    arity(0, "KIND");
  else if (action == "add")
    arity(2, "KIND PARENT NAME");
  else if (action == "rename")
    arity(2, "KIND ID NAME");
  else if (action == "delete")
    arity(1, "KIND ID");
  else if (action == "members")
    arity(1, "KIND GROUP");
  else if (action == "add-member" || action == "delete-member")
    arity(2, "KIND GROUP NICK");
  else
    throw UsageError{"unknown groups action '" + action + "' (see vaultkit groups --help)"};
  const LONG id = rest.empty() ? 0 : ParseInt32(rest[0], action == "add" ? "PARENT" : "ID");

  ComPtr<IWEZGroupStore> store = OpenGroupStore(host, kind);
  HRESULT hr = S_OK;
  if (action == "tree") return Tree(store.get(), kind, json);
  if (action == "members") return Members(store.get(), kind, id, json);
  if (action == "add") return Add(store.get(), kind, id, rest[1], json);
  if (action == "rename") {
    GroupInfo group{};
    group.id = id;
    FromUtf8(rest[1]).copy(group.name, 31);
    hr = store->RenameGroup(&group);
  } else if (action == "delete") {
    hr = store->DeleteGroup(id);
  } else {
    std::u16string nick = FromUtf8(rest[1]);
    hr = action == "add-member" ? store->AddMember(id, nick.c_str())
                                : store->DeleteMember(id, nick.c_str());
  }
  if (hr == E_FAIL && kind == VK_GROUP_COMPANY) {
    throw Failure{"the company tree (kind 1) cannot be edited: it is replaced by 'groups import'"};
  }
  return Report(action.c_str(), hr);
}

std::unique_ptr<Command> MakeGroupsCommand() {
  return std::make_unique<GroupsCommand>();
}

}  // namespace vk::cli
