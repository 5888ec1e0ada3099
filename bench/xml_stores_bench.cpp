// The versioned XML stores with 10,000 entries: lookups, updates and Close after one change,
// each against a bare libxml2 baseline doing the same work, measured in the same run.
#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <libxml/xpath.h>
#include <stdlib.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "bench/BenchSupport.h"
#include "org/DeptLeader.h"
#include "org/KeyDepts.h"
#include "org/UserGrid.h"
#include "platform/Files.h"
#include "platform/Text.h"

namespace {

using vk::bench::BareXPathNanoseconds;
using vk::bench::MeanNanoseconds;
using vk::bench::TempFolder;

constexpr int kEntries = 10000;

std::u16string Nick(int i) {
  return u"user" + vk::FromUtf8(std::to_string(i));
}

// A grid file with kEntries users, written through the store itself.
std::u16string MakeGridFile(const std::string& folder) {
  std::u16string path = vk::FromUtf8(folder + "/UserGrid.xml");
  CUserGrid* grid = new CUserGrid();
  grid->Initialize(path.c_str(), nullptr);
  for (int i = 0; i < kEntries; ++i) grid->SetGrid(Nick(i).c_str(), i);
  grid->Close();
  grid->Release();
  return path;
}

// Times the benchmark loop itself so the ratio to the baseline can be reported per run.
class LoopTimer {
 public:
  LoopTimer() : start_(std::chrono::steady_clock::now()) {}
  // Call right after the loop: the baseline is measured afterwards.
  double Stop(const benchmark::State& state) const {
    std::chrono::duration<double, std::nano> spent = std::chrono::steady_clock::now() - start_;
    return state.iterations() > 0 ? spent.count() / static_cast<double>(state.iterations()) : 0;
  }
  static void Report(benchmark::State& state, double per_op, double baseline_ns) {
    state.counters["baseline_ns"] = baseline_ns;
    state.counters["ratio"] = baseline_ns > 0 ? per_op / baseline_ns : 0;
  }

