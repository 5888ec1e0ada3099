// The item store with 10,000 items of five fields and the mobile profile store with 10,000
// entries: the operations a client calls most, each against bare libxml2 doing the same
// lookups on the same file in the same run. AddItem's case-insensitive walk over every entry
// is measured at several entry counts to show how it grows.
#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <libxml/xpath.h>
#include <stdlib.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "bench/BenchSupport.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "profiles/MobileProfileStore.h"
#include "profiles/WEZItemStore.h"
#include "storage/FixedField.h"

namespace {

using vk::bench::BareXPathNanoseconds;
using vk::bench::MeanNanoseconds;
using vk::bench::TempFolder;

constexpr int kEntries = 10000;
constexpr int kFieldsPerItem = 5;

std::string Name(int i) {
  return "buddy" + std::to_string(i);
}

// The position a lookup visits in round i: spread over the whole file.
int Spread(int i, int entries = kEntries) {
  return static_cast<int>((static_cast<long long>(i) * 7919) % entries);
}

std::u16string WriteFile(const std::string& folder, const char* name, const std::string& body) {
  std::u16string path = vk::FromUtf8(folder + "/" + name);
  vk::WriteFileAtomically(path,
                          "<?xml version=\"1.0\" encoding=\"GB2312\"?><Root>" + body + "</Root>");
  return path;
}

std::u16string MakeItemFile(const std::string& folder) {
  std::string body;
  for (int i = 0; i < kEntries; ++i) {
    body += "<Item Name=\"" + Name(i) + "\">";
    for (int f = 0; f < kFieldsPerItem; ++f) {
      body += "<Field id=\"f" + std::to_string(f) + "\">value" + std::to_string(i) + "</Field>";
    }
    body += "</Item>";
  }
  return WriteFile(folder, "WEZExtBuddy.xml", body);
}

std::u16string MakeMobileFile(const std::string& folder, int entries) {
  std::string body;
  for (int i = 0; i < entries; ++i) {
    body += "<ITEM Name=\"" + Name(i) + "\" GID=\"1\" Number=\"138" + std::to_string(i) +
            "\" ZPNO=\"\" INFO=\"\"/>";
  }
  return WriteFile(folder, "MobileProfile.xml", body);
}

// Nanoseconds per iteration of the loop that began at `start`; call right after the loop.
double PerIteration(const benchmark::State& state, std::chrono::steady_clock::time_point start) {
  std::chrono::duration<double, std::nano> spent = std::chrono::steady_clock::now() - start;
  return state.iterations() > 0 ? spent.count() / double(state.iterations()) : 0;
}

void ReportBaseline(benchmark::State& state, double per_op, double baseline_ns) {
  state.counters["baseline_ns"] = baseline_ns;
  state.counters["ratio"] = baseline_ns > 0 ? per_op / baseline_ns : 0;
}

std::string ItemExpression(int i) {
  return "./Item[@Name = \"" + Name(i) + "\"]";
}

CWEZItemStore* OpenItems(const std::u16string& path) {
  auto* store = new CWEZItemStore();
  BSTR text = SysAllocString(path.c_str());
  store->Initialize(text);
  SysFreeString(text);
  return store;
}

void BM_ItemSetFields(benchmark::State& state) {
  std::string folder = TempFolder();
  std::u16string path = MakeItemFile(folder);
  CWEZItemStore* store = OpenItems(path);
  ItemField fields[kFieldsPerItem] = {};
  for (int f = 0; f < kFieldsPerItem; ++f) {
    vk::CopyToField(fields[f].id, vk::FromUtf8("f" + std::to_string(f)));
    vk::CopyToField(fields[f].value, u"changed");
  }
  int i = 0;
  auto start = std::chrono::steady_clock::now();
  for (auto _ : state) {
    store->SetItemFields(vk::FromUtf8(Name(Spread(i++))).c_str(), fields, kFieldsPerItem);
  }
  // Baseline: the same lookups, the item once and then item and field per record.
  double per_op = PerIteration(state, start);
  ReportBaseline(state, per_op, BareXPathNanoseconds(path, 20, [](int n) {
                   std::vector<std::string> all{ItemExpression(Spread(n))};
                   for (int f = 0; f < kFieldsPerItem; ++f) {
                     all.push_back(ItemExpression(Spread(n)));
                     all.push_back(ItemExpression(Spread(n)) + "//Field[@id = \"f" +
                                   std::to_string(f) + "\"]");
                   }
                   return all;
                 }));
  store->Release();
  std::filesystem::remove_all(folder);
}
BENCHMARK(BM_ItemSetFields)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true)
    ->Unit(benchmark::kMicrosecond);

