// Every save of the component, interrupted at each of its file-changing calls in turn (the
// call fails, or the process stops there as a crash would) and followed by a power cut: the
// store's next opening finds the old state or the new one, whole (the new one after an
// undisturbed save); the store answers what its contract says for a failed save; and once the
// save has been made again, the folder holds exactly what an undisturbed save leaves, with no
// temporary file.
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <iostream>
#include <string>

#include "client/ClientRoot.h"
#include "client/ModuleSite.h"
#include "groups/WEZGroupStore.h"
#include "messages/LocalOffMsgStore.h"
#include "messages/RevertDialogStore.h"
#include "org/DeptLeader.h"
#include "org/KeyDepts.h"
#include "org/PortalStore.h"
#include "org/UserGrid.h"
#include "org/UserList.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "profiles/MobileProfileStore.h"
#include "profiles/WEZItemStore.h"
#include "profiles/WEZProfileStore.h"
#include "runtime/ComObject.h"
#include "samples/OffMsgSamples.h"
#include "settings/OptionStore.h"
#include "storage/EncipheredFile.h"
#include "storage/FixedField.h"
#include "tests/faults/FaultPlan.h"
#include "tests/faults/FaultVfs.h"
#include "tests/support/LogCapture.h"
#include "tests/support/MakeStore.h"
#include "tests/support/ScopedEnv.h"
#include "tests/support/SqlRows.h"
#include "tests/support/TempDataRoot.h"

namespace vk::test {
namespace {

using Root = TempDataRoot;

// What the save answers and how many assertion reports it writes (up to `more` beyond that
// when the store writes once more as it is destroyed).
struct Outcome {
  HRESULT status;
  size_t assertions;
  size_t more = 0;
};

struct Save {
  const char* name;
  std::function<void(const Root&)> prepare;  // writes the old state
  // Opens the store, arms the plan just before the change is made and saved, and releases the
  // store while the plan is still armed (a crashed process writes nothing more).
  std::function<HRESULT(const Root&, FaultPlan&)> save;
  // Opens the files with a new store object and tells what they hold.
  std::function<std::string(const Root&)> read;
  Outcome failed, done;           // when the old state, or the new one, is found afterwards
  bool opening_finishes = false;  // the store's next opening completes an interrupted save
};

std::string Integrity(const Root& root, const char16_t* db) {
  return SqlRows(root.File(db), "PRAGMA integrity_check");
}

// The files under the root, with the temporary ones marked: a hidden file, a rollback journal,
// the user list's scratch rebuild.
std::string Listing(const Root& root, bool* temporary = nullptr) {
  std::string out;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root.NativePath())) {
    const std::string name = entry.path().filename().string();
    if (temporary != nullptr &&
        (name[0] == '.' || name.ends_with("-journal") || name.ends_with(".new"))) {
      *temporary = true;
    }
    out += std::filesystem::relative(entry.path(), root.NativePath()).string() + ";";
  }
  return out;
}

// The client root that the dialog store and the user list are opened with.
ClientRoot* Client() {
  static ClientRoot* client = [] {
    auto* root = new ClientRoot();
    root->SetAccount(u"alice");
    return root;
  }();
  return client;
}

// A save made through a store: `change` with 1 writes the old state, with 2 the new one, at once
// or, when `by_close`, on Close. `read` tells what a newly opened store finds.
template <typename Store>
Save Through(
    const char* name, std::function<ComPtr<Store>(const Root&)> open,
    std::function<HRESULT(Store&, int)> change,
    std::function<std::string(Store&, const Root&)> read, bool by_close, Outcome failed,
    Outcome done = {S_OK, 0}, std::function<void(const Root&)> before = [](const Root&) {}) {
  auto close = [](Store& store) {
    if constexpr (requires { store.Close(); }) return store.Close();
    return E_NOTIMPL;
  };
  return {name,
          [=](const Root& root) {
            before(root);
            auto store = open(root);
            change(*store, 1);
            close(*store);
          },
          [=](const Root& root, FaultPlan& plan) {
            auto store = open(root);
            if (!by_close) plan.Arm();
            const HRESULT hr = change(*store, 2);
            if (!by_close) return hr;
            plan.Arm();
            return close(*store);
          },
          [=](const Root& root) { return read(*open(root), root); },
          failed,
          done};
}

