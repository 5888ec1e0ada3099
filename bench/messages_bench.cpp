// The conversation stores at their expected sizes: an offline-message channel of 10,000
// records in 1,000 conversations (listing and fetching one message), and a reply-pending
// dialog file of 1,000 dialogs (every operation reloads and rewrites the file). Each case
// measures a bare libxml2 (and zlib) baseline doing the same file work in the same run.
#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <stdlib.h>
#include <zlib.h>

#include <chrono>
#include <filesystem>
#include <string>

#include "bench/BenchSupport.h"
#include "client/ClientRoot.h"
#include "client/ModuleSite.h"
#include "messages/LocalOffMsgStore.h"
#include "messages/RevertDialogStore.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "samples/OffMsgSamples.h"

namespace {

constexpr int kRecords = 10000;
constexpr int kConversations = 1000;
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

// A client with one account whose IM channel holds the sample records.
class OffMsgFixture {
 public:
  OffMsgFixture() : folder_(TempFolder()), root_(new vk::ClientRoot()) {
    root_->SetDataFolder(vk::FromUtf8(folder_));
    root_->SetAccount(u"bench");
    vk::samples::WriteOffMsgChannel(
        vk::FromUtf8(folder_), u"bench", VK_OFFMSG_CHANNEL_IM,
        vk::samples::BuildOffMsgChannel(
            vk::samples::SampleOffMsgRecords(kRecords, kConversations)));
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

void BM_OffMsgGetIndexes(benchmark::State& state) {
  OffMsgFixture fixture;
  auto start = std::chrono::steady_clock::now();
  for (auto _ : state) {
    VARIANT list;
    VariantInit(&list);
    fixture.Store()->GetIndexes(&list);
    VariantClear(&list);
  }
  double per_op = PerOp(state, start);
  Report(state, per_op, BareIndexWalk(fixture.Index(), fixture.Data(), nullptr));
}
BENCHMARK(BM_OffMsgGetIndexes)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(3)
    ->ReportAggregatesOnly(true);

// The conversation whose first record comes last among the first records, and an id that
// is not there (the whole index is walked).
void BM_OffMsgGetOffMsgByID(benchmark::State& state) {
  OffMsgFixture fixture;
  const char16_t* id = state.range(0) == 0 ? u"conv999" : u"absent";
  auto start = std::chrono::steady_clock::now();
  for (auto _ : state) {
    VARIANT list;
    VariantInit(&list);
    fixture.Store()->GetOffMsgByID(id, &list);
    VariantClear(&list);
  }
  double per_op = PerOp(state, start);
  Report(state, per_op,
         BareIndexWalk(fixture.Index(), fixture.Data(), state.range(0) == 0 ? "conv999" : nullptr));
}
BENCHMARK(BM_OffMsgGetOffMsgByID)
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(3)
    ->ReportAggregatesOnly(true);

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
