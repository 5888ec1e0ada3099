// The group stores: the company import of 20,000 groups nested 8 levels deep against a bare
// libxml2 parse plus a bare SQLite insert of the same rows (same run, reported as a ratio),
// and the tree and member queries a client runs when it shows a group: GetSubGroups of a group
// with 200 children, GetMembers of a 500-member group of kind 4, and the company store's
// GetMembers of a 500-member department answered by the user list. Each query is reported
// beside the bare SQLite query of the same rows.
#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <sqlite3.h>
#include <stdlib.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "groups/ModuleInstance.h"
#include "groups/WEZGroupStore.h"
#include "org/UserList.h"
#include "platform/Text.h"
#include "runtime/ComObject.h"

namespace {

constexpr int kCompanyGroups = 20000;
constexpr int kCompanyDepth = 8;
constexpr int kChildren = 200;
constexpr int kMembers = 500;
constexpr int kMemberGroups = 10;  // kind 4 holds this many groups of kMembers each

std::string TempFolder() {
  std::string pattern = std::filesystem::temp_directory_path().string() + "/vk-bench-XXXXXX";
  if (::mkdtemp(pattern.data()) == nullptr) abort();
  return pattern;
}

double Seconds(std::chrono::steady_clock::time_point since) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

struct Fixture {
  std::string folder = TempFolder();
  std::string xml = folder + "/company.xml";
  Fixture() { WriteCompany(); }
  ~Fixture() { std::filesystem::remove_all(folder); }
  std::u16string File(const std::string& name) const { return vk::FromUtf8(folder + "/" + name); }

  // Four children per group down to kCompanyDepth levels, until kCompanyGroups are written.
  void WriteCompany() const {
    std::string out = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Groups Ver=\"42\">";
    int next = 1;
    std::function<void(int)> group = [&](int depth) {
      const int id = next++;
      out += "<Group id=\"" + std::to_string(id) + "\" name=\"部门" + std::to_string(id) +
             "\" type=\"" + std::to_string(id % 2) + "\">";
      for (int c = 0; c < 4 && depth < kCompanyDepth && next <= kCompanyGroups; ++c) {
        group(depth + 1);
      }
      out += "</Group>";
    };
    while (next <= kCompanyGroups) group(1);
    out += "</Groups>\n";
    std::ofstream(xml, std::ios::binary) << out;
  }
};

Fixture& Shared() {
  static Fixture fixture;
  return fixture;
}

// The baseline: the same file parsed by bare libxml2 and its rows inserted by bare SQLite
// (UTF-8, the store's tables and indexes, one transaction) into a fresh database.
void BareInsertTree(sqlite3_stmt* st, xmlNode* element, const char* parent) {
  xmlChar* id = xmlGetProp(element, BAD_CAST "id");
  xmlChar* name = xmlGetProp(element, BAD_CAST "name");
  xmlChar* type = xmlGetProp(element, BAD_CAST "type");
  sqlite3_bind_text(st, 1, reinterpret_cast<const char*>(id), -1, SQLITE_STATIC);
  sqlite3_bind_text(st, 2, parent, -1, SQLITE_STATIC);
  sqlite3_bind_text(st, 3, reinterpret_cast<const char*>(name), -1, SQLITE_STATIC);
  sqlite3_bind_text(st, 4, type ? reinterpret_cast<const char*>(type) : "0", -1, SQLITE_STATIC);
  sqlite3_step(st);
  sqlite3_reset(st);
  for (xmlNode* child = element->children; child != nullptr; child = child->next) {
    if (child->type == XML_ELEMENT_NODE) BareInsertTree(st, child, reinterpret_cast<char*>(id));
  }
  xmlFree(id);
  xmlFree(name);
  xmlFree(type);
}

void BareImport(const std::string& xml, const std::string& db_file) {
  std::filesystem::remove(db_file);
  xmlDoc* doc = xmlReadFile(xml.c_str(), nullptr, XML_PARSE_NONET);
  sqlite3* db = nullptr;
  sqlite3_open(db_file.c_str(), &db);
  sqlite3_exec(db,
               "CREATE TABLE global (key TEXT PRIMARY KEY ON CONFLICT REPLACE, value TEXT);"
               "CREATE TABLE groups (id TEXT PRIMARY KEY ON CONFLICT REPLACE, parentId TEXT, "
               "name TEXT, groupType TEXT);"
               "CREATE INDEX index_groups_id ON groups(id);"
               "CREATE INDEX index_groups_parentId ON groups(parentId);"
               "BEGIN IMMEDIATE;"
               "INSERT INTO global VALUES ('DataFormat', '1');",
               nullptr, nullptr, nullptr);
  xmlNode* root = xmlDocGetRootElement(doc);
  sqlite3_stmt* st = nullptr;
  sqlite3_prepare_v2(db, "INSERT INTO global VALUES ('GroupsVersion', ?)", -1, &st, nullptr);
  xmlChar* version = xmlGetProp(root, BAD_CAST "Ver");
  sqlite3_bind_text(st, 1, reinterpret_cast<const char*>(version), -1, SQLITE_STATIC);
  sqlite3_step(st);
  sqlite3_finalize(st);
  xmlFree(version);
  sqlite3_prepare_v2(db, "INSERT INTO groups VALUES (?, ?, ?, ?)", -1, &st, nullptr);
  for (xmlNode* group = root->children; group != nullptr; group = group->next) {
    if (group->type == XML_ELEMENT_NODE) BareInsertTree(st, group, "0");
  }
  sqlite3_finalize(st);
  sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr);
  sqlite3_close(db);
  xmlFreeDoc(doc);
}

