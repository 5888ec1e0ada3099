// The conversation stores at their expected sizes: an offline-message channel of 10,000 and
// of 100,000 records, ten to a conversation (the total, the listing, fetching one message, and
// the memory a deletion takes), and a reply-pending dialog file of 1,000 dialogs (every
// operation reloads and rewrites the file). Each case measures a bare libxml2 (and zlib)
// baseline doing the same file work in the same run. The offline store keeps what it read
// from an index while the file stays the same, so its first call is reported apart.
#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlreader.h>
#include <stdlib.h>
#include <zlib.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "bench/BenchSupport.h"
#include "client/ClientRoot.h"
#include "client/ModuleSite.h"
#include "messages/LocalOffMsgStore.h"
#include "messages/RevertDialogStore.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "samples/OffMsgSamples.h"

namespace {

constexpr int kRecordsPerConversation = 10;
constexpr int kDialogs = 1000;

using vk::bench::MeanNanoseconds;

// The shared scratch folder, as a prefix for file names.
std::string TempFolder() {
  return vk::bench::TempFolder() + "/";
}

// Mean wall time of one loop round; call right after the loop, before the baseline runs.
double PerOp(const benchmark::State& state, std::chrono::steady_clock::time_point start) {
  std::chrono::duration<double, std::nano> spent = std::chrono::steady_clock::now() - start;
  return state.iterations() > 0 ? spent.count() / double(state.iterations()) : 0;
}

void Report(benchmark::State& state, double per_op, double baseline_ns) {
  state.counters["baseline_ms"] = baseline_ns / 1e6;
  state.counters["ratio"] = baseline_ns > 0 ? per_op / baseline_ns : 0;
}

// A client with one account whose IM channel holds `records` sample records.
class OffMsgFixture {
 public:
  explicit OffMsgFixture(int records) : folder_(TempFolder()), root_(new vk::ClientRoot()) {
    root_->SetDataFolder(vk::FromUtf8(folder_));
    root_->SetAccount(u"bench");
    vk::samples::WriteOffMsgChannel(
        vk::FromUtf8(folder_), u"bench", VK_OFFMSG_CHANNEL_IM,
        vk::samples::BuildOffMsgChannel(
            vk::samples::SampleOffMsgRecords(records, records / kRecordsPerConversation)));
    vk::ModuleSite* site = new vk::ModuleSite(root_);
    store_ = new CLocalOffMsgStore();
    store_->Init(static_cast<IModuleSite*>(site));
    store_->OpenAccount();
    site->Release();
  }
  ~OffMsgFixture() {
    store_->Release();
    root_->Release();
    std::filesystem::remove_all(folder_);
  }
  CLocalOffMsgStore* Store() const { return store_; }
  std::string Index() const { return folder_ + "Accounts/bench/OffMsgFiles/IM/bench.xml"; }
  std::string Data() const { return folder_ + "Accounts/bench/OffMsgFiles/IM/bench.txt"; }

