// Every save of the component, interrupted at each of its file-changing calls in turn (the
// call fails, or the process stops there as a crash would): the store's next opening finds the
// old state or the new one, whole; the store answers what its contract says for a failed
// save; and once the save has been made again, the folder holds exactly what an undisturbed
// save leaves, with no temporary file.
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
#include "storage/FixedField.h"
#include "tests/faults/FaultPlan.h"
#include "tests/faults/FaultVfs.h"
#include "tests/org/ComPtr.h"
#include "tests/support/LogCapture.h"
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

std::string Text(std::u16string_view text) {
  return ToUtf8(text);
}
std::string Number(LONG n) {
  return std::to_string(n);
}
template <typename Store>
ComPtr<Store> Make() {
  return MakeStore<Store>();
}
BSTR Bstr(const std::u16string& text) {
  return SysAllocString(text.c_str());
}
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

// ---- the option files ----
const Save kOptions = {"OptionFile",
                       [](const Root& root) {
                         root.WriteBytes("User.cfg", "\xFF\xFE");
                         auto store = Make<COptionStore>();
                         store->Open(root.File(u"User.cfg").c_str());
                         store->SetInt(u"Keep", 1);
                         store->SetInt(u"Count", 1);
                       },
                       [](const Root& root, FaultPlan& plan) {
                         auto store = Make<COptionStore>();
                         store->Open(root.File(u"User.cfg").c_str());
                         plan.Arm();
                         return store->SetInt(u"Count", 2);
                       },
                       [](const Root& root) {
                         auto store = Make<COptionStore>();
                         store->Open(root.File(u"User.cfg").c_str());
                         LONG keep = 0, count = 0;
                         store->GetInt(u"Keep", &keep);
                         store->GetInt(u"Count", &count);
                         return Number(keep) + "," + Number(count);
                       },
                       {E_FAIL, 0},
                       {S_OK, 0}};

// ---- the versioned XML stores: a change, then Close writes the file ----
template <typename Store>
Save XmlSave(const char* name, const char16_t* file, std::function<void(Store&, int)> change,
             std::function<std::string(Store&)> read, std::string initial = "",
             Outcome failed = {S_OK, 1}, Outcome done = {S_OK, 0}) {
  auto open = [file](const Root& root) {
    auto store = Make<Store>();
    EXPECT_EQ(store->Initialize(root.File(file).c_str(), nullptr), S_OK);
    return store;
  };
  return {name,
          [=](const Root& root) {
            if (!initial.empty()) {
              CreateFolders(root.File(file).substr(0, root.File(file).rfind(kSep)));
              root.WriteBytes(ToUtf8(file), initial);
            }
            auto store = open(root);
            change(*store, 1);
            store->Close();
          },
          [=](const Root& root, FaultPlan& plan) {
            auto store = open(root);
            change(*store, 2);
            plan.Arm();
            return store->Close();
          },
          [=](const Root& root) { return read(*open(root)); },
          failed,
          done};
}

const Save kUserGrid = XmlSave<CUserGrid>(
    "UserGrid", u"UserGrid.xml",
    [](CUserGrid& s, int n) {
      s.SetGrid(u"ann", n);
      s.SetGrid(u"bob", 5);
      s.SetVersion(n);
    },
    [](CUserGrid& s) {
      LONG ann = 0, bob = 0, version = 0;
      s.GetGrid(u"ann", &ann);
      s.GetGrid(u"bob", &bob);
      s.GetVersion(&version);
      return Number(ann) + "," + Number(bob) + "," + Number(version);
    });

const Save kKeyDepts = XmlSave<CKeyDepts>(
    "KeyDepts", u"KeyDepts.xml",
    [](CKeyDepts& s, int n) {
      ULONG ids[] = {7, static_cast<ULONG>(n)};
      LONG count = 2;
      s.SetKeyDepts(u"ann", ids, &count);
    },
    [](CKeyDepts& s) {
      ULONG ids[4] = {};
      LONG count = 4;
      s.GetKeyDepts(u"ann", ids, &count);
      return Number(count) + ":" + Number(ids[0]) + "," + Number(ids[1]);
    });