// Opens a store whose Initialize takes the file's path and, for some, the client.
template <typename Store>
std::function<ComPtr<Store>(const Root&)> OnFile(const char16_t* file, IUnknown* client = nullptr) {
  return [=](const Root& root) {
    CreateFolders(root.File(file).substr(0, root.File(file).rfind(kSep)));
    auto store = MakeStore<Store>();
    BSTR path = SysAllocString(root.File(file).c_str());
    if constexpr (requires { store->Initialize(path, client); }) {
      EXPECT_EQ(store->Initialize(path, client), S_OK);
    } else {
      EXPECT_EQ(store->Initialize(path), S_OK);
    }
    SysFreeString(path);
    return store;
  };
}

// Reads numbers from a store into "a,b,c".
template <typename... Numbers>
std::string Join(Numbers... numbers) {
  std::string out;
  ((out += std::to_string(numbers) + ","), ...);
  return out;
}

const Save kOptions = Through<COptionStore>(
    "OptionFile",
    [](const Root& root) {
      auto store = MakeStore<COptionStore>();
      store->Open(root.File(u"User.cfg").c_str());
      return store;
    },
    [](COptionStore& s, int n) {
      if (n == 1) s.SetInt(u"Keep", 1);
      return s.SetInt(u"Count", n);
    },
    [](COptionStore& s, const Root&) {
      LONG keep = 0, count = 0;
      s.GetInt(u"Keep", &keep);
      s.GetInt(u"Count", &count);
      return Join(keep, count);
    },
    false, {E_FAIL, 0}, {S_OK, 0},
    [](const Root& root) { root.WriteBytes("User.cfg", "\xFF\xFE"); });

// The versioned XML stores: a failed save on Close is reported, and Close still succeeds.
const Save kUserGrid = Through<CUserGrid>(
    "UserGrid", OnFile<CUserGrid>(u"UserGrid.xml"),
    [](CUserGrid& s, int n) {
      s.SetGrid(u"bob", 5);
      s.SetVersion(n);
      return s.SetGrid(u"ann", n);
    },
    [](CUserGrid& s, const Root&) {
      LONG ann = 0, bob = 0, version = 0;
      s.GetGrid(u"ann", &ann);
      s.GetGrid(u"bob", &bob);
      s.GetVersion(&version);
      return Join(ann, bob, version);
    },
    true, {S_OK, 1});

const Save kKeyDepts = Through<CKeyDepts>(
    "KeyDepts", OnFile<CKeyDepts>(u"KeyDepts.xml"),
    [](CKeyDepts& s, int n) {
      ULONG ids[] = {7, static_cast<ULONG>(n)};
      LONG count = 2;
      return s.SetKeyDepts(u"ann", ids, &count);
    },
    [](CKeyDepts& s, const Root&) {
      ULONG ids[4] = {};
      LONG count = 4;
      s.GetKeyDepts(u"ann", ids, &count);
      return Join(count, ids[0], ids[1]);
    },
    true, {S_OK, 1});

const Save kLeaders = Through<CDeptLeader>(
    "Leaders", OnFile<CDeptLeader>(u"Leader.xml"),
    [](CDeptLeader& s, int n) {
      s.SetLeader(2, 1, 7);
      return s.SetLeader(1, n, 100 + n);
    },
    [](CDeptLeader& s, const Root&) {
      LONG one = 0, two = 0;
      s.GetLeader(1, &one);
      s.GetLeader(2, &two);
      return Join(one, two);
    },
    true, {S_OK, 1});

// Close and the destruction that follows both save: the old state stays only when both fail,
// and the new one may follow one failure.
const Save kPortal = Through<CPortalStore>(
    "Portal", OnFile<CPortalStore>(u"PortalIcon/EPortal.xml"),
    [](CPortalStore& s, int n) { return s.SetVersion(n); },
    [](CPortalStore& s, const Root&) {
      LONG version = 0;
      const HRESULT hr = s.GetVersion(&version);
      return Join(hr, version);
    },
    true, {S_OK, 2}, {S_OK, 0, 1},
    [](const Root& root) {
      // as the server writes it, with the root and attribute the version is read from
      CreateFolders(root.File(u"PortalIcon"));
      root.WriteBytes("PortalIcon/EPortal.xml", "<PORTAL ver=\"0\"><Dept id=\"4\"/></PORTAL>");
    });