 private:
  std::string folder_;
  vk::ClientRoot* root_;
  CLocalOffMsgStore* store_;
};

// Parses the index in GBK and reads `names` of every record (stopping at `stop_at`, when
// given, and decompressing that record's body).
double BareIndexWalk(const std::string& index, const std::string& data, const char* stop_at) {
  std::string bytes = vk::ReadWholeFile(vk::FromUtf8(index)).value_or("");
  std::string bodies = vk::ReadWholeFile(vk::FromUtf8(data)).value_or("");
  return MeanNanoseconds(10, [&](int) {
    xmlDocPtr doc = xmlReadMemory(bytes.data(), int(bytes.size()), nullptr, "GBK",
                                  XML_PARSE_NONET | XML_PARSE_IGNORE_ENC);
    for (xmlNodePtr n = xmlDocGetRootElement(doc)->children; n != nullptr; n = n->next) {
      if (n->type != XML_ELEMENT_NODE) continue;
      xmlChar* id = xmlGetProp(n, BAD_CAST "MsgID");
      bool hit = stop_at != nullptr && xmlStrcmp(id, BAD_CAST stop_at) == 0;
      for (const char* name : {"CreateTime", "SessionDesc", "Recievers", "Title", "Type"}) {
        xmlChar* value = xmlGetProp(n, BAD_CAST name);
        benchmark::DoNotOptimize(vk::FromUtf8(reinterpret_cast<const char*>(value)));
        xmlFree(value);
      }
      xmlFree(id);
      if (hit) {
        xmlChar* addr = xmlGetProp(n, BAD_CAST "Addr");
        xmlChar* len = xmlGetProp(n, BAD_CAST "Len");
        unsigned char out[3600];
        uLongf out_len = sizeof out;
        uncompress(out, &out_len, reinterpret_cast<const Bytef*>(bodies.data()) + atol((char*)addr),
                   uLong(atol((char*)len)));
        xmlFree(addr);
        xmlFree(len);
        break;
      }
    }
    xmlFreeDoc(doc);
  });
}

// Times each round of `call` (the first one apart) and reports the first call and the
// median of the others, in milliseconds.
template <typename Call>
void TimeCalls(benchmark::State& state, Call&& call) {
  std::vector<double> spent;
  for (auto _ : state) {
    auto start = std::chrono::steady_clock::now();
    call();
    spent.push_back(
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
            .count());
  }
  state.counters["first_ms"] = spent.empty() ? 0 : spent.front();
  if (spent.size() > 1) {
    auto middle = spent.begin() + 1 + (spent.size() - 1) / 2;
    std::nth_element(spent.begin() + 1, middle, spent.end());
    state.counters["median_ms"] = *middle;
  }
}

// libxml2's streaming reader on the index, stopped at the root: the least that reads DataSum.
double BareRootRead(const std::string& index) {
  return MeanNanoseconds(50, [&](int) {
    xmlTextReaderPtr reader = xmlReaderForFile(index.c_str(), "GBK", XML_PARSE_NONET);
    while (xmlTextReaderRead(reader) == 1 && xmlTextReaderNodeType(reader) != 1) {
    }
    xmlChar* sum = xmlTextReaderGetAttribute(reader, BAD_CAST "DataSum");
    benchmark::DoNotOptimize(atol(reinterpret_cast<const char*>(sum)));
    xmlFree(sum);
    xmlFreeTextReader(reader);
  });
}

void BM_OffMsgGetTotalCount(benchmark::State& state) {
  OffMsgFixture fixture(static_cast<int>(state.range(0)));
  TimeCalls(state, [&] {
    LONG count = 0;
    fixture.Store()->GetTotalCount(&count);
    benchmark::DoNotOptimize(count);
  });
  Report(state, state.counters["median_ms"] * 1e6, BareRootRead(fixture.Index()));
}
BENCHMARK(BM_OffMsgGetTotalCount)
    ->Arg(10000)
    ->Arg(100000)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(50)
    ->Repetitions(3)
    ->ReportAggregatesOnly(true);

void BM_OffMsgGetIndexes(benchmark::State& state) {
  OffMsgFixture fixture(static_cast<int>(state.range(0)));
  TimeCalls(state, [&] {
    VARIANT list;
    VariantInit(&list);
    fixture.Store()->GetIndexes(&list);
    VariantClear(&list);
  });
  Report(state, state.counters["median_ms"] * 1e6,
         BareIndexWalk(fixture.Index(), fixture.Data(), nullptr));
}
BENCHMARK(BM_OffMsgGetIndexes)
    ->Arg(10000)
    ->Arg(100000)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(20)
    ->Repetitions(3)
    ->ReportAggregatesOnly(true);

// The conversation whose first record comes last among the first records, and an id that
// is not there.
void BM_OffMsgGetOffMsgByID(benchmark::State& state) {
  const int records = static_cast<int>(state.range(0));
  OffMsgFixture fixture(records);
  const bool present = state.range(1) == 0;
  const std::string last = "conv" + std::to_string(records / kRecordsPerConversation - 1);
  const std::u16string id = present ? vk::FromUtf8(last) : u"absent";
  TimeCalls(state, [&] {
    VARIANT list;
    VariantInit(&list);
    fixture.Store()->GetOffMsgByID(id.c_str(), &list);
    VariantClear(&list);
  });
  Report(state, state.counters["median_ms"] * 1e6,
         BareIndexWalk(fixture.Index(), fixture.Data(), present ? last.c_str() : nullptr));
}
BENCHMARK(BM_OffMsgGetOffMsgByID)
    ->ArgsProduct({{10000, 100000}, {0, 1}})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(50)
    ->Repetitions(3)
    ->ReportAggregatesOnly(true);

// Peak resident growth of one deletion of a conversation (ten records), against bare libxml2
// building the index's tree; both also as a multiple of the index's size.
void BM_OffMsgDeleteMemory(benchmark::State& state) {
  const int records = static_cast<int>(state.range(0));
  double store_bytes = 0, bare_bytes = 0, index_bytes = 0;
  int round = 0;
  for (auto _ : state) {
    state.PauseTiming();
    OffMsgFixture fixture(records);
    std::string bytes = vk::ReadWholeFile(vk::FromUtf8(fixture.Index())).value_or("");
    index_bytes = double(bytes.size());
    const std::u16string id = u"conv" + vk::FromUtf8(std::to_string(round++));
    state.ResumeTiming();
    store_bytes = std::max(store_bytes, vk::bench::PeakRssGrowthBytes([&] {
                             fixture.Store()->DeleteOffMsgIndexByID(id.c_str());
                           }));
    state.PauseTiming();
    bare_bytes =
        std::max(bare_bytes, vk::bench::PeakRssGrowthBytes([&] {
                   xmlFreeDoc(xmlReadMemory(bytes.data(), int(bytes.size()), nullptr, "GBK",
                                            XML_PARSE_NONET | XML_PARSE_IGNORE_ENC));
                 }));
    state.ResumeTiming();
  }
  state.counters["index_MB"] = index_bytes / 1e6;
  state.counters["peak_growth_MB"] = store_bytes / 1e6;
  state.counters["baseline_MB"] = bare_bytes / 1e6;
  state.counters["times_index"] = index_bytes > 0 ? store_bytes / index_bytes : 0;
  state.counters["ratio"] = bare_bytes > 0 ? store_bytes / bare_bytes : 0;
}
BENCHMARK(BM_OffMsgDeleteMemory)->Arg(100000)->Unit(benchmark::kMillisecond)->Iterations(3);

// A dialog store on a file of kDialogs dialogs.
class DialogFixture {
 public:
  DialogFixture() : folder_(TempFolder()), root_(new vk::ClientRoot()) {
    ::setenv("VAULTKIT_DATA_ROOT", folder_.c_str(), 1);
    root_->SetAccount(u"bench");
    vk::CreateFolders(vk::FromUtf8(folder_ + "Accounts/bench"));
    store_ = new CRevertDialogStore();
    BSTR path = SysAllocString(vk::FromUtf8(Path()).c_str());
    store_->Initialize(path, static_cast<IClientRoot*>(root_));
    SysFreeString(path);
    for (int i = 0; i < kDialogs; ++i) {
      std::u16string id = u"session" + vk::FromUtf8(std::to_string(i));
      store_->AddDialogWithReceiver(id.c_str(), u"parameter", u"1", u"20261123093000", u"receiver");
    }
  }
  ~DialogFixture() {
    store_->Release();
    root_->Release();
    std::filesystem::remove_all(folder_);
  }
  CRevertDialogStore* Store() const { return store_; }
  std::string Path() const { return folder_ + "Accounts/bench/RevertDialog.xml"; }

