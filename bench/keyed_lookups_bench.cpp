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
using XPaths = std::vector<std::string> (*)(int key);
using Maker = void (*)(const std::u16string& path, int entries);

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
  static const std::u16string& Get(const std::string& kind, int n, Maker make) {
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

// Bare libxml2 on the file: the expressions of keys spread over it, measured once per
// set of expressions and size in this run.
double BaselineNanoseconds(const std::u16string& path, int n, XPaths xpaths) {
  static std::map<std::pair<XPaths, int>, double> measured;
  auto [at, fresh] = measured.try_emplace({xpaths, n}, 0.0);
  if (fresh) {
    xmlDocPtr doc = BareDocument(path);
    at->second = vk::bench::BareXPathNanoseconds(doc, n >= 100000 ? 4 : 20,
                                                 [&](int i) { return xpaths(Spread(i, n)); });
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

// One store operation on the entry of key i, and the expressions it evaluates.
void GetGrid(CUserGrid* s, int i) {
  LONG grid = 0;
  s->GetGrid(WideKey(i).c_str(), &grid);
  benchmark::DoNotOptimize(grid);
}
void SetGrid(CUserGrid* s, int i) {
  s->SetGrid(WideKey(i).c_str(), i + 1);
}
// Every third call adds an entry, so the tree grows between lookups.
void SetOrAddGrid(CUserGrid* s, int i) {
  static int added = 0;
  s->SetGrid((i % 3 == 0 ? u"new" + WideKey(++added) : WideKey(i)).c_str(), i);
}
std::vector<std::string> GridXPath(int i) {
  return {"/UserGrid//User[@Nick=\"" + Key(i) + "\"]"};
}

void GetKeyDepts(CKeyDepts* s, int i) {
  ULONG ids[4];
  LONG count = 4;
  s->GetKeyDepts(WideKey(i).c_str(), ids, &count);
  benchmark::DoNotOptimize(ids);
}
void SetKeyDepts(CKeyDepts* s, int i) {
  ULONG ids[3] = {ULONG(i), ULONG(i + 7), ULONG(i + 9)};
  LONG count = 3;
  s->SetKeyDepts(WideKey(i).c_str(), ids, &count);
}
std::vector<std::string> KeyDeptsXPath(int i) {
  return {"/KeyDepts//User[@Nick=\"" + Key(i) + "\"]"};
}

void GetLeader(CDeptLeader* s, int i) {
  LONG leader = 0;
  s->GetLeader(i, &leader);
  benchmark::DoNotOptimize(leader);
}
void SetLeader(CDeptLeader* s, int i) {
  static ULONG version = 1;  // always newer, so every call changes the entry
  s->SetLeader(i, ++version, i);
}
std::vector<std::string> LeaderXPath(int i) {
  return {"/Leader//Dept[@id=\"" + std::to_string(i) + "\"]"};
}

void GetProfile(CWEZProfileStore* s, int i) {
  ProfileInfo p = Profile(i);
  benchmark::DoNotOptimize(s->GetProfile(&p));
}
void SetProfile(CWEZProfileStore* s, int i) {
  ProfileInfo p = Profile(i);
  benchmark::DoNotOptimize(s->SetProfile(&p));
}
std::vector<std::string> ProfileXPath(int i) {
  return {"/Root//ITEM[translate(@NICK, " + std::string(kTranslate) + ") = '" + Key(i) + "']"};
}
// The store's deletion looks the nick up twice (the record, then that none is left).
std::vector<std::string> SetProfileXPaths(int i) {
  return {ProfileXPath(i)[0], ProfileXPath(i)[0]};
}

void GetMobileItem(CMobileProfileStore* s, int i) {
  MobileProfileItem item{};
  s->GetItem(WideKey(i).c_str(), &item);
  benchmark::DoNotOptimize(item);
}
std::vector<std::string> MobileXPath(int i) {
  return {
      "./ITEM[translate(@Name, '1234567890ABCDEFGHIJKLMNOPQRSTUVWXYZ', "
      "'1234567890abcdefghijklmnopqrstuvwxyz') = '" +
      Key(i) + "']"};
}

void GetBuddyField(CWEZProfileProStore* s, int i) {
  VARIANT value;
  s->GetBuddyField(WideKey(i).c_str(), u"f3", &value);
  VariantClear(&value);
}
std::vector<std::string> BuddyFieldXPath(int i) {
  return {"./WEZBuddyPro[@Account = \"" + Key(i) + "\"]/Field[@Name = \"f3\"]"};
}

void GetItemFields(CWEZItemStore* s, int i) {
  ItemField fields[kFields] = {};
  LONG written = 0;
  s->GetItemFields(WideKey(i).c_str(), fields, &written);
  benchmark::DoNotOptimize(fields);
}
// GetItemFields counts the item's fields, then reads them from the item.
std::vector<std::string> ItemFieldsXPaths(int i) {
  return {"./Item[@Name=\"" + Key(i) + "\"]//Field", "./Item[@Name = \"" + Key(i) + "\"]"};
}

// Opens a store on a file of range(0) entries, makes the first (index-building) call untimed,
// times `call` over the loop and reports it against the baseline.
template <typename Store>
void BM_Keyed(benchmark::State& state, const char* file, Maker make, void (*call)(Store*, int),
              XPaths xpaths) {
  const int n = static_cast<int>(state.range(0));
  const std::u16string& path = Files::Get(file, n, make);
  Store* store = Open<Store>(path);
  Clock::time_point first = Clock::now();
  call(store, Spread(n - 1, n));
  state.counters["first_lookup_us"] = MicrosecondsSince(first);
  int i = 0;
  Clock::time_point start = Clock::now();
  for (auto _ : state) call(store, Spread(i++, n));
  double per_op = MicrosecondsSince(start) * 1000 / static_cast<double>(state.iterations());
  double baseline = BaselineNanoseconds(path, n, xpaths);
  state.counters["baseline_ns"] = baseline;
  state.counters["ratio"] = per_op / baseline;
  store->Release();
}

// 10,000 calls alternating an update and a lookup of other entries; one iteration is the
// whole sequence.
template <typename Store>
void BM_Sequence(benchmark::State& state, const char* file, Maker make, void (*update)(Store*, int),
                 void (*lookup)(Store*, int), XPaths xpaths) {
  const int n = static_cast<int>(state.range(0));
  const std::u16string& path = Files::Get(file, n, make);
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
  double baseline_ms = BaselineNanoseconds(path, n, xpaths) * kSequence / 1e6;
  state.counters["sequence_ms"] = sequence_ms;
  state.counters["baseline_ms"] = baseline_ms;
  state.counters["ratio"] = sequence_ms / baseline_ms;
  store->Release();
}

#define VK_KEYED(name, ...)                      \
  BENCHMARK_CAPTURE(BM_Keyed, name, __VA_ARGS__) \
      ->Arg(10000)                               \
      ->Arg(100000)                              \
      ->Iterations(kRounds)                      \
      ->Repetitions(5)                           \
      ->ReportAggregatesOnly(true)               \
      ->Unit(benchmark::kMicrosecond)
VK_KEYED(GetGrid, "UserGrid.xml", MakeGrid, GetGrid, GridXPath);
VK_KEYED(SetGrid, "UserGrid.xml", MakeGrid, SetGrid, GridXPath);
VK_KEYED(GetKeyDepts, "KeyDepts.xml", MakeKeyDepts, GetKeyDepts, KeyDeptsXPath);
VK_KEYED(SetKeyDepts, "KeyDepts.xml", MakeKeyDepts, SetKeyDepts, KeyDeptsXPath);
VK_KEYED(GetLeader, "Leader.xml", MakeLeader, GetLeader, LeaderXPath);
VK_KEYED(SetLeader, "Leader.xml", MakeLeader, SetLeader, LeaderXPath);
VK_KEYED(GetProfile, "WEZProfile.dat", MakeProfiles, GetProfile, ProfileXPath);
VK_KEYED(SetProfile, "WEZProfile.dat", MakeProfiles, SetProfile, SetProfileXPaths);
VK_KEYED(MobileGetItem, "MobileProfile.xml", MakeMobile, GetMobileItem, MobileXPath);
VK_KEYED(GetBuddyField, "WEZProfilePro.dat", MakeBuddies, GetBuddyField, BuddyFieldXPath);
VK_KEYED(GetItemFields, "WEZExtBuddy.xml", MakeItems, GetItemFields, ItemFieldsXPaths);

#define VK_SEQUENCE(name, ...)                      \
  BENCHMARK_CAPTURE(BM_Sequence, name, __VA_ARGS__) \
      ->Arg(10000)                                  \
      ->Arg(100000)                                 \
      ->Iterations(1)                               \
      ->Repetitions(5)                              \
      ->ReportAggregatesOnly(true)                  \
      ->Unit(benchmark::kMillisecond)
VK_SEQUENCE(SetAndGetProfile, "WEZProfile.dat", MakeProfiles, SetProfile, GetProfile, ProfileXPath);
VK_SEQUENCE(SetOrAddAndGetGrid, "UserGrid.xml", MakeGrid, SetOrAddGrid, GetGrid, GridXPath);

}  // namespace

BENCHMARK_MAIN();
