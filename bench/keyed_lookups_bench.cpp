// The stores' keyed operations at 10,000 and 100,000 entries, each against bare libxml2
// evaluating the same XPath on the same file in the same run (baseline_ns, ratio = store /
// baseline). The first lookup of a store builds its index and is reported apart
// (first_lookup_us); the timed loop is what every later call costs. The mixed sequences run
// 10,000 alternating updates and lookups (sequence_ms); their baseline is 10,000 bare lookups,
// extrapolated from a few.
#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <libxml/xpath.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "bench/BenchSupport.h"
#include "org/DeptLeader.h"
#include "org/KeyDepts.h"
#include "org/UserGrid.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "profiles/MobileProfileStore.h"
#include "profiles/WEZItemStore.h"
#include "profiles/WEZProfileProStore.h"
#include "profiles/WEZProfileStore.h"
#include "storage/EncipheredFile.h"
#include "storage/FixedField.h"

namespace {

using Clock = std::chrono::steady_clock;
using Expressions = std::function<std::vector<std::string>(int)>;

constexpr int kRounds = 2000;
constexpr int kSequence = 10000;
constexpr int kFields = 5;
const char kTranslate[] = "'ABCDEFGHIJKLMNOPQRSTUVWXYZ', 'abcdefghijklmnopqrstuvwxyz'";

int Spread(int i, int n) {
  return static_cast<int>(static_cast<long long>(i) * 7919 % n);
}
std::string Key(int i) {
  return "user" + std::to_string(i);
}
std::u16string WideKey(int i) {
  return vk::FromUtf8(Key(i));
}
double MicrosecondsSince(Clock::time_point start) {
  return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

// The prepared files, one per kind and size, made once per run in one scratch folder.
class Files {
 public:
  ~Files() { std::filesystem::remove_all(folder_); }
  static const std::u16string& Get(const std::string& kind, int n,
                                   void (*make)(const std::u16string&, int)) {
    static Files files;
    std::u16string& path = files.paths_[kind + std::to_string(n)];
    if (path.empty()) {
      std::string folder = files.folder_ + "/" + kind + std::to_string(n) + "/alice";
      std::filesystem::create_directories(folder);
      path = vk::FromUtf8(folder + "/" + kind);
      make(path, n);
    }
    return path;
  }

 private:
  std::string folder_ = vk::bench::TempFolder();
  std::map<std::string, std::u16string> paths_;
};

void MakeGrid(const std::u16string& path, int n) {
  auto* grid = new CUserGrid();
  grid->Initialize(path.c_str(), nullptr);
  for (int i = 0; i < n; ++i) grid->SetGrid(WideKey(i).c_str(), i);
  grid->Release();
}

void MakeKeyDepts(const std::u16string& path, int n) {
  auto* keys = new CKeyDepts();
  keys->Initialize(path.c_str(), nullptr);
  for (int i = 0; i < n; ++i) {
    ULONG ids[3] = {ULONG(i), ULONG(i + 1), ULONG(i + 2)};
    LONG count = 3;
    keys->SetKeyDepts(WideKey(i).c_str(), ids, &count);
  }
  keys->Release();
}

void WriteRoot(const std::u16string& path, const std::string& root, const std::string& body) {
  vk::WriteFileAtomically(path, "<?xml version=\"1.0\" encoding=\"gb2312\"?><" + root + ">" + body +
                                    "</" + root.substr(0, root.find(' ')) + ">");
}

void MakeLeader(const std::u16string& path, int n) {
  std::string body;
  for (int i = 0; i < n; ++i) {
    body += "<Dept id=\"" + std::to_string(i) + "\" Leader=\"" + std::to_string(10000 + i) +
            "\" Version=\"1\"/>";
  }
  WriteRoot(path, "Leader ProVer=\"0\"", body);
}

void MakeMobile(const std::u16string& path, int n) {
  std::string body;
  for (int i = 0; i < n; ++i) {
    body += "<ITEM Name=\"" + Key(i) + "\" GID=\"1\" Number=\"138" + std::to_string(i) +
            "\" ZPNO=\"\" INFO=\"\"/>";
  }
  WriteRoot(path, "Root", body);
}

void MakeItems(const std::u16string& path, int n) {
  std::string body;
  for (int i = 0; i < n; ++i) {
    body += "<Item Name=\"" + Key(i) + "\">";
    for (int f = 0; f < kFields; ++f) {
      body += "<Field id=\"f" + std::to_string(f) + "\">value" + std::to_string(i) + "</Field>";
    }
    body += "</Item>";
  }
  WriteRoot(path, "Root", body);
}

ProfileInfo Profile(int i) {
  ProfileInfo p{};
  p.uin = 100000 + i;
  vk::FillField(p.nick, u"User" + vk::FromUtf8(std::to_string(i)));  // found folded
  vk::FillField(p.name, u"张三");
  p.version = i;
  return p;
}

void MakeProfiles(const std::u16string& path, int n) {
  auto* store = new CWEZProfileStore();
  store->Initialize(path.c_str());
  for (int i = 0; i < n; ++i) {
    ProfileInfo p = Profile(i);
    store->SetProfile(&p);
  }
  store->Release();
}

void MakeBuddies(const std::u16string& path, int n) {
  auto* store = new CWEZProfileProStore();
  BSTR text = SysAllocString(path.c_str());
  store->Initialize(text);
  SysFreeString(text);
  BuddyField fields[kFields] = {};
  for (int f = 0; f < kFields; ++f)
    vk::FillField(fields[f].name, u"f" + vk::FromUtf8(std::to_string(f)));
  for (int i = 0; i < n; ++i) {
    for (BuddyField& field : fields) vk::FillField(field.value, WideKey(i));
    store->SetBuddyFields(WideKey(i).c_str(), fields, kFields);
  }
  store->Release();
}

// The file's document as bare libxml2 reads it (deciphered first when it is enciphered).
xmlDocPtr BareDocument(const std::u16string& path) {
  std::string bytes = *vk::ReadWholeFile(path);
  if (path.ends_with(u".dat")) {
    std::string text = vk::ToUtf8(vk::PlainAsUtf16(*vk::DecipherFile(bytes, path)));
    return xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, "UTF-8",
                         XML_PARSE_NONET | XML_PARSE_IGNORE_ENC | XML_PARSE_NOBLANKS);
  }
  return xmlReadMemory(bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr,
                       XML_PARSE_NONET | XML_PARSE_NOBLANKS);
}

// Bare libxml2 on the file, measured once per benchmark and size in this run.
double BaselineNanoseconds(const std::string& name, const std::u16string& path, int n,
                           const Expressions& expressions) {
  static std::map<std::string, double> measured;
  auto [at, fresh] = measured.try_emplace(name + std::to_string(n), 0.0);
  if (fresh) {
    xmlDocPtr doc = BareDocument(path);
    at->second = vk::bench::BareXPathNanoseconds(doc, n >= 100000 ? 4 : 20, expressions);
    xmlFreeDoc(doc);
  }
  return at->second;
}

template <typename Store>
Store* Open(const std::u16string& path) {
  auto* store = new Store();
  if constexpr (std::is_same_v<Store, CWEZProfileProStore> ||
                std::is_same_v<Store, CWEZItemStore>) {
    BSTR text = SysAllocString(path.c_str());
    store->Initialize(text);
    SysFreeString(text);
  } else if constexpr (std::is_same_v<Store, CWEZProfileStore> ||
                       std::is_same_v<Store, CMobileProfileStore>) {
    store->Initialize(path.c_str());
  } else {
    store->Initialize(path.c_str(), nullptr);
  }
  return store;
}

// Opens a store on the file, makes the first (index-building) call untimed, times `call` over
// the loop and reports it against the baseline.
template <typename Store>
void Measure(benchmark::State& state, const std::string& name, const std::u16string& path,
             std::function<void(Store*, int)> call, const Expressions& expressions) {
  const int n = static_cast<int>(state.range(0));
  Store* store = Open<Store>(path);
  Clock::time_point first = Clock::now();
  call(store, Spread(n - 1, n));
  state.counters["first_lookup_us"] = MicrosecondsSince(first);
  int i = 0;
  Clock::time_point start = Clock::now();
  for (auto _ : state) call(store, Spread(i++, n));
  double per_op = MicrosecondsSince(start) * 1000 / static_cast<double>(state.iterations());
  double baseline = BaselineNanoseconds(name, path, n, expressions);
  state.counters["baseline_ns"] = baseline;
  state.counters["ratio"] = per_op / baseline;
  store->Release();
}

Expressions One(std::function<std::string(int)> expression, int n, int times = 1) {
  return [expression, n, times](int i) {
    return std::vector<std::string>(static_cast<size_t>(times), expression(Spread(i, n)));
  };
}

std::string GridXPath(int i) {
  return "/UserGrid//User[@Nick=\"" + Key(i) + "\"]";
}
std::string KeyDeptsXPath(int i) {
  return "/KeyDepts//User[@Nick=\"" + Key(i) + "\"]";
}
std::string LeaderXPath(int i) {
  return "/Leader//Dept[@id=\"" + std::to_string(i) + "\"]";
}
std::string ProfileXPath(int i) {
  return "/Root//ITEM[translate(@NICK, " + std::string(kTranslate) + ") = '" + Key(i) + "']";
}

void BM_GetGrid(benchmark::State& state) {
  int n = static_cast<int>(state.range(0));
  Measure<CUserGrid>(
      state, "GetGrid", Files::Get("UserGrid.xml", n, MakeGrid),
      [](CUserGrid* s, int i) {
        LONG grid = 0;
        s->GetGrid(WideKey(i).c_str(), &grid);
        benchmark::DoNotOptimize(grid);
      },
      One(GridXPath, n));
}

void BM_SetGrid(benchmark::State& state) {
  int n = static_cast<int>(state.range(0));
  Measure<CUserGrid>(
      state, "SetGrid", Files::Get("UserGrid.xml", n, MakeGrid),
      [](CUserGrid* s, int i) { s->SetGrid(WideKey(i).c_str(), i + 1); }, One(GridXPath, n));
}

void BM_GetKeyDepts(benchmark::State& state) {
  int n = static_cast<int>(state.range(0));
  Measure<CKeyDepts>(
      state, "GetKeyDepts", Files::Get("KeyDepts.xml", n, MakeKeyDepts),
      [](CKeyDepts* s, int i) {
        ULONG ids[4];
        LONG count = 4;
        s->GetKeyDepts(WideKey(i).c_str(), ids, &count);
        benchmark::DoNotOptimize(ids);
      },
      One(KeyDeptsXPath, n));
}

void BM_SetKeyDepts(benchmark::State& state) {
  int n = static_cast<int>(state.range(0));
  Measure<CKeyDepts>(
      state, "SetKeyDepts", Files::Get("KeyDepts.xml", n, MakeKeyDepts),
      [](CKeyDepts* s, int i) {
        ULONG ids[3] = {ULONG(i), ULONG(i + 7), ULONG(i + 9)};
        LONG count = 3;
        s->SetKeyDepts(WideKey(i).c_str(), ids, &count);
      },
      One(KeyDeptsXPath, n));
}

void BM_GetLeader(benchmark::State& state) {
  int n = static_cast<int>(state.range(0));
  Measure<CDeptLeader>(
      state, "GetLeader", Files::Get("Leader.xml", n, MakeLeader),
      [](CDeptLeader* s, int i) {
        LONG leader = 0;
        s->GetLeader(i, &leader);
        benchmark::DoNotOptimize(leader);
      },
      One(LeaderXPath, n));
}

void BM_SetLeader(benchmark::State& state) {
  int n = static_cast<int>(state.range(0));
  Measure<CDeptLeader>(
      state, "SetLeader", Files::Get("Leader.xml", n, MakeLeader),
      [](CDeptLeader* s, int i) {
        static ULONG version = 1;  // always newer, so every call changes the entry
        s->SetLeader(i, ++version, i);
      },
      One(LeaderXPath, n));
}

void BM_GetProfile(benchmark::State& state) {
  int n = static_cast<int>(state.range(0));
  Measure<CWEZProfileStore>(
      state, "GetProfile", Files::Get("WEZProfile.dat", n, MakeProfiles),
      [](CWEZProfileStore* s, int i) {
        ProfileInfo p = Profile(i);
        benchmark::DoNotOptimize(s->GetProfile(&p));
      },
      One(ProfileXPath, n));
}

// The store's deletion looks the nick up twice (the record, then that none is left).
void BM_SetProfile(benchmark::State& state) {
  int n = static_cast<int>(state.range(0));
  Measure<CWEZProfileStore>(
      state, "SetProfile", Files::Get("WEZProfile.dat", n, MakeProfiles),
      [](CWEZProfileStore* s, int i) {
        ProfileInfo p = Profile(i);
        benchmark::DoNotOptimize(s->SetProfile(&p));
      },
      One(ProfileXPath, n, 2));
}

void BM_MobileGetItem(benchmark::State& state) {
  int n = static_cast<int>(state.range(0));
  Measure<CMobileProfileStore>(
      state, "MobileGetItem", Files::Get("MobileProfile.xml", n, MakeMobile),
      [](CMobileProfileStore* s, int i) {
        MobileProfileItem item{};
        s->GetItem(WideKey(i).c_str(), &item);
        benchmark::DoNotOptimize(item);
      },
      One(
          [](int i) {
            return "./ITEM[translate(@Name, '1234567890ABCDEFGHIJKLMNOPQRSTUVWXYZ', "
                   "'1234567890abcdefghijklmnopqrstuvwxyz') = '" +
                   Key(i) + "']";
          },
          n));
}

void BM_GetBuddyField(benchmark::State& state) {
  int n = static_cast<int>(state.range(0));
  Measure<CWEZProfileProStore>(
      state, "GetBuddyField", Files::Get("WEZProfilePro.dat", n, MakeBuddies),
      [](CWEZProfileProStore* s, int i) {
        VARIANT value;
        s->GetBuddyField(WideKey(i).c_str(), u"f3", &value);
        VariantClear(&value);
      },
      One(
          [](int i) {
            return "./WEZBuddyPro[@Account = \"" + Key(i) + "\"]/Field[@Name = \"f3\"]";
          },
          n));
}

// GetItemFields counts the item's fields, then reads them from the item.
void BM_GetItemFields(benchmark::State& state) {
  int n = static_cast<int>(state.range(0));
  Measure<CWEZItemStore>(
      state, "GetItemFields", Files::Get("WEZExtBuddy.xml", n, MakeItems),
      [](CWEZItemStore* s, int i) {
        ItemField fields[kFields] = {};
        LONG written = 0;
        s->GetItemFields(WideKey(i).c_str(), fields, &written);
        benchmark::DoNotOptimize(fields);
      },
      [n](int i) {
        std::string name = Key(Spread(i, n));
        return std::vector<std::string>{"./Item[@Name=\"" + name + "\"]//Field",
                                        "./Item[@Name = \"" + name + "\"]"};
      });
}

// 10,000 calls alternating an update and a lookup of other entries; one iteration is the
// whole sequence.
template <typename Store>
void MeasureSequence(benchmark::State& state, const std::string& name, const std::u16string& path,
                     std::function<void(Store*, int)> update,
                     std::function<void(Store*, int)> lookup, const Expressions& expressions) {
  const int n = static_cast<int>(state.range(0));
  Store* store = Open<Store>(path);
  lookup(store, 0);  // builds the index
  double total_us = 0;
  for (auto _ : state) {
    Clock::time_point start = Clock::now();
    for (int i = 0; i < kSequence / 2; ++i) {
      update(store, Spread(2 * i, n));
      lookup(store, Spread(2 * i + 1, n));
    }
    total_us += MicrosecondsSince(start);
  }
  double sequence_ms = total_us / 1000 / static_cast<double>(state.iterations());
  double baseline_ms = BaselineNanoseconds(name, path, n, expressions) * kSequence / 1e6;
  state.counters["sequence_ms"] = sequence_ms;
  state.counters["baseline_ms"] = baseline_ms;
  state.counters["ratio"] = sequence_ms / baseline_ms;
  store->Release();
}

void BM_ProfileSequence(benchmark::State& state) {
  int n = static_cast<int>(state.range(0));
  MeasureSequence<CWEZProfileStore>(
      state, "GetProfile", Files::Get("WEZProfile.dat", n, MakeProfiles),
      [](CWEZProfileStore* s, int i) {
        ProfileInfo p = Profile(i);
        s->SetProfile(&p);
      },
      [](CWEZProfileStore* s, int i) {
        ProfileInfo p = Profile(i);
        benchmark::DoNotOptimize(s->GetProfile(&p));
      },
      One(ProfileXPath, n));
}

void BM_GridSequence(benchmark::State& state) {
  int n = static_cast<int>(state.range(0));
  MeasureSequence<CUserGrid>(
      state, "GetGrid", Files::Get("UserGrid.xml", n, MakeGrid),
      [n](CUserGrid* s, int i) {
        // Every other update adds an entry, so the tree grows between lookups.
        static int added = 0;
        s->SetGrid((i % 3 == 0 ? WideKey(n + ++added) : WideKey(i)).c_str(), i);
      },
      [](CUserGrid* s, int i) {
        LONG grid = 0;
        s->GetGrid(WideKey(i).c_str(), &grid);
        benchmark::DoNotOptimize(grid);
      },
      One(GridXPath, n));
}

#define VK_KEYED_BENCHMARK(name)   \
  BENCHMARK(name)                  \
      ->Arg(10000)                 \
      ->Arg(100000)                \
      ->Iterations(kRounds)        \
      ->Repetitions(5)             \
      ->ReportAggregatesOnly(true) \
      ->Unit(benchmark::kMicrosecond)
VK_KEYED_BENCHMARK(BM_GetGrid);
VK_KEYED_BENCHMARK(BM_SetGrid);
VK_KEYED_BENCHMARK(BM_GetKeyDepts);
VK_KEYED_BENCHMARK(BM_SetKeyDepts);
VK_KEYED_BENCHMARK(BM_GetLeader);
VK_KEYED_BENCHMARK(BM_SetLeader);
VK_KEYED_BENCHMARK(BM_GetProfile);
VK_KEYED_BENCHMARK(BM_SetProfile);
VK_KEYED_BENCHMARK(BM_MobileGetItem);
VK_KEYED_BENCHMARK(BM_GetBuddyField);
VK_KEYED_BENCHMARK(BM_GetItemFields);
BENCHMARK(BM_ProfileSequence)
    ->Arg(10000)
    ->Arg(100000)
    ->Iterations(1)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GridSequence)
    ->Arg(10000)
    ->Arg(100000)
    ->Iterations(1)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true)
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