const Save kItems = Through<CWEZItemStore>(
    "Items", OnFile<CWEZItemStore>(u"WEZExtBuddy.xml"),
    [](CWEZItemStore& s, int n) {
      ItemField fields[2] = {};
      FillField(fields[0].id, u"a");
      FillField(fields[0].value, n == 1 ? u"old" : u"new");
      FillField(fields[1].id, u"b");
      return s.SetItemFields(u"x", fields, 2);
    },
    [](CWEZItemStore& s, const Root&) {
      ItemField fields[4] = {};
      LONG count = 0;
      s.GetItemFields(u"x", fields, &count);
      return Join(count) + ToUtf8(FieldText(fields[0].value));
    },
    true, {S_OK, 1});

const Save kMobile = Through<CMobileProfileStore>(
    "MobileProfile", OnFile<CMobileProfileStore>(u"MobileProfile.xml"),
    [](CMobileProfileStore& s, int n) {
      if (n == 2) return s.DeleteItem(u"a");
      MobileProfileItem a{}, b{};
      FillField(a.Name, u"a");
      FillField(b.Name, u"b");
      s.AddItem(&a);
      return s.AddItem(&b);
    },
    [](CMobileProfileStore& s, const Root&) {
      LONG count = 0;
      s.GetItemCount(&count);
      std::vector<MobileProfileItem> items(static_cast<size_t>(count));
      s.GetItems(items.data());
      std::string out = Join(count);
      for (const auto& item : items) out += ToUtf8(FieldText(item.Name));
      return out;
    },
    true, {S_OK, 1});

// The enciphered file, written over an earlier one or in place of its plain companion, which
// then goes.
Save Enciphered(const char* name, bool from_companion) {
  return Through<CWEZProfileStore>(
      name, OnFile<CWEZProfileStore>(u"Accounts/alice/WEZProfile.dat"),
      [from_companion](CWEZProfileStore& s, int n) {
        if (n == 1 && from_companion) return S_OK;
        ProfileInfo p{};
        FillField(p.nick, n == 1 ? u"old" : u"new");
        p.uin = n;
        return s.SetProfile(&p);
      },
      [](CWEZProfileStore& s, const Root&) {
        LONG count = 0;
        s.GetProfileCount(&count);
        ProfileInfo old{}, added{};
        FillField(old.nick, u"old");
        FillField(added.nick, u"new");
        return Join(count, s.GetProfile(&old), s.GetProfile(&added));
      },
      true, {S_OK, 1}, {S_OK, 0},
      [from_companion](const Root& root) {
        CreateFolders(root.File(u"Accounts/alice"));
        if (!from_companion) return;
        root.WriteBytes(ToUtf8(CompanionPath(u"Accounts/alice/WEZProfile.dat")),
                        "<?xml version=\"1.0\" encoding=\"GB2312\"?><Root><ITEM UIN=\"1\" "
                        "NICK=\"old\"/></Root>");
      });
}

// The reply-pending dialogs: every change saves at once, and a failed save is not reported.
const Save kDialogs = Through<CRevertDialogStore>(
    "RevertDialogs",
    OnFile<CRevertDialogStore>(u"Accounts/alice/RevertDialog.xml",
                               static_cast<IClientRoot*>(Client())),
    [](CRevertDialogStore& s, int n) {
      if (n == 2) return s.RemoveDialog(u"s1");
      s.AddDialog(u"s1", u"p", u"m", u"t");
      return s.AddDialog(u"s2", u"p", u"m", u"t");
    },
    [](CRevertDialogStore& s, const Root&) {
      LONG count = 0;
      int16_t one = 0, two = 0;
      s.GetDialogCount(&count);
      s.FindDialog(u"s1", &one);
      s.FindDialog(u"s2", &two);
      return Join(count, one, two);
    },
    false, {S_OK, 0});