CWEZGroupStore* OpenStore(const std::string& name, LONG kind) {
  CWEZGroupStore* store = new CWEZGroupStore();
  store->Initialize(Shared().File(name).c_str(), kind);
  return store;
}

void BM_CompanyImportVsBareBaseline(benchmark::State& state) {
  CWEZGroupStore* store = OpenStore("Group.dat", 1);
  const std::u16string xml = vk::FromUtf8(Shared().xml);
  store->LoadDataFromXml(xml.c_str());  // every timed import replaces a full tree
  double ours = 0;
  double bare = 0;
  for (auto _ : state) {
    auto start = std::chrono::steady_clock::now();
    store->LoadDataFromXml(xml.c_str());
    ours += Seconds(start);
    state.PauseTiming();
    LONG count = 0;
    store->GetGroupCount(&count);
    if (count != kCompanyGroups) abort();  // the import replaces the seeded root too
    start = std::chrono::steady_clock::now();
    BareImport(Shared().xml, Shared().folder + "/bare.dat");
    bare += Seconds(start);
    state.ResumeTiming();
  }
  const double n = static_cast<double>(state.iterations());
  state.counters["import_ms"] = 1000 * ours / n;
  state.counters["baseline_ms"] = 1000 * bare / n;
  state.counters["ratio"] = ours / bare;
  store->Release();
}
BENCHMARK(BM_CompanyImportVsBareBaseline)->Unit(benchmark::kMillisecond)->Iterations(10);

// The bare engine running a store's query for the same key: the floor of each query below.
double BareQueryMicros(const std::u16string& db_path, const char* sql, const std::string& key) {
  sqlite3* db = nullptr;
  sqlite3_open16(db_path.c_str(), &db);
  sqlite3_stmt* st = nullptr;
  sqlite3_prepare_v2(db, sql, -1, &st, nullptr);
  constexpr int kRuns = 2000;
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < kRuns; ++i) {
    sqlite3_bind_text(st, 1, key.c_str(), -1, SQLITE_STATIC);
    while (sqlite3_step(st) == SQLITE_ROW) benchmark::DoNotOptimize(sqlite3_column_text(st, 0));
    sqlite3_reset(st);
  }
  const double micros = 1e6 * Seconds(start) / kRuns;
  sqlite3_finalize(st);
  sqlite3_close(db);
  return micros;
}

// Kind 4 with one group of kChildren children and kMemberGroups groups of kMembers members.
CWEZGroupStore* UserDefinedStore() {
  static CWEZGroupStore* store = [] {
    CWEZGroupStore* created = OpenStore("UserDefinedGroup.dat", 4);
    for (int i = 0; i < kChildren; ++i) {
      GroupInfo group{};
      group.parentId = 60000001;
      std::u16string name = u"组" + vk::FromUtf8(std::to_string(i));
      name.copy(group.name, 31);
      created->AddGroup(&group);
    }
    for (int g = 1; g <= kMemberGroups; ++g) {
      for (int m = 0; m < kMembers; ++m) {
        created->AddMember(60000000 + g,
                           vk::FromUtf8("user" + std::to_string(g * 1000 + m)).c_str());
      }
    }
    // Queried as a client finds it: opened on the file. (The connection that wrote the rows
    // one transaction at a time scans several times slower until it is opened again.)
    created->Initialize(Shared().File("UserDefinedGroup.dat").c_str(), 4);
    return created;
  }();
  return store;
}