const Save kLeaders = XmlSave<CDeptLeader>(
    "Leaders", u"Leader.xml",
    [](CDeptLeader& s, int n) {
      s.SetLeader(1, n, 100 + n);
      s.SetLeader(2, 1, 7);
    },
    [](CDeptLeader& s) {
      LONG one = 0, two = 0;
      s.GetLeader(1, &one);
      s.GetLeader(2, &two);
      return Number(one) + "," + Number(two);
    });

const Save kPortal = XmlSave<CPortalStore>(
    "Portal", u"PortalIcon/EPortal.xml", [](CPortalStore& s, int n) { s.SetVersion(n); },
    [](CPortalStore& s) {
      LONG version = 0;
      const HRESULT hr = s.GetVersion(&version);
      return Number(hr) + ":" + Number(version);
    },
    // as the server writes it: the root and attribute the version is read from
    "<?xml version=\"1.0\" encoding=\"gb2312\"?><PORTAL ver=\"0\"><Dept id=\"4\"/></PORTAL>",
    // Close and the destruction that follows both save: the old state stays only when both
    // fail; a new one may follow one failure.
    {S_OK, 2}, {S_OK, 0, 1});

// ---- the item and mobile profile stores (Initialize takes the path alone) ----
template <typename Store>
Save ProfileXmlSave(const char* name, const char16_t* file, std::function<void(Store&, int)> change,
                    std::function<std::string(Store&)> read) {
  auto open = [file](const Root& root) {
    auto store = Make<Store>();
    BSTR path = Bstr(root.File(file));
    EXPECT_EQ(store->Initialize(path), S_OK);
    SysFreeString(path);
    return store;
  };
  return {name,
          [=](const Root& root) {
            CreateFolders(root.File(file).substr(0, root.File(file).rfind(kSep)));
            auto store = open(root);
            change(*store, 1);
            store->Close();
          },
          [=](const Root& root, FaultPlan& plan) {
            auto store = open(root);
            change(*store, 2);
            plan.Arm();
            return store->Close();
          },
          [=](const Root& root) { return read(*open(root)); },
          {S_OK, 1},
          {S_OK, 0}};
}

ItemField Field(std::u16string_view id, std::u16string_view value) {
  ItemField field{};
  FillField(field.id, id);
  FillField(field.value, value);
  return field;
}

const Save kItems = ProfileXmlSave<CWEZItemStore>(
    "Items", u"WEZExtBuddy.xml",
    [](CWEZItemStore& s, int n) {
      const ItemField fields[] = {Field(u"a", FromUtf8(Number(n))), Field(u"b", u"kept")};
      s.SetItemFields(u"x", fields, 2);
    },
    [](CWEZItemStore& s) {
      ItemField fields[4] = {};
      LONG count = 0;
      s.GetItemFields(u"x", fields, &count);
      std::string out = Number(count);
      for (LONG i = 0; i < count; ++i) out += ";" + Text(FieldText(fields[i].value));
      return out;
    });

const Save kMobile = ProfileXmlSave<CMobileProfileStore>(
    "MobileProfile", u"MobileProfile.xml",
    [](CMobileProfileStore& s, int n) {
      if (n == 2) {
        s.DeleteItem(u"a");
        return;
      }
      for (const char16_t* name : {u"a", u"b"}) {
        MobileProfileItem item{};
        FillField(item.Name, name);
        item.GID = 3;
        s.AddItem(&item);
      }
    },
    [](CMobileProfileStore& s) {
      LONG count = 0;
      s.GetItemCount(&count);
      std::vector<MobileProfileItem> items(static_cast<size_t>(count));
      s.GetItems(items.data());
      std::string out = Number(count);
      for (const auto& item : items) out += ";" + Text(FieldText(item.Name));
      return out;
    });