// The offline message index: a deletion rewrites it, and answers -1 when it cannot.
samples::OffMsgRecord Message(std::u16string id) {
  samples::OffMsgRecord r;
  r.msg_id = std::move(id);
  r.body = u"<m/>";
  return r;
}

const Save kOffMsgIndex = Through<CLocalOffMsgStore>(
    "OffMsgIndex",
    [](const Root& root) {
      auto* client = new ClientRoot();
      client->SetDataFolder(root.Path());
      client->SetAccount(u"bob");
      auto* site = new ModuleSite(client);
      auto store = MakeStore<CLocalOffMsgStore>();
      EXPECT_EQ(store->Init(site), S_OK);
      EXPECT_EQ(store->OpenAccount(), S_OK);
      site->Release();
      client->Release();
      return store;
    },
    [](CLocalOffMsgStore& s, int n) {
      if (n == 2) return s.DeleteOffMsgIndexByID(u"b");
      const LONG im = VK_OFFMSG_CHANNEL_IM;
      const auto files = samples::BuildOffMsgChannel({Message(u"a"), Message(u"b")});
      return samples::WriteOffMsgChannel(GetFileListPath(), u"bob", im, files) ? S_OK : E_FAIL;
    },
    [](CLocalOffMsgStore& s, const Root&) {
      LONG total = 0;
      s.GetTotalCount(&total);
      std::string out = Join(total);
      for (const char16_t* id : {u"a", u"b"}) {
        VARIANT v;
        VariantInit(&v);
        s.GetOffMsgByID(id, &v);
        LONG found = 0;
        if (v.vt == VT_DISPATCH) static_cast<IDataList*>(v.u.pdispVal)->get_Count(&found);
        VariantClear(&v);
        out += Join(found);
      }
      return out;
    },
    false, {static_cast<HRESULT>(-1), 0});

// The organisation import and the swap that puts it online at the next database operation;
// the import's status does not depend on what it achieved.
const Save kUserListImport = Through<CUserList>(
    "UserListImport",
    [](const Root& root) {
      auto list = MakeStore<CUserList>();
      EXPECT_EQ(list->Initialize(root.File(u"userList5.dat").c_str(),
                                 static_cast<IClientRoot*>(Client())),
                S_OK);
      list->WaitForReaders();
      return list;
    },
    [](CUserList& list, int n) {
      if (n == 1) {
        UserListEntry entry{};
        FillField(entry.nick, u"old");
        entry.uin = 1;
        list.SetDeptVersion(1, 1);
        return list.AddUserEx(1, &entry, 0);
      }
      const HRESULT hr = list.LoadDataFromXml((GetFileListPath() + u"org.xml").c_str());
      LONG count = 0;
      list.GetDeptCount(&count);
      list.WaitForReaders();
      return hr;
    },
    [](CUserList& list, const Root& root) {
      LONG count = 0;
      list.GetDeptCount(&count);
      std::string out = Join(count);
      for (ULONG uin : {1u, 2u, 3u}) {
        BSTR nick = nullptr;
        out += (list.GetNickByUin(uin, &nick) == S_OK ? ToUtf8(nick) : "-") + ",";
        SysFreeString(nick);
      }
      list.WaitForReaders();
      return out + Integrity(root, u"userList5.dat");
    },
    false, {S_OK, 0}, {S_OK, 0},
    [](const Root& root) {
      root.WriteBytes("org.xml",
                      "<?xml version=\"1.0\" encoding=\"gb2312\"?><UserList ProVer=\"2\" "
                      "DeptVer=\"3\"><Dept id=\"5\" Ver=\"1\"><U NICK=\"new\" UIN=\"2\"/>"
                      "<U NICK=\"two\" UIN=\"3\"/></Dept><Dept id=\"6\" Ver=\"1\"/></UserList>");
    });