 private:
  std::chrono::steady_clock::time_point start_;
};

// The bare libxml2 lookup the store's GetGrid does: one XPath selection on the document.
double BareLookupNanoseconds(const std::u16string& path) {
  return BareXPathNanoseconds(path, 200, [](int i) {
    return std::vector<std::string>{"/UserGrid//User[@Nick=\"" +
                                    vk::ToUtf8(Nick((i * 7919) % kEntries)) + "\"]"};
  });
}

void BM_UserGridLookup(benchmark::State& state) {
  std::string folder = TempFolder();
  std::u16string path = MakeGridFile(folder);
  CUserGrid* grid = new CUserGrid();
  grid->Initialize(path.c_str(), nullptr);
  int i = 0;
  LoopTimer timer;
  for (auto _ : state) {
    LONG value = 0;
    grid->GetGrid(Nick((i++ * 7919) % kEntries).c_str(), &value);
    benchmark::DoNotOptimize(value);
  }
  double per_op = timer.Stop(state);
  LoopTimer::Report(state, per_op, BareLookupNanoseconds(path));
  grid->Release();
  std::filesystem::remove_all(folder);
}
BENCHMARK(BM_UserGridLookup)->Repetitions(5)->ReportAggregatesOnly(true);

void BM_UserGridUpdate(benchmark::State& state) {
  std::string folder = TempFolder();
  std::u16string path = MakeGridFile(folder);
  CUserGrid* grid = new CUserGrid();
  grid->Initialize(path.c_str(), nullptr);
  int i = 0;
  LoopTimer timer;
  for (auto _ : state) {
    grid->SetGrid(Nick((i * 7919) % kEntries).c_str(), i);
    ++i;
  }
  // The bare lookup is the baseline: an update is a lookup plus one attribute change.
  double per_op = timer.Stop(state);
  LoopTimer::Report(state, per_op, BareLookupNanoseconds(path));
  grid->Release();
  std::filesystem::remove_all(folder);
}
BENCHMARK(BM_UserGridUpdate)->Repetitions(5)->ReportAggregatesOnly(true);

// A key departments store with kEntries users of three departments each.
CKeyDepts* MakeKeyDepts(const std::string& folder) {
  std::u16string path = vk::FromUtf8(folder + "/KeyDepts.xml");
  CKeyDepts* keys = new CKeyDepts();
  keys->Initialize(path.c_str(), nullptr);
  for (int i = 0; i < kEntries; ++i) {
    ULONG ids[3] = {ULONG(i), ULONG(i + 1), ULONG(i + 2)};
    LONG count = 3;
    keys->SetKeyDepts(Nick(i).c_str(), ids, &count);
  }
  return keys;
}

void BM_KeyDeptsLookup(benchmark::State& state) {
  std::string folder = TempFolder();
  CKeyDepts* keys = MakeKeyDepts(folder);
  int i = 0;
  for (auto _ : state) {
    ULONG ids[4];
    LONG count = 4;
    keys->GetKeyDepts(Nick((i++ * 7919) % kEntries).c_str(), ids, &count);
    benchmark::DoNotOptimize(ids);
  }
  keys->Release();
  std::filesystem::remove_all(folder);
}
BENCHMARK(BM_KeyDeptsLookup)->Repetitions(5)->ReportAggregatesOnly(true);

void BM_KeyDeptsUpdate(benchmark::State& state) {
  std::string folder = TempFolder();
  CKeyDepts* keys = MakeKeyDepts(folder);
  int i = 0;
  for (auto _ : state) {
    ULONG ids[3] = {ULONG(i), ULONG(i + 7), ULONG(i + 9)};
    LONG count = 3;
    keys->SetKeyDepts(Nick((i++ * 7919) % kEntries).c_str(), ids, &count);
  }
  keys->Release();
  std::filesystem::remove_all(folder);
}
BENCHMARK(BM_KeyDeptsUpdate)->Repetitions(5)->ReportAggregatesOnly(true);

// A leader file with kEntries departments, as the server's answers leave it.
std::u16string MakeLeaderFile(const std::string& folder) {
  std::string text = "<?xml version=\"1.0\" encoding=\"gb2312\"?><Leader ProVer=\"0\">";
  for (int i = 0; i < kEntries; ++i) {
    text += "<Dept id=\"" + std::to_string(i) + "\" Leader=\"" + std::to_string(10000 + i) +
            "\" Version=\"1\"/>";
  }
  text += "</Leader>";
  std::u16string path = vk::FromUtf8(folder + "/Leader.xml");
  vk::WriteFileAtomically(path, text);
  return path;
}

void BM_DeptLeaderLookup(benchmark::State& state) {
  std::string folder = TempFolder();
  std::u16string path = MakeLeaderFile(folder);
  CDeptLeader* leaders = new CDeptLeader();
  leaders->Initialize(path.c_str(), nullptr);
  int i = 0;
  for (auto _ : state) {
    LONG leader = 0;
    leaders->GetLeader((i++ * 7919) % kEntries, &leader);
    benchmark::DoNotOptimize(leader);
  }
  leaders->Release();
  std::filesystem::remove_all(folder);
}
BENCHMARK(BM_DeptLeaderLookup)->Repetitions(5)->ReportAggregatesOnly(true);

void BM_DeptLeaderUpdate(benchmark::State& state) {
  std::string folder = TempFolder();
  std::u16string path = MakeLeaderFile(folder);
  CDeptLeader* leaders = new CDeptLeader();
  leaders->Initialize(path.c_str(), nullptr);
  ULONG version = 2;
  int i = 0;
  for (auto _ : state) {
    leaders->SetLeader((i * 7919) % kEntries, version++, i);
    ++i;
  }
  leaders->Release();
  std::filesystem::remove_all(folder);
}
BENCHMARK(BM_DeptLeaderUpdate)->Repetitions(5)->ReportAggregatesOnly(true);

// The bare libxml2 save the store's Close does: serialise in GB2312 and write atomically.
double BareSaveNanoseconds(const std::u16string& path) {
  xmlDocPtr doc = xmlReadFile(vk::PathToNative(path).c_str(), nullptr, XML_PARSE_NONET);
  double ns = vk::bench::MeanNanoseconds(20, [&](int) {
    xmlChar* bytes = nullptr;
    int size = 0;
    xmlDocDumpFormatMemoryEnc(doc, &bytes, &size, "gb2312", 0);
    vk::WriteFileAtomically(path, std::string_view(reinterpret_cast<char*>(bytes), size));
    xmlFree(bytes);
  });
  xmlFreeDoc(doc);
  return ns;
}

void BM_UserGridCloseAfterOneChange(benchmark::State& state) {
  std::string folder = TempFolder();
  std::u16string path = MakeGridFile(folder);
  CUserGrid* grid = new CUserGrid();
  grid->Initialize(path.c_str(), nullptr);
  int i = 0;
  LoopTimer timer;
  for (auto _ : state) {
    grid->SetGrid(u"user42", i++);
    grid->Close();
  }
  double per_op = timer.Stop(state);
  LoopTimer::Report(state, per_op, BareSaveNanoseconds(path));
  grid->Release();
  std::filesystem::remove_all(folder);
}
BENCHMARK(BM_UserGridCloseAfterOneChange)->Repetitions(5)->ReportAggregatesOnly(true);

}  // namespace

BENCHMARK_MAIN();