void BM_ItemGetFields(benchmark::State& state) {
  std::string folder = TempFolder();
  std::u16string path = MakeItemFile(folder);
  CWEZItemStore* store = OpenItems(path);
  int i = 0;
  auto start = std::chrono::steady_clock::now();
  for (auto _ : state) {
    // As a client calls it: the count sizes the array.
    std::u16string name = vk::FromUtf8(Name(Spread(i++)));
    LONG count = 0, written = 0;
    store->GetItemFieldCount(name.c_str(), &count);
    std::vector<ItemField> fields(static_cast<size_t>(count));
    store->GetItemFields(name.c_str(), fields.data(), &written);
    benchmark::DoNotOptimize(fields.data());
  }
  // Baseline: the count's expression and one item lookup.
  double per_op = PerIteration(state, start);
  ReportBaseline(state, per_op, BareXPathNanoseconds(path, 50, [](int n) {
                   std::string name = Name(Spread(n));
                   return std::vector<std::string>{"./Item[@Name=\"" + name + "\"]//Field",
                                                   ItemExpression(Spread(n))};
                 }));
  store->Release();
  std::filesystem::remove_all(folder);
}
BENCHMARK(BM_ItemGetFields)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true)
    ->Unit(benchmark::kMicrosecond);

std::string MobileExpression(int i) {
  return "./ITEM[translate(@Name, '1234567890ABCDEFGHIJKLMNOPQRSTUVWXYZ', "
         "'1234567890abcdefghijklmnopqrstuvwxyz') = '" +
         Name(i) + "']";
}

void BM_MobileGetItem(benchmark::State& state) {
  std::string folder = TempFolder();
  std::u16string path = MakeMobileFile(folder, kEntries);
  auto* store = new CMobileProfileStore();
  store->Initialize(path.c_str());
  int i = 0;
  auto start = std::chrono::steady_clock::now();
  for (auto _ : state) {
    MobileProfileItem item{};
    store->GetItem(vk::FromUtf8(Name(Spread(i++))).c_str(), &item);
    benchmark::DoNotOptimize(item);
  }
  double per_op = PerIteration(state, start);
  ReportBaseline(state, per_op, BareXPathNanoseconds(path, 50, [](int n) {
                   return std::vector<std::string>{MobileExpression(Spread(n))};
                 }));
  store->Release();
  std::filesystem::remove_all(folder);
}
BENCHMARK(BM_MobileGetItem)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true)
    ->Unit(benchmark::kMicrosecond);

// Bare libxml2 doing AddItem's work: read every entry's name, compare it without case, then
// append one element.
double BareAddNanoseconds(const std::u16string& path) {
  xmlDocPtr doc = xmlReadFile(vk::PathToNative(path).c_str(), nullptr, XML_PARSE_NONET);
  xmlNodePtr root = xmlDocGetRootElement(doc);
  double ns = MeanNanoseconds(20, [&](int i) {
    std::string wanted = "new" + std::to_string(i);
    bool taken = false;
    for (xmlNodePtr child = root->children; child != nullptr && child->type == XML_ELEMENT_NODE;
         child = child->next) {
      xmlChar* name = xmlGetProp(child, reinterpret_cast<const xmlChar*>("Name"));
      if (name != nullptr &&
          xmlStrcasecmp(name, reinterpret_cast<const xmlChar*>(wanted.c_str())) == 0) {
        taken = true;
      }
      xmlFree(name);
    }
    benchmark::DoNotOptimize(taken);
    xmlNodePtr entry =
        xmlNewChild(root, nullptr, reinterpret_cast<const xmlChar*>("ITEM"), nullptr);
    xmlSetProp(entry, reinterpret_cast<const xmlChar*>("Name"),
               reinterpret_cast<const xmlChar*>(wanted.c_str()));
    xmlUnlinkNode(entry);
    xmlFreeNode(entry);
  });
  xmlFreeDoc(doc);
  return ns;
}

void BM_MobileAddItem(benchmark::State& state) {
  const int entries = static_cast<int>(state.range(0));
  std::string folder = TempFolder();
  std::u16string path = MakeMobileFile(folder, entries);
  auto* store = new CMobileProfileStore();
  store->Initialize(path.c_str());
  int i = 0;
  double spent_ns = 0;
  for (auto _ : state) {
    MobileProfileItem item{};
    vk::CopyToField(item.Name, vk::FromUtf8("new" + std::to_string(i++)));
    auto start = std::chrono::steady_clock::now();
    store->AddItem(&item);
    spent_ns +=
        std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count();
    // The entry goes again so that every round sees the same count (untimed).
    state.PauseTiming();
    store->DeleteItem(item.Name);
    state.ResumeTiming();
  }
  double per_op = state.iterations() > 0 ? spent_ns / double(state.iterations()) : 0;
  ReportBaseline(state, per_op, BareAddNanoseconds(path));
  state.counters["ns_per_entry"] = per_op / entries;
  state.SetComplexityN(entries);
  store->Release();
  std::filesystem::remove_all(folder);
}
// A fixed number of rounds: the untimed removal after each fast addition would otherwise
// make the library run the loop far longer than the timed part suggests.
BENCHMARK(BM_MobileAddItem)
    ->Arg(1250)
    ->Arg(2500)
    ->Arg(5000)
    ->Arg(10000)
    ->Iterations(2000)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true)
    ->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