// ---- the enciphered profile file ----
ProfileInfo Profile(std::u16string_view nick, LONG uin) {
  ProfileInfo p{};
  FillField(p.nick, nick);
  p.uin = uin;
  return p;
}

const Save kEnciphered = ProfileXmlSave<CWEZProfileStore>(
    "EncipheredProfile", u"Accounts/alice/WEZProfile.dat",
    [](CWEZProfileStore& s, int n) {
      ProfileInfo p = Profile(n == 1 ? u"old" : u"new", n);
      s.SetProfile(&p);
    },
    [](CWEZProfileStore& s) {
      LONG count = 0;
      s.GetProfileCount(&count);
      std::string out = Number(count);
      for (const char16_t* nick : {u"old", u"new"}) {
        ProfileInfo p = Profile(nick, 0);
        out += ";" + Number(s.GetProfile(&p) == S_OK ? p.uin : -1);
      }
      return out;
    });

// ---- the reply-pending dialogs: every operation saves at once ----
template <typename Run>
HRESULT WithDialogs(const Root& root, Run&& run) {
  ClientRoot* client = new ClientRoot();
  client->SetAccount(u"alice");
  auto store = Make<CRevertDialogStore>();
  BSTR path = Bstr(root.File(u"Accounts/alice/RevertDialog.xml"));
  EXPECT_EQ(store->Initialize(path, static_cast<IClientRoot*>(client)), S_OK);
  SysFreeString(path);
  const HRESULT hr = run(*store);
  store.reset();
  client->Release();
  return hr;
}

const Save kDialogs = {"RevertDialogs",
                       [](const Root& root) {
                         CreateFolders(root.File(u"Accounts/alice"));
                         WithDialogs(root, [](CRevertDialogStore& s) {
                           s.AddDialog(u"s1", u"p", u"m", u"t");
                           return s.AddDialog(u"s2", u"p", u"m", u"t");
                         });
                       },
                       [](const Root& root, FaultPlan& plan) {
                         return WithDialogs(root, [&](CRevertDialogStore& s) {
                           plan.Arm();
                           return s.RemoveDialog(u"s1");
                         });
                       },
                       [](const Root& root) {
                         std::string out;
                         WithDialogs(root, [&](CRevertDialogStore& s) {
                           LONG count = 0;
                           s.GetDialogCount(&count);
                           int16_t one = 0, two = 0;
                           s.FindDialog(u"s1", &one);
                           s.FindDialog(u"s2", &two);
                           out = Number(count) + "," + Number(one) + "," + Number(two);
                           return S_OK;
                         });
                         return out;
                       },
                       {S_OK, 0},
                       {S_OK, 0}};

// ---- the offline message index: a deletion rewrites it ----
template <typename Run>
HRESULT WithOffMsgs(const Root& root, Run&& run) {
  ClientRoot* client = new ClientRoot();
  client->SetDataFolder(root.Path());
  client->SetAccount(u"bob");
  ModuleSite* site = new ModuleSite(client);
  auto store = Make<CLocalOffMsgStore>();
  EXPECT_EQ(store->Init(site), S_OK);
  EXPECT_EQ(store->OpenAccount(), S_OK);
  const HRESULT hr = run(*store);
  store.reset();
  site->Release();
  client->Release();
  return hr;
}

samples::OffMsgRecord Message(std::u16string id, LONG time) {
  samples::OffMsgRecord r;
  r.msg_id = std::move(id);
  r.create_time = time;
  r.sender = u"snd";
  r.receivers = u"rcv";
  r.type = u"T";
  r.body = u"<m/>";
  return r;
}

