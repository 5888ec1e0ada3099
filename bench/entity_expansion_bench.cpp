// Small files that would multiply one entity: 40 KB documents declaring a 10,000-character
// entity and referencing it 10,000 times, one of each kind a store reads (user grid through
// the store, company group import, portal, item merge target, profile companion, offline
// index). Each is timed from the store's first read to its answer, with the process's peak
// resident memory growth over the call; the baseline is bare libxml2 parsing the same bytes
// in the same run. Every case must stay under 50 ms and 50 MB (`within_limits` = 1).
#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

#include "bench/BenchSupport.h"
#include "client/ClientRoot.h"
#include "client/ModuleSite.h"
#include "groups/WEZGroupStore.h"
#include "messages/LocalOffMsgStore.h"
#include "org/PortalStore.h"
#include "org/UserGrid.h"
#include "platform/Text.h"
#include "profiles/WEZItemStore.h"
#include "profiles/WEZProfileStore.h"

namespace {

constexpr double kMaxMilliseconds = 50;
constexpr double kMaxMegabytes = 50;

// The declaration and the references; `open` and `close` wrap the references into the
// attribute the store reads.
std::string Quadratic(const std::string& root, const std::string& open, const std::string& close,
                      const char* encoding = "gb2312") {
  std::string text = std::string("<?xml version=\"1.0\" encoding=\"") + encoding + "\"?>\n" +
                     "<!DOCTYPE " + root + " [<!ENTITY e \"" + std::string(10000, 'x') + "\">]>\n" +
                     open;
  for (int i = 0; i < 10000; ++i) text += "&e;";
  return text + close;
}

using vk::bench::StatusKilobytes;

// Resets the kernel's peak resident size (VmHWM) to the current size.
void ResetPeak() {
  std::ofstream("/proc/self/clear_refs") << "5";
}

struct Folder {
  std::string path = vk::bench::TempFolder();
  ~Folder() { std::filesystem::remove_all(path); }
  std::u16string File(const std::string& name) const { return vk::FromUtf8(path + "/" + name); }
  void Write(const std::string& name, const std::string& bytes) const {
    std::filesystem::create_directories(std::filesystem::path(path + "/" + name).parent_path());
    std::ofstream(path + "/" + name, std::ios::binary) << bytes;
  }
};

// Times `read` once per iteration after `prepare` (untimed) put the file in place, and
// reports the slowest call and the largest peak memory growth of any call.
void Measure(benchmark::State& state, const std::function<void()>& prepare,
             const std::function<void()>& read) {
  double slowest_ms = 0;
  double largest_mb = 0;
  for (auto _ : state) {
    state.PauseTiming();
    prepare();
    malloc_trim(0);
    ResetPeak();
    const long before = StatusKilobytes("VmRSS:");
    state.ResumeTiming();
    auto start = std::chrono::steady_clock::now();
    read();
    std::chrono::duration<double, std::milli> spent = std::chrono::steady_clock::now() - start;
    state.PauseTiming();
    slowest_ms = std::max(slowest_ms, spent.count());
    largest_mb = std::max(largest_mb, (StatusKilobytes("VmHWM:") - before) / 1024.0);
    state.ResumeTiming();
  }
  state.counters["max_ms"] = slowest_ms;
  state.counters["peak_rss_growth_MB"] = largest_mb;
  state.counters["within_limits"] = slowest_ms < kMaxMilliseconds && largest_mb < kMaxMegabytes;
}

const std::string kGrid =
    Quadratic("UserGrid", "<UserGrid ProVer=\"1\"><User Nick=\"", "\" Grid=\"1\"/></UserGrid>");

void BM_BareLibxml2Parse(benchmark::State& state) {
  Measure(
      state, [] {},
      [] {
        xmlDocPtr doc = xmlReadMemory(kGrid.data(), static_cast<int>(kGrid.size()), nullptr,
                                      nullptr, XML_PARSE_NONET);
        benchmark::DoNotOptimize(doc);
        xmlFreeDoc(doc);
      });
}
BENCHMARK(BM_BareLibxml2Parse)->Unit(benchmark::kMillisecond)->Iterations(20);

void BM_UserGridGet(benchmark::State& state) {
  Folder folder;
  Measure(
      state, [&] { folder.Write("UserGrid.xml", kGrid); },
      [&] {
        CUserGrid* grid = new CUserGrid();
        grid->Initialize(folder.File("UserGrid.xml").c_str(), nullptr);
        LONG value = 0;
        grid->GetGrid(u"zhangsan", &value);
        grid->Release();
      });
}
BENCHMARK(BM_UserGridGet)->Unit(benchmark::kMillisecond)->Iterations(20);

void BM_CompanyGroupImport(benchmark::State& state) {
  Folder folder;
  folder.Write("company.xml", Quadratic("Groups", "<Groups Ver=\"1\"><Group id=\"1\" name=\"",
                                        "\" type=\"0\"/></Groups>", "UTF-8"));
  CWEZGroupStore* store = new CWEZGroupStore();
  store->Initialize(folder.File("Group.dat").c_str(), 1);
  Measure(
      state, [] {}, [&] { store->LoadDataFromXml(folder.File("company.xml").c_str()); });
  store->Release();
}
BENCHMARK(BM_CompanyGroupImport)->Unit(benchmark::kMillisecond)->Iterations(20);

void BM_PortalRead(benchmark::State& state) {
  Folder folder;
  const std::string portal =
      Quadratic("PORTAL", "<PORTAL ver=\"1\"><DeptPortal Enable=\"", "\"/></PORTAL>");
  Measure(
      state, [&] { folder.Write("PortalIcon/EPortal.xml", portal); },
      [&] {
        CPortalStore* store = new CPortalStore();
        store->Initialize(folder.File("PortalIcon/EPortal.xml").c_str(), nullptr);
        BOOL flag = FALSE;
        store->GetDeptPortalEnable(&flag);
        store->Release();
      });
}
BENCHMARK(BM_PortalRead)->Unit(benchmark::kMillisecond)->Iterations(20);

void BM_ItemMerge(benchmark::State& state) {
  Folder folder;
  const std::string target =
      Quadratic("Root", "<Root><Item id=\"1\" Name=\"", "\"/></Root>", "GB2312");
  CWEZItemStore* store = new CWEZItemStore();
  BSTR path = SysAllocString(folder.File("Items.xml").c_str());
  store->Initialize(path);
  SysFreeString(path);
  ItemField field{};
  std::char_traits<char16_t>::copy(field.id, u"f", 2);
  std::char_traits<char16_t>::copy(field.value, u"v", 2);
  store->SetItemFields(u"item", &field, 1);
  Measure(
      state, [&] { folder.Write("Target.xml", target); },
      [&] { store->MergeIntoFile(folder.File("Target.xml").c_str()); });
  store->Release();
}
BENCHMARK(BM_ItemMerge)->Unit(benchmark::kMillisecond)->Iterations(20);

void BM_ProfileCompanion(benchmark::State& state) {
  Folder folder;
  const std::string companion =
      Quadratic("Root", "<Root><ITEM UIN=\"1\" NICK=\"", "\"/></Root>", "GB2312");
  Measure(
      state, [&] { folder.Write("alice/WEZProfile.xml", companion); },
      [&] {
        CWEZProfileStore* store = new CWEZProfileStore();
        store->Initialize(folder.File("alice/WEZProfile.dat").c_str());
        ProfileInfo profile{};
        std::char_traits<char16_t>::copy(profile.nick, u"zhangsan", 9);
        store->GetProfile(&profile);
        store->Release();
      });
}
BENCHMARK(BM_ProfileCompanion)->Unit(benchmark::kMillisecond)->Iterations(20);

void BM_OffMsgIndex(benchmark::State& state) {
  Folder folder;
  vk::ClientRoot* root = new vk::ClientRoot();
  root->SetDataFolder(vk::FromUtf8(folder.path + "/"));
  root->SetAccount(u"bench");
  vk::ModuleSite* site = new vk::ModuleSite(root);
  CLocalOffMsgStore* store = new CLocalOffMsgStore();
  store->Init(static_cast<IModuleSite*>(site));
  store->OpenAccount();
  folder.Write("Accounts/bench/OffMsgFiles/IM/bench.txt", "");
  folder.Write("Accounts/bench/OffMsgFiles/IM/bench.xml",
               Quadratic("OffMsgIndexData", "<OffMsgIndexData DataSum=\"1\"><OffMsgRec MsgID=\"",
                         "\" CreateTime=\"1\" Addr=\"0\" Len=\"0\"/></OffMsgIndexData>"));
  Measure(
      state, [] {},
      [&] {
        LONG count = 0;
        store->GetTotalCount(&count);
        VARIANT list;
        VariantInit(&list);
        store->GetIndexes(&list);
        VariantClear(&list);
      });
  store->Release();
  site->Release();
  root->Release();
}
BENCHMARK(BM_OffMsgIndex)->Unit(benchmark::kMillisecond)->Iterations(20);

}  // namespace

BENCHMARK_MAIN();