 private:
  std::string folder_;
  vk::ClientRoot* root_;
  CRevertDialogStore* store_;
};

// Parse the file and, for `write`, save it beside itself: what one operation must do.
double BareReloadRewrite(const std::string& path, bool write) {
  std::string copy = path + ".bare";
  return MeanNanoseconds(20, [&](int) {
    xmlDocPtr doc = xmlReadFile(path.c_str(), nullptr, XML_PARSE_NONET);
    if (write) xmlSaveFileEnc(copy.c_str(), doc, "GB2312");
    xmlFreeDoc(doc);
  });
}

enum DialogOp { kFindLast, kGetDialogs, kSetSwitch, kAddRemove };

void BM_DialogOperation(benchmark::State& state) {
  DialogFixture fixture;
  CRevertDialogStore* store = fixture.Store();
  std::vector<RevertDialogInfo> records(kDialogs);
  auto op = static_cast<DialogOp>(state.range(0));
  auto start = std::chrono::steady_clock::now();
  for (auto _ : state) {
    int16_t flag = 0;
    switch (op) {
      case kFindLast:
        store->FindDialog(u"session999", &flag);
        break;
      case kGetDialogs:
        store->GetDialogs(records.data(), kDialogs);
        break;
      case kSetSwitch:
        store->SetRCARight(1);
        break;
      case kAddRemove:  // two operations per round
        store->AddDialog(u"extra", u"p", u"m", u"t");
        store->RemoveDialog(u"extra");
        break;
    }
    benchmark::DoNotOptimize(flag);
  }
  double per_op = PerOp(state, start);
  bool writes = op == kSetSwitch || op == kAddRemove;
  Report(state, per_op, BareReloadRewrite(fixture.Path(), writes) * (op == kAddRemove ? 2 : 1));
}
BENCHMARK(BM_DialogOperation)
    ->ArgName("op")
    ->DenseRange(kFindLast, kAddRemove)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(3)
    ->ReportAggregatesOnly(true);

}  // namespace

BENCHMARK_MAIN();