const Save kOffMsgIndex = {
    "OffMsgIndex",
    [](const Root& root) {
      ASSERT_TRUE(samples::WriteOffMsgChannel(
          root.Path(), u"bob", VK_OFFMSG_CHANNEL_IM,
          samples::BuildOffMsgChannel({Message(u"a", 1), Message(u"b", 2), Message(u"c", 3)})));
    },
    [](const Root& root, FaultPlan& plan) {
      return WithOffMsgs(root, [&](CLocalOffMsgStore& s) {
        plan.Arm();
        return s.DeleteOffMsgIndexByID(u"b");
      });
    },
    [](const Root& root) {
      std::string out;
      WithOffMsgs(root, [&](CLocalOffMsgStore& s) {
        LONG total = 0;
        s.GetTotalCount(&total);
        out = Number(total);
        for (const char16_t* id : {u"a", u"b", u"c"}) {
          VARIANT v;
          VariantInit(&v);
          s.GetOffMsgByID(id, &v);
          LONG found = 0;
          if (v.vt == VT_DISPATCH) static_cast<IDataList*>(v.u.pdispVal)->get_Count(&found);
          VariantClear(&v);
          out += ";" + Number(found);
        }
        return S_OK;
      });
      return out;
    },
    {static_cast<HRESULT>(-1), 0},
    {S_OK, 0}};

// ---- the organisation import and the swap that puts it online ----
class AnyClient : public ComObject<IUnknown> {};

template <typename Run>
HRESULT WithUserList(const Root& root, Run&& run) {
  AnyClient* client = new AnyClient();
  CUserList* list = new CUserList();
  EXPECT_EQ(list->Initialize(root.File(u"userList5.dat").c_str(), client), S_OK);
  list->WaitForReaders();
  const HRESULT hr = run(*list);
  list->WaitForReaders();
  list->Release();
  client->Release();
  return hr;
}

const Save kUserListImport = {
    "UserListImport",
    [](const Root& root) {
      WithUserList(root, [](CUserList& list) {
        UserListEntry entry{};
        FillField(entry.nick, u"old");
        entry.uin = 1;
        list.SetDeptVersion(1, 1);
        return list.AddUserEx(1, &entry, 0);
      });
      root.WriteBytes("org.xml",
                      "<?xml version=\"1.0\" encoding=\"gb2312\"?><UserList ProVer=\"2\" "
                      "DeptVer=\"3\"><Dept id=\"5\" Ver=\"1\"><U NICK=\"new\" UIN=\"2\"/>"
                      "<U NICK=\"two\" UIN=\"3\"/></Dept><Dept id=\"6\" Ver=\"1\"/></UserList>");
    },
    [](const Root& root, FaultPlan& plan) {
      return WithUserList(root, [&](CUserList& list) {
        plan.Arm();
        const HRESULT hr = list.LoadDataFromXml(root.File(u"org.xml").c_str());
        LONG count = 0;
        list.GetDeptCount(&count);  // runs the swap
        return hr;
      });
    },
    [](const Root& root) {
      std::string out;
      WithUserList(root, [&](CUserList& list) {
        LONG count = 0;
        list.GetDeptCount(&count);
        out = Number(count);
        for (ULONG uin : {1u, 2u, 3u}) {
          BSTR nick = nullptr;
          out += ";" + (list.GetNickByUin(uin, &nick) == S_OK ? Text(nick) : "-");
          SysFreeString(nick);
        }
        return S_OK;
      });
      return out + ";" + Integrity(root, u"userList5.dat");
    },
    {S_OK, 0},
    {S_OK, 0}};

// ---- the group stores: the company import and a legacy file's import and rename ----
template <typename Run>
HRESULT WithGroups(const Root& root, LONG kind, const char16_t* file, Run&& run) {
  auto store = Make<CWEZGroupStore>();
  const HRESULT opened = store->Initialize(root.File(file).c_str(), kind);
  return run(*store, opened);
}

std::string Tree(IWEZGroupStore& store, LONG parent) {
  GroupInfo groups[16] = {};
  LONG count = 0;
  if (store.GetSubGroups(parent, groups, &count) != S_OK) return "E";
  std::string out;
  for (LONG i = 0; i < count; ++i)
    out += Number(groups[i].id) + ":" + Text(FieldText(groups[i].name)) + "{" +
           Tree(store, groups[i].id) + "}";
  return out;
}

