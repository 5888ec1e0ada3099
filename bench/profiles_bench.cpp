// The profile store with 5,000 records: GetProfile, SetProfile, and Close after one change
// (the whole document serialised, enciphered and written). The lookups' baseline is bare
// libxml2 evaluating the same expression on the same document; Close's is a bare serialise
// and atomic write of that document without the cipher. Both are measured in the same run.
#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <libxml/xpath.h>
#include <stdlib.h>

#include <chrono>
#include <filesystem>
#include <string>

#include "bench/BenchSupport.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "profiles/WEZProfileStore.h"
#include "storage/EncipheredFile.h"
#include "storage/FixedField.h"

namespace {

constexpr int kRecords = 5000;

std::u16string Nick(int i) {
  return u"User" + vk::FromUtf8(std::to_string(i));
}

ProfileInfo Profile(int i) {
  ProfileInfo p{};
  p.uin = 100000 + i;
  vk::FillField(p.nick, Nick(i));
  vk::FillField(p.name, u"张三" + vk::FromUtf8(std::to_string(i)));
  vk::FillField(p.email, Nick(i) + u"@example.cn");
  p.gender = static_cast<BYTE>(i % 3);
  return p;
}

// An account folder whose WEZProfile.dat holds kRecords profiles, written by the store.
struct ProfileFile {
  ProfileFile() {
    std::string pattern = std::filesystem::temp_directory_path().string() + "/vk-bench-XXXXXX";
    if (::mkdtemp(pattern.data()) == nullptr) abort();
    folder = pattern;
    std::filesystem::create_directories(folder + "/alice");
    path = vk::FromUtf8(folder + "/alice/WEZProfile.dat");
    CWEZProfileStore* store = Open();
    for (int i = 0; i < kRecords; ++i) {
      ProfileInfo p = Profile(i);
      store->SetProfile(&p);
    }
    store->Release();
  }
  ~ProfileFile() { std::filesystem::remove_all(folder); }
  CWEZProfileStore* Open() const {
    auto* store = new CWEZProfileStore();
    store->Initialize(path.c_str());
    return store;
  }
  // The store's document, parsed by bare libxml2 from the deciphered text.
  xmlDocPtr BareDocument() const {
    std::string text =
        vk::ToUtf8(vk::PlainAsUtf16(*vk::DecipherFile(*vk::ReadWholeFile(path), path)));
    return xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, "UTF-8",
                         XML_PARSE_NONET | XML_PARSE_IGNORE_ENC | XML_PARSE_NOBLANKS);
  }

  std::string folder;
  std::u16string path;
};

// Nanoseconds per iteration of the loop that began at `start`; call right after the loop, before
// the baseline is measured.
double PerIteration(const benchmark::State& state, std::chrono::steady_clock::time_point start) {
  std::chrono::duration<double, std::nano> spent = std::chrono::steady_clock::now() - start;
  return spent.count() / static_cast<double>(state.iterations());
}

void Report(benchmark::State& state, double per_op, double baseline_ns) {
  state.counters["baseline_ns"] = baseline_ns;
  state.counters["ratio"] = per_op / baseline_ns;
}

// The store's lookup expression, evaluated by bare libxml2 from the document element.
double BareLookupNanoseconds(const ProfileFile& file) {
  xmlDocPtr doc = file.BareDocument();
  double ns = vk::bench::BareXPathNanoseconds(doc, 200, [](int i) -> std::string {
    return "/Root//ITEM[translate(@NICK, 'ABCDEFGHIJKLMNOPQRSTUVWXYZ', "
           "'abcdefghijklmnopqrstuvwxyz') = '" +
           vk::ToUtf8(vk::WideToLower(Nick((i * 7919) % kRecords))) + "']";
  });
  xmlFreeDoc(doc);
  return ns;
}

void BM_GetProfile(benchmark::State& state) {
  ProfileFile file;
  CWEZProfileStore* store = file.Open();
  int i = 0;
  auto start = std::chrono::steady_clock::now();
  for (auto _ : state) {
    ProfileInfo p{};
    vk::FillField(p.nick, Nick((i++ * 7919) % kRecords));
    benchmark::DoNotOptimize(store->GetProfile(&p));
  }
  double per_op = PerIteration(state, start);
  Report(state, per_op, BareLookupNanoseconds(file));
  store->Release();
}
BENCHMARK(BM_GetProfile)->Repetitions(5)->ReportAggregatesOnly(true);

// Replacing a record: the store's own deletion (two lookups, one removal) and an append.
void BM_SetProfile(benchmark::State& state) {
  ProfileFile file;
  CWEZProfileStore* store = file.Open();
  int i = 0;
  auto start = std::chrono::steady_clock::now();
  for (auto _ : state) {
    ProfileInfo p = Profile((i++ * 7919) % kRecords);
    benchmark::DoNotOptimize(store->SetProfile(&p));
  }
  double per_op = PerIteration(state, start);
  Report(state, per_op, BareLookupNanoseconds(file));
  store->Release();
}
BENCHMARK(BM_SetProfile)->Repetitions(5)->ReportAggregatesOnly(true);

// Close after one change: the whole document serialised, enciphered and written atomically.
void BM_CloseAfterOneChange(benchmark::State& state) {
  ProfileFile file;
  CWEZProfileStore* store = file.Open();
  int i = 0;
  auto start = std::chrono::steady_clock::now();
  for (auto _ : state) {
    ProfileInfo p = Profile(i++ % kRecords);
    store->SetProfile(&p);
    store->Close();
  }
  double per_op = PerIteration(state, start);
  xmlDocPtr doc = file.BareDocument();
  std::u16string plain_path = vk::FromUtf8(file.folder + "/alice/plain.xml");
  double bare = vk::bench::MeanNanoseconds(20, [&](int) {
    xmlChar* bytes = nullptr;
    int size = 0;
    xmlDocDumpMemoryEnc(doc, &bytes, &size, "UTF-16LE");
    vk::WriteFileAtomically(plain_path, std::string_view(reinterpret_cast<char*>(bytes), size));
    xmlFree(bytes);
  });
  xmlFreeDoc(doc);
  Report(state, per_op, bare);
  store->Release();
}
BENCHMARK(BM_CloseAfterOneChange)->Repetitions(5)->ReportAggregatesOnly(true);

}  // namespace

BENCHMARK_MAIN();
