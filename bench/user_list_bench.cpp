// The user list with a company of 100,000 members in 2,000 departments: the XML import
// against a bare libxml2 parse plus a bare SQLite insert of the same rows (measured in the
// same run, reported as a ratio), the search-list reader, prefix searches and lookups.
#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <sqlite3.h>
#include <stdlib.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "org/UserList.h"
#include "platform/Text.h"
#include "runtime/ComObject.h"

namespace {

constexpr int kDepartments = 2000;
constexpr int kPerDepartment = 50;
const char16_t* const kSurnames[] = {u"张", u"王", u"李", u"赵", u"刘", u"陈", u"杨", u"黄"};
const char16_t* const kGiven[] = {u"伟", u"芳", u"娜", u"敏", u"静", u"丽", u"强", u"磊", u"军"};

class Client : public vk::ComObject<IUnknown> {};

struct Fixture {
  std::string folder;
  std::string xml;
  std::u16string db_path;
  Fixture() {
    std::string pattern = std::filesystem::temp_directory_path().string() + "/vk-bench-XXXXXX";
    if (::mkdtemp(pattern.data()) == nullptr) abort();
    folder = pattern;
    xml = folder + "/org.xml";
    db_path = vk::FromUtf8(folder + "/userList5.dat");
    WriteOrg();
  }
  ~Fixture() { std::filesystem::remove_all(folder); }

  // The generator: departments of kPerDepartment members, Chinese names, unique nicknames.
  void WriteOrg() const {
    std::string out =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<UserList ProVer=\"1\" DeptVer=\"2\">\n";
    int uin = 1;
    for (int d = 1; d <= kDepartments; ++d) {
      out += "<Dept id=\"" + std::to_string(d) + "\" Ver=\"" + std::to_string(d) + "\">";
      for (int m = 0; m < kPerDepartment; ++m, ++uin) {
        std::u16string name = kSurnames[uin % 8];
        name += kGiven[uin % 9];
        name += kGiven[(uin / 9) % 9];
        out += "<USER NICK=\"user" + std::to_string(uin) + "\" NAME=\"" + vk::ToUtf8(name) +
               "\" UIN=\"" + std::to_string(uin) + "\" GENDER=\"1\"/>";
      }
      out += "</Dept>\n";
    }
    out += "</UserList>\n";
    std::ofstream(xml, std::ios::binary) << out;
  }
};

Fixture& Shared() {
  static Fixture fixture;
  return fixture;
}

// A list initialised on the shared database, with the company imported once.
CUserList* ImportedList() {
  static CUserList* list = [] {
    Client* client = new Client();
    CUserList* created = new CUserList();
    created->Initialize(Shared().db_path.c_str(), client);
    const std::u16string xml = vk::FromUtf8(Shared().xml);
    created->LoadDataFromXml(xml.c_str());
    LONG count = 0;
    created->GetDeptCount(&count);  // puts the rebuild online
    created->WaitForReaders();
    client->Release();
    return created;
  }();
  return list;
}

// The same rows with the bare libraries: parse, walk, insert in one transaction.
void BareImport(const std::string& xml, const std::string& db_file) {
  std::filesystem::remove(db_file);
  xmlDoc* doc = xmlReadFile(xml.c_str(), nullptr, XML_PARSE_NONET);
  sqlite3* db = nullptr;
  sqlite3_open(db_file.c_str(), &db);
  sqlite3_exec(db,
               "CREATE TABLE member (uin INTEGER, nickname TEXT, name TEXT, departmentId INTEGER, "
               "gender INTEGER, PRIMARY KEY (uin, departmentId) ON CONFLICT REPLACE);"
               "BEGIN IMMEDIATE",
               nullptr, nullptr, nullptr);
  sqlite3_stmt* st = nullptr;
  sqlite3_prepare_v2(db, "INSERT INTO member VALUES (?, ?, ?, ?, ?)", -1, &st, nullptr);
  for (xmlNode* dept = xmlDocGetRootElement(doc)->children; dept; dept = dept->next) {
    if (dept->type != XML_ELEMENT_NODE) continue;
    xmlChar* id = xmlGetProp(dept, BAD_CAST "id");
    for (xmlNode* m = dept->children; m; m = m->next) {
      if (m->type != XML_ELEMENT_NODE) continue;
      xmlChar* nick = xmlGetProp(m, BAD_CAST "NICK");
      xmlChar* name = xmlGetProp(m, BAD_CAST "NAME");
      xmlChar* uin = xmlGetProp(m, BAD_CAST "UIN");
      sqlite3_bind_int64(st, 1, atoll(reinterpret_cast<char*>(uin)));
      sqlite3_bind_text(st, 2, reinterpret_cast<char*>(nick), -1, SQLITE_STATIC);
      sqlite3_bind_text(st, 3, reinterpret_cast<char*>(name), -1, SQLITE_STATIC);
      sqlite3_bind_int64(st, 4, atoll(reinterpret_cast<char*>(id)));
      sqlite3_bind_int64(st, 5, 1);
      sqlite3_step(st);
      sqlite3_reset(st);
      xmlFree(nick);
      xmlFree(name);
      xmlFree(uin);
    }
    xmlFree(id);
  }
  sqlite3_finalize(st);
  sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr);
  sqlite3_close(db);
  xmlFreeDoc(doc);
}