std::string Members(IWEZGroupStore& store, LONG id) {
  BSTR nicks[8] = {};
  LONG count = 0;
  if (store.GetMembers(id, nicks, &count) != S_OK) return "E";
  std::string out;
  for (LONG i = 0; i < count; ++i) {
    out += Text(nicks[i]) + ",";
    SysFreeString(nicks[i]);
  }
  return out;
}

HRESULT ImportCompany(const Root& root, const char* xml, FaultPlan* plan) {
  root.WriteBytes("company.xml", xml);
  return WithGroups(root, 1, u"Group.dat", [&](CWEZGroupStore& s, HRESULT) {
    if (plan != nullptr) plan->Arm();
    return s.LoadDataFromXml(root.File(u"company.xml").c_str());
  });
}

const Save kCompanyImport = {
    "CompanyGroupImport",
    [](const Root& root) {
      ImportCompany(root, "<Groups Ver=\"3\"><Group id=\"1\" name=\"Old\"/></Groups>", nullptr);
    },
    [](const Root& root, FaultPlan& plan) {
      return ImportCompany(root,
                           "<Groups Ver=\"4\"><Group id=\"1\" name=\"New\"><Group id=\"2\" "
                           "name=\"Sub\"/></Group><Group id=\"3\" name=\"Other\"/></Groups>",
                           &plan);
    },
    [](const Root& root) {
      std::string out;
      WithGroups(root, 1, u"Group.dat", [&](CWEZGroupStore& s, HRESULT) {
        BSTR version = nullptr;
        s.GetVersion(&version);
        out = (version != nullptr ? Text(version) : "-") + ";" + Tree(s, 0);
        SysFreeString(version);
        return S_OK;
      });
      return out + ";" + Integrity(root, u"Group.dat");
    },
    {S_OK, 0},
    {S_OK, 0}};

const Save kLegacyImport = {
    "LegacyGroupImport",
    [](const Root& root) {
      WithGroups(root, 2, u"FriendGroup.dat", [](CWEZGroupStore&, HRESULT hr) { return hr; });
      root.WriteBytes("FriendGroup.xml",
                      "<?xml version=\"1.0\" encoding=\"gb2312\"?><Groups Ver=\"-1\">"
                      "<Group name=\"x\" id=\"20000001\"><U NICK=\"ann\"/><U NICK=\"bob\"/>"
                      "</Group></Groups>");
    },
    [](const Root& root, FaultPlan& plan) {
      plan.Arm();
      return WithGroups(root, 2, u"FriendGroup.dat",
                        [](CWEZGroupStore&, HRESULT hr) { return hr; });
    },
    [](const Root& root) {
      std::string out;
      WithGroups(root, 2, u"FriendGroup.dat", [&](CWEZGroupStore& s, HRESULT) {
        out = Members(s, 20000001);
        return S_OK;
      });
      return out + ";" + Integrity(root, u"FriendGroup.dat") + ";" +
             (IsFileExist(root.File(u"FriendGroup.xml")) ? "xml" : "") +
             (IsFileExist(root.File(u"FriendGroup.xml.bak")) ? "bak" : "");
    },
    {S_OK, 0},
    {S_OK, 0},
    true};

class SaveFaultTest : public testing::TestWithParam<Save> {
 protected:
  // Runs the save under the plan; the status and the assertion reports it gave.
  static Outcome Run(const Save& save, const Root& root, FaultPlan& plan) {
    LogCapture log;
    const HRESULT hr = save.save(root, plan);
    plan.Disarm();
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
    ASSERT_NE(old_state, new_state);
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
                                         kMobile, kEnciphered, kDialogs, kOffMsgIndex,
                                         kUserListImport, kCompanyImport, kLegacyImport),
                         [](const testing::TestParamInfo<Save>& info) { return info.param.name; });

}  // namespace
}  // namespace vk::test