void BM_GetSubGroups200Children(benchmark::State& state) {
  CWEZGroupStore* store = UserDefinedStore();
  std::vector<GroupInfo> groups(kChildren);
  for (auto _ : state) {
    LONG count = 0;
    store->GetSubGroups(60000001, groups.data(), &count);
    if (count != kChildren) abort();
  }
  state.counters["bare_us"] = BareQueryMicros(
      Shared().File("UserDefinedGroup.dat"), "SELECT * FROM [groups] WHERE parentId=?", "60000001");
}
BENCHMARK(BM_GetSubGroups200Children)
    ->Unit(benchmark::kMicrosecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);

void GetMembers(benchmark::State& state, IWEZGroupStore* store, LONG id) {
  std::vector<BSTR> nicks(kMembers);
  for (auto _ : state) {
    LONG count = 0;
    store->GetMembers(id, nicks.data(), &count);
    if (count != kMembers) abort();
    for (LONG i = 0; i < count; ++i) SysFreeString(nicks[i]);
  }
}

void BM_GetMembers500Kind4(benchmark::State& state) {
  GetMembers(state, UserDefinedStore(), 60000005);
  state.counters["bare_us"] =
      BareQueryMicros(Shared().File("UserDefinedGroup.dat"),
                      "SELECT nickname FROM [members] WHERE parentGroupId=?", "60000005");
}
BENCHMARK(BM_GetMembers500Kind4)
    ->Unit(benchmark::kMicrosecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);

// What the company store needs of the module: its user list.
class Module : public vk::ComObject<IWEZStore> {
 public:
  explicit Module(IUserList* list) : list_(list) {}
  HRESULT GetUserList(IUserList** store) override {
    list_->AddRef();
    *store = list_;
    return S_OK;
  }
  HRESULT GetProfileStore(IWEZProfileStore**) override { return E_NOTIMPL; }
  HRESULT GetMobileProfileStore(IMobileProfileStore**) override { return E_NOTIMPL; }
  HRESULT GetItemStore(IWEZItemStore**) override { return E_NOTIMPL; }
  HRESULT GetOptionStore(IOptionStore**) override { return E_NOTIMPL; }
  HRESULT GetUserOptionStore(IOptionStore**) override { return E_NOTIMPL; }
  HRESULT GetPortalStore(IPortalStore**) override { return E_NOTIMPL; }
  HRESULT GetGroupStore(IWEZGroupStore**, LONG) override { return E_NOTIMPL; }
  HRESULT GetProfileProStore(IWEZProfileProStore**) override { return E_NOTIMPL; }
  HRESULT GetUserGrid(IUserGrid**) override { return E_NOTIMPL; }
  HRESULT GetKeyDeptsStore(IKeyDepts**) override { return E_NOTIMPL; }
  HRESULT GetDeptLeader(IDeptLeader**) override { return E_NOTIMPL; }
  HRESULT NotifyOrgStructStatus(LONG) override { return E_NOTIMPL; }
  HRESULT NotifyUserListStatus(LONG) override { return E_NOTIMPL; }
  HRESULT GetRevertDialogStore(IRevertDialogStore**) override { return E_NOTIMPL; }
  HRESULT GetLocalOffMsgStore(ILocalOffMsgStore**) override { return E_NOTIMPL; }

 private:
  IUserList* list_;
};

class Client : public vk::ComObject<IUnknown> {};

void BM_GetMembers500Kind1(benchmark::State& state) {
  Client* client = new Client();
  CUserList* list = new CUserList();
  list->Initialize(Shared().File("userList5.dat").c_str(), client);
  for (ULONG uin = 1; uin <= kMembers; ++uin) {
    UserListEntry entry{};
    entry.uin = uin;
    vk::FromUtf8("member" + std::to_string(uin)).copy(entry.nick, 31);
    list->AddUser(100, &entry);
  }
  Module* module = new Module(list);
  auto alive = std::make_shared<int>(0);
  vk::ModuleInstance::Record(module, alive);
  CWEZGroupStore* company = OpenStore("Group.dat", 1);
  GetMembers(state, company, 100);
  state.counters["bare_us"] = BareQueryMicros(Shared().File("userList5.dat"),
                                              "SELECT * FROM [member] WHERE departmentId=?", "100");
  company->Release();
  alive.reset();
  module->Release();
  list->WaitForReaders();
  list->Release();
  client->Release();
}
BENCHMARK(BM_GetMembers500Kind1)
    ->Unit(benchmark::kMicrosecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);

}  // namespace

BENCHMARK_MAIN();