// The group stores. The company import rewrites its tree in one transaction and reports
// success whatever happened; a legacy file is imported by the opening and then renamed, so
// the next opening finishes what an interrupted one left.
std::function<ComPtr<CWEZGroupStore>(const Root&)> Groups(LONG kind, const char16_t* file) {
  return [=](const Root& root) {
    auto store = MakeStore<CWEZGroupStore>();
    EXPECT_EQ(store->Initialize(root.File(file).c_str(), kind), S_OK);
    return store;
  };
}

std::string Tree(IWEZGroupStore& store, LONG parent) {
  GroupInfo groups[8] = {};
  LONG count = 0;
  std::string out = store.GetSubGroups(parent, groups, &count) == S_OK ? "" : "E";
  for (LONG i = 0; i < count; ++i) {
    out += Join(groups[i].id) + ToUtf8(FieldText(groups[i].name)) + "{" +
           Tree(store, groups[i].id) + "}";
  }
  return out;
}

const Save kCompanyImport = Through<CWEZGroupStore>(
    "CompanyGroupImport", Groups(1, u"Group.dat"),
    [](CWEZGroupStore& s, int n) {
      const std::u16string xml = GetFileListPath() + (n == 1 ? u"old.xml" : u"new.xml");
      return s.LoadDataFromXml(xml.c_str());
    },
    [](CWEZGroupStore& s, const Root& root) {
      BSTR version = nullptr;
      s.GetVersion(&version);
      const std::string out = (version != nullptr ? ToUtf8(version) : "-") + ";" + Tree(s, 0);
      SysFreeString(version);
      return out + ";" + Integrity(root, u"Group.dat");
    },
    false, {S_OK, 0}, {S_OK, 0},
    [](const Root& root) {
      root.WriteBytes("old.xml", "<Groups Ver=\"3\"><Group id=\"1\" name=\"Old\"/></Groups>");
      root.WriteBytes("new.xml",
                      "<Groups Ver=\"4\"><Group id=\"1\" name=\"New\"><Group id=\"2\" "
                      "name=\"Sub\"/></Group><Group id=\"3\" name=\"Other\"/></Groups>");
    });

const Save kLegacyImport = {
    "LegacyGroupImport",
    [](const Root& root) {
      Groups(2, u"FriendGroup.dat")(root);
      root.WriteBytes("FriendGroup.xml",
                      "<Groups Ver=\"-1\"><Group name=\"x\" id=\"20000001\"><U NICK=\"ann\"/>"
                      "<U NICK=\"bob\"/></Group></Groups>");
    },
    [](const Root& root, FaultPlan& plan) {
      plan.Arm();
      auto store = MakeStore<CWEZGroupStore>();
      return store->Initialize(root.File(u"FriendGroup.dat").c_str(), 2);
    },
    [](const Root& root) {
      auto store = Groups(2, u"FriendGroup.dat")(root);
      BSTR nicks[4] = {};
      LONG count = 0;
      const HRESULT hr = store->GetMembers(20000001, nicks, &count);
      std::string out = Join(hr, count);
      for (LONG i = 0; i < count; ++i) out += ToUtf8(nicks[i]), SysFreeString(nicks[i]);
      for (const char16_t* file : {u"FriendGroup.xml", u"FriendGroup.xml.bak"})
        out += IsFileExist(root.File(file)) ? ToUtf8(file) : "";
      return out + Integrity(root, u"FriendGroup.dat");
    },
    {S_OK, 0},
    {S_OK, 0},
    true};

// A class registered in a registry file under the root, as an installer or the command
// registers the component: the runtime's own write, through the same seam as the stores'.
HRESULT Register(const Root& root, const char* prog_id, uint8_t id) {
  ScopedEnv registry("VAULTKIT_REGISTRY", root.NativeFile("registry").c_str());
  const CLSID clsid = {0x7e57c1a5, 0, 0, {0, 0, 0, 0, 0, 0, 0, id}};
  return VkRegisterClass(clsid, prog_id, "/usr/lib/libexample.so");
}

const Save kRegistry = {
    "RegistryFile",
    [](const Root& root) { Register(root, "Example.First", 1); },
    [](const Root& root, FaultPlan& plan) {
      plan.Arm();
      return Register(root, "Example.Second", 2);
    },
    [](const Root& root) { return root.ReadBytes("registry").value_or("no registry"); },
    {E_FAIL, 0},
    {S_OK, 0}};