double Seconds(std::chrono::steady_clock::time_point since) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

void BM_ImportVsBareBaseline(benchmark::State& state) {
  Client* client = new Client();
  CUserList* list = new CUserList();
  const std::u16string path = vk::FromUtf8(Shared().folder + "/import.dat");
  list->Initialize(path.c_str(), client);
  list->WaitForReaders();
  const std::u16string xml = vk::FromUtf8(Shared().xml);
  double ours = 0;
  double bare = 0;
  for (auto _ : state) {
    auto start = std::chrono::steady_clock::now();
    list->LoadDataFromXml(xml.c_str());
    ours += Seconds(start);
    state.PauseTiming();
    start = std::chrono::steady_clock::now();
    BareImport(Shared().xml, Shared().folder + "/bare.dat");
    bare += Seconds(start);
    state.ResumeTiming();
  }
  state.counters["baseline_ms"] = 1000 * bare / state.iterations();
  state.counters["ratio"] = ours / bare;
  list->WaitForReaders();
  list->Release();
  client->Release();
}
BENCHMARK(BM_ImportVsBareBaseline)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_SearchListReader(benchmark::State& state) {
  ImportedList();
  Client* client = new Client();
  CUserList* list = new CUserList();
  for (auto _ : state) {
    list->Initialize(Shared().db_path.c_str(), client);
    list->WaitForReaders();
  }
  list->Release();
  client->Release();
}
BENCHMARK(BM_SearchListReader)->Unit(benchmark::kMillisecond)->Iterations(3);

void Search(benchmark::State& state, const char16_t* prefix) {
  CUserList* list = ImportedList();
  for (auto _ : state) {
    BSTR matches = nullptr;
    BSTR reserved = nullptr;
    list->SearchUsers(prefix, &matches, &reserved);
    benchmark::DoNotOptimize(matches);
    SysFreeString(matches);
    SysFreeString(reserved);
  }
}
void BM_SearchUsersTwoLetterPrefix(benchmark::State& state) {
  Search(state, u"zh");
}
void BM_SearchUsersNoMatch(benchmark::State& state) {
  Search(state, u"qqqq");
}
BENCHMARK(BM_SearchUsersTwoLetterPrefix)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_SearchUsersNoMatch)->Unit(benchmark::kMicrosecond);

void BM_GetDeptUsers50(benchmark::State& state) {
  CUserList* list = ImportedList();
  UserListEntry entries[kPerDepartment];
  ULONG dept = 1;
  for (auto _ : state) {
    LONG count = 0;
    list->GetDeptUsers(dept, entries, &count);
    if (count != kPerDepartment) state.SkipWithError("wrong member count");
    dept = dept % kDepartments + 1;
  }
}
BENCHMARK(BM_GetDeptUsers50)->Unit(benchmark::kMicrosecond);

void BM_GetUinByNick(benchmark::State& state) {
  CUserList* list = ImportedList();
  int i = 0;
  for (auto _ : state) {
    const std::u16string nick = u"user" + vk::FromUtf8(std::to_string(1 + i++ % 100000));
    ULONG uin = 0;
    list->GetUinByNick(nick.c_str(), &uin);
    benchmark::DoNotOptimize(uin);
  }
}
BENCHMARK(BM_GetUinByNick)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