// Printed as its name, which CTest then lists after the test's name in place of the row's index
// (the bytes of the functions it holds would change from build to build).
void PrintTo(const Save& save, std::ostream* out) {
  *out << save.name;
}

class SaveFaultTest : public testing::TestWithParam<Save> {
 protected:
  // Runs the save under the plan; the status and the assertion reports it gave.
  static Outcome Run(const Save& save, const Root& root, FaultPlan& plan) {
    LogCapture log;
    FaultVfs::ForgetDeletions();
    const HRESULT hr = save.save(root, plan);
    plan.Disarm();
    // The power fails right after the save: what it made lasting must stay.
    FaultVfs::CutPower();
    return {hr, log.CountLevel(u"important")};
  }

  FaultVfs vfs_;
};

TEST_P(SaveFaultTest, EveryFaultLeavesTheOldStateOrTheNewOne) {
  const Save& save = GetParam();
  std::string old_state, new_state, clean;
  long points = 0;
  {
    Root root;
    save.prepare(root);
    old_state = save.read(root);
    FaultPlan counting;
    const Outcome outcome = Run(save, root, counting);
    EXPECT_EQ(outcome.status, save.done.status);
    EXPECT_EQ(outcome.assertions, save.done.assertions);  // an undisturbed save reports nothing
    new_state = save.read(root);
    clean = Listing(root);
    points = counting.Calls();
  }
  if (!save.opening_finishes) {
    ASSERT_NE(old_state, new_state) << "the undisturbed save did not last";
  }
  ASSERT_GT(points, 0);

  long inconsistent = 0;
  for (auto fault : {FileSystem::Fault::kFail, FileSystem::Fault::kCrash}) {
    const char* kind = fault == FileSystem::Fault::kFail ? "fail" : "crash";
    for (long at = 0; at < points; ++at) {
      Root root;
      save.prepare(root);
      FaultPlan plan(at, fault);
      const Outcome outcome = Run(save, root, plan);
      const std::string now = save.read(root);
      const bool is_new = now == new_state;
      const Outcome& expected = is_new ? save.done : save.failed;
      bool left_temporary = false;
      if (fault == FileSystem::Fault::kFail) Listing(root, &left_temporary);
      // Made again, the save completes and leaves what an undisturbed one leaves.
      FaultPlan none;
      Run(save, root, none);
      const std::string after_retry = save.read(root), listing = Listing(root);
      const bool consistent = (is_new || now == old_state) && outcome.status == expected.status &&
                              outcome.assertions >= expected.assertions &&
                              outcome.assertions <= expected.assertions + expected.more &&
                              !left_temporary && after_retry == new_state && listing == clean;
      if (!consistent) {
        ++inconsistent;
        ADD_FAILURE() << kind << " at call " << at << " of " << points << ": state \"" << now
                      << "\" (old \"" << old_state << "\", new \"" << new_state << "\"), status "
                      << outcome.status << ", " << outcome.assertions << " assertion reports"
                      << (left_temporary ? ", temporary file left" : "") << "; after the retry \""
                      << after_retry << "\", files " << listing << " (clean: " << clean << ")";
      }
    }
  }
  RecordProperty("fault_points", static_cast<int>(2 * points));
  RecordProperty("inconsistent_states", static_cast<int>(inconsistent));
  std::cout << "[ faults   ] " << save.name << ": " << points << " fail + " << points
            << " crash points tried, " << inconsistent << " inconsistent\n";
  EXPECT_EQ(inconsistent, 0);
}

INSTANTIATE_TEST_SUITE_P(Saves, SaveFaultTest,
                         testing::Values(kOptions, kUserGrid, kKeyDepts, kLeaders, kPortal, kItems,
                                         kMobile, Enciphered("EncipheredProfile", false),
                                         Enciphered("EncipheredFromCompanion", true), kDialogs,
                                         kOffMsgIndex, kUserListImport, kCompanyImport,
                                         kLegacyImport, kRegistry));

}  // namespace
}  // namespace vk::test
