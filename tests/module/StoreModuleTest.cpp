#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "module/ClassTable.h"
#include "platform/FileLock.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "runtime/ComPtr.h"
#include "tests/module/ModuleFixture.h"
#include "tests/support/ErrorDescription.h"
#include "tests/support/FakeClock.h"

namespace vk::test {
namespace {

const std::string kOptionFileBytes("\xFF\xFE", 2);

// Whether the module holds the store an accessor hands out.
template <typename Store, typename... Kind>
bool Held(IWEZStore* s, HRESULT (IWEZStore::*get)(Store**, Kind...), Kind... kind) {
  Store* store = nullptr;
  (s->*get)(&store, kind...);
  if (store != nullptr) store->Release();
  return store != nullptr;
}

TEST_F(ModuleTest, LoadCreatesTheFoldersAndEveryStoreAndConnectsOnceUntilUnload) {
  EXPECT_EQ(Load(), S_OK);
  EXPECT_EQ(Assertions(), 0u);
  EXPECT_EQ(*data.ReadBytes("Accounts/wez.cfg"), kOptionFileBytes);
  EXPECT_TRUE(module->SinkConnected());
  EXPECT_EQ(root->Events().SinkCount(), 1u);
  for (LONG kind = 1; kind <= 6; ++kind) EXPECT_TRUE(Held(module, &IWEZStore::GetGroupStore, kind));
  EXPECT_TRUE(Held(module, &IWEZStore::GetUserList));
  EXPECT_TRUE(Held(module, &IWEZStore::GetUserGrid));
  EXPECT_TRUE(Held(module, &IWEZStore::GetKeyDeptsStore));
  EXPECT_TRUE(Held(module, &IWEZStore::GetDeptLeader));
  EXPECT_TRUE(Held(module, &IWEZStore::GetPortalStore));
  EXPECT_TRUE(Held(module, &IWEZStore::GetUserOptionStore));
  EXPECT_TRUE(Held(module, &IWEZStore::GetProfileStore));
  EXPECT_TRUE(Held(module, &IWEZStore::GetItemStore));
  EXPECT_TRUE(Held(module, &IWEZStore::GetProfileProStore));
  EXPECT_TRUE(Held(module, &IWEZStore::GetRevertDialogStore));
  EXPECT_TRUE(Held(module, &IWEZStore::GetLocalOffMsgStore));
  EXPECT_EQ(module->Path(StoreId::kCompanyGroups), data.Path() + u"Accounts/0/Group.dat");
  IOptionStore* global = nullptr;
  ASSERT_EQ(module->GetOptionStore(&global), S_OK);
  ASSERT_NE(global, nullptr);
  EXPECT_EQ(global->SetInt(u"k", 5), S_OK);
  global->Release();

  // Loading again connects no second sink; unloading disconnects, and the presence handler
  // no longer runs.
  Load();
  EXPECT_EQ(root->Events().SinkCount(), 1u);
  EXPECT_EQ(module->OnUnload(), S_OK);
  EXPECT_EQ(root->Events().SinkCount(), 0u);
  EXPECT_FALSE(module->SinkConnected());
  module->NotifyOrgStructStatus(1);
  root->FireMyPresenceChange(0, 0);
  EXPECT_EQ(module->OrgStructReady(), 1);
}

TEST_F(ModuleTest, ExistingOptionFilesAreNeverRewritten) {
  std::filesystem::create_directories(data.NativeFile("Accounts/alice"));
  data.WriteBytes("Accounts/wez.cfg", std::string("\xFF\xFE[\0D\0]\0", 8));
  data.WriteBytes("Accounts/alice/User.cfg", "ansi text");
  root->SetAccount(u"alice");
  Load();
  module->OnAccountChange();
  EXPECT_EQ(*data.ReadBytes("Accounts/wez.cfg"), std::string("\xFF\xFE[\0D\0]\0", 8));
  EXPECT_EQ(*data.ReadBytes("Accounts/alice/User.cfg"), "ansi text");
}

TEST_F(ModuleTest, AccountChangeCreatesTheFolderAndUserCfgAndBuildsEveryPath) {
  Load();
  root->SetAccount(u"Alice.Smith");
  log.Clear();
  EXPECT_EQ(module->OnAccountChange(), S_OK);
  EXPECT_EQ(*data.ReadBytes("Accounts/Alice.Smith/User.cfg"), kOptionFileBytes);
  std::u16string folder = data.Path() + u"Accounts/Alice.Smith/";
  EXPECT_EQ(module->Path(StoreId::kUserList), folder + u"userList5.dat");
  EXPECT_EQ(module->Path(StoreId::kPortal), folder + u"PortalIcon/EPortal.xml");
  EXPECT_EQ(module->Path(StoreId::kRevertDialogs), folder + u"RevertDialog.xml");
  EXPECT_EQ(module->Path(StoreId::kBuddyProfiles), folder + u"WEZProfilePro.dat");
  // Without WEZProfilePro.dat the sequence ends silently after the leaders: one login line.
  EXPECT_EQ(LoginLines(), 1u);
  EXPECT_EQ(Assertions(), 0u);
  // With it, the sequence runs to its end and writes the closing line.
  data.WriteBytes("Accounts/Alice.Smith/WEZProfilePro.dat", "");
  log.Clear();
  EXPECT_EQ(module->OnAccountChange(), S_OK);
  EXPECT_EQ(LoginLines(), 2u);
  EXPECT_EQ(Assertions(), 0u);
}

// Every file and folder the component makes for an account is its owner's alone, whatever
// the umask; the module owns the account folder while it works on it.
TEST_F(ModuleTest, AnAccountIsPrivateAndOwnedByTheProcessWorkingOnIt) {
  const mode_t umask_before = ::umask(0);
  EXPECT_EQ(LoadAs(u"alice"), S_OK);
  ComPtr<IUserGrid> grid;
  ASSERT_EQ(module->GetUserGrid(grid.Out()), S_OK);
  grid->SetGrid(u"bob", 5);
  const std::string lock = data.NativeFile("Accounts/alice/") + kAccountLockFile;
  EXPECT_EQ(FileLock::RecordedHolder(lock), ::getpid());
  pid_t child = ::fork();
  if (child == 0) ::_exit(FileLock::Probe(lock) == FileLock::State::kHeld ? 0 : 1);
  int status = -1;
  ::waitpid(child, &status, 0);
  EXPECT_EQ(status, 0) << "another process sees the account held";
  EXPECT_EQ(module->OnUnload(), S_OK);
  ::umask(umask_before);
  EXPECT_EQ(FileLock::Probe(lock), FileLock::State::kFree) << "unloading leaves the account";

  size_t files = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(data.NativePath())) {
    const auto perms = static_cast<unsigned>(entry.status().permissions());
    if (entry.is_directory()) {
      EXPECT_EQ(perms & 0777, 0700u) << entry.path();
    } else {
      EXPECT_EQ(perms & 077, 0u) << entry.path();
      ++files;
    }
  }
  EXPECT_GE(files, 15u);
}

// The file the module last opened the store on, as its diagnostics report it.
std::u16string OpenedOn(CStoreModule* module, StoreId id) {
  BSTR path = nullptr;
  module->GetStoreInfo(static_cast<LONG>(id), nullptr, nullptr, &path);
  std::u16string opened = path == nullptr ? u"" : path;
  SysFreeString(path);
  return opened;
}

TEST_F(ModuleTest, ChangingAccountsMovesTheStoresUntilOneFailsToOpen) {
  for (const char16_t* account : {u"alice", u"bob"}) {
    CreateFolders(data.File(u"Accounts/") + account);
    data.WriteBytes("Accounts/" + ToUtf8(account) + "/WEZProfilePro.dat", "");
  }
  // Bob's grid cannot be written: its opening fails, so the sequence stops there.
  CreateFolders(data.File(u"Accounts/bob/UserGrid.xml"));
  LoadAs(u"alice");
  auto file_of = [&](const char16_t* account, StoreId id) {
    return data.File(u"Accounts/") + account + u"/" + FromUtf8(Row(id).file);
  };
  for (const OpenStep& step : kAccountOpenOrder) {
    EXPECT_EQ(OpenedOn(module, step.id), file_of(u"alice", step.id)) << Row(step.id).file;
  }

  root->SetAccount(u"bob");
  log.Clear();
  EXPECT_EQ(module->OnAccountChange(), S_OK);
  EXPECT_GE(Assertions(), 1u);
  EXPECT_EQ(LoginLines(), 1u) << "a sequence that stops writes no closing line";
  bool before_failure = true;
  for (const OpenStep& step : kAccountOpenOrder) {
    if (step.id == StoreId::kUserGrid) {
      EXPECT_EQ(OpenedOn(module, step.id), u"") << "a failed opening leaves the store closed";
      before_failure = false;
      continue;
    }
    EXPECT_EQ(OpenedOn(module, step.id), file_of(before_failure ? u"bob" : u"alice", step.id))
        << Row(step.id).file;
  }
  const std::string lock = "/" + std::string(kAccountLockFile);
  EXPECT_EQ(FileLock::Probe(data.NativeFile("Accounts/alice") + lock), FileLock::State::kFree);
  EXPECT_EQ(FileLock::RecordedHolder(data.NativeFile("Accounts/bob") + lock), ::getpid());
}

// The stores keep changes in memory; unloading is what writes them.
TEST_F(ModuleTest, UnloadWritesEveryStoresPendingChanges) {
  CreateFolders(data.File(u"Accounts/alice"));
  data.WriteBytes("Accounts/alice/WEZProfilePro.dat", "");  // the sequence runs to its end
  LoadAs(u"alice");
  // What a fresh store of the row's class reads from the module's file.
  auto read_back = [&]<typename Store>(Store*, StoreId id, auto query) {
    ComPtr<Store> fresh;
    LocalCreate(*Row(id).clsid, *Row(id).iid, reinterpret_cast<void**>(fresh.Out()));
    const std::u16string path = module->Path(id);
    LONG value = -1;
    if (fresh != nullptr &&
        SUCCEEDED(fresh->Initialize(path.c_str(), static_cast<IClientRoot*>(root)))) {
      query(fresh.get(), &value);
    }
    return value;
  };
  ComPtr<IUserGrid> grid;
  ComPtr<IKeyDepts> key_depts;
  ComPtr<IDeptLeader> leaders;
  ASSERT_EQ(module->GetUserGrid(grid.Out()), S_OK);
  ASSERT_EQ(module->GetKeyDeptsStore(key_depts.Out()), S_OK);
  ASSERT_EQ(module->GetDeptLeader(leaders.Out()), S_OK);
  grid->SetGrid(u"bob", 41);
  key_depts->SetVersion(42);
  leaders->SetLeader(7, 1, 43);
  auto grid_of_bob = [&] {
    return read_back(grid.get(), StoreId::kUserGrid,
                     [](IUserGrid* s, LONG* v) { s->GetGrid(u"bob", v); });
  };
  EXPECT_NE(grid_of_bob(), 41) << "written before the unload";
  EXPECT_EQ(module->OnUnload(), S_OK);
  EXPECT_EQ(grid_of_bob(), 41);
  EXPECT_EQ(read_back(key_depts.get(), StoreId::kKeyDepts,
                      [](IKeyDepts* s, LONG* v) { s->GetVersion(v); }),
            42);
  EXPECT_EQ(read_back(leaders.get(), StoreId::kDeptLeader,
                      [](IDeptLeader* s, LONG* v) { s->GetLeader(7, v); }),
            43);
}

TEST_F(ModuleTest, AnAccountHeldByAnotherProcessStillOpensAndSaysWhoHoldsIt) {
  CreateFolders(data.File(u"Accounts/alice"));
  const std::string lock = data.NativeFile("Accounts/alice/") + kAccountLockFile;
  int ready[2], done[2];
  ASSERT_EQ(::pipe(ready), 0);
  ASSERT_EQ(::pipe(done), 0);
  pid_t child = ::fork();
  if (child == 0) {
    FileLock held;
    char byte = held.Take(lock, std::chrono::milliseconds(0)) && held.RecordHolder() ? 'y' : 'n';
    (void)!::write(ready[1], &byte, 1);
    (void)!::read(done[0], &byte, 1);
    ::_exit(0);
  }
  char byte = 0;
  ASSERT_EQ(::read(ready[0], &byte, 1), 1);
  ASSERT_EQ(byte, 'y');
  EXPECT_EQ(LoadAs(u"alice"), S_OK);
  EXPECT_FALSE(module->Path(StoreId::kUserGrid).empty()) << "the stores open all the same";
  const std::u16string said = u"is in use by process " + FromUtf8(std::to_string(child));
  const auto records = log.Records();
  EXPECT_TRUE(std::any_of(records.begin(), records.end(), [&](const auto& r) {
    return r.text.find(said) != std::u16string::npos;
  }));
  (void)!::write(done[1], "x", 1);
  int status = 0;
  ::waitpid(child, &status, 0);
  // Once the other process is gone, the next account change takes the account.
  EXPECT_EQ(module->OnAccountChange(), S_OK);
  EXPECT_EQ(FileLock::RecordedHolder(lock), ::getpid());
  for (int fd : {ready[0], ready[1], done[0], done[1]}) ::close(fd);
}

TEST_F(ModuleTest, AccountNamesThatLeaveTheAccountsFolderAreRefused) {
  Load();
  for (const char16_t* bad : {u"", u".", u"..", u"../evil", u"a/b", u"a\\b"}) {
    root->SetAccount(bad);
    log.Clear();
    EXPECT_EQ(module->OnAccountChange(), S_OK);
    EXPECT_EQ(Assertions(), 1u);
    EXPECT_TRUE(module->Path(StoreId::kUserOptions).empty());
  }
  EXPECT_FALSE(data.ReadBytes("evil/User.cfg").has_value());
  EXPECT_FALSE(data.ReadBytes("Accounts/a/b/User.cfg").has_value());
}

TEST_F(ModuleTest, MissingSiteOrRootFailsWithoutCreatingAnything) {
  EXPECT_EQ(module->OnLoad(nullptr), E_POINTER);
  IDataItem* not_site = nullptr;  // an object the client made, but no site
  ASSERT_EQ(root->CreateDataItem(&not_site), S_OK);
  EXPECT_EQ(module->OnLoad(not_site), E_NOINTERFACE);
  not_site->Release();
  EXPECT_FALSE(data.ReadBytes("Accounts/wez.cfg").has_value());
  IUserList* ul = reinterpret_cast<IUserList*>(0x1);
  EXPECT_EQ(module->GetUserList(&ul), E_FAIL);

  // Before any load the root is unknown: one login line, then an error out of the call.
  EXPECT_TRUE(FAILED(module->OnAccountChange()));
  EXPECT_EQ(LoginLines(), 1u);
  EXPECT_FALSE(std::filesystem::exists(data.NativeFile("Accounts")));
  IModuleSite* kept = nullptr;
  EXPECT_EQ(module->get_Site(&kept), E_FAIL);
}

TEST_F(ModuleTest, RefusedConnectionFailsTheLoad) {
  root->Events().RefuseAdvise(true);
  log.Clear();
  EXPECT_EQ(Load(), E_FAIL);
  EXPECT_FALSE(module->SinkConnected());
  EXPECT_TRUE(log.HasDebugLineContaining("exception (const char*): Error"));
  EXPECT_EQ(Assertions(), 2u);  // the failing step's and the load's
  EXPECT_NE(TakeErrorDescription().value_or(u"").find(u"IConnectionPointContainer"),
            std::u16string::npos)
      << "the failure says what the client must offer";
}

TEST_F(ModuleTest, NullOutPointersAndGroupKindsOutOfRange) {
  log.Clear();
  EXPECT_EQ(module->get_Identifier(nullptr), E_INVALIDARG);
  EXPECT_EQ(module->get_Name(nullptr), E_INVALIDARG);
  EXPECT_EQ(module->GetUserList(nullptr), E_INVALIDARG);
  EXPECT_EQ(module->GetGroupStore(nullptr, 1), E_INVALIDARG);
  EXPECT_EQ(Assertions(), 4u);
  EXPECT_EQ(module->get_Site(nullptr), E_INVALIDARG);
  EXPECT_EQ(Assertions(), 4u);  // get_Site reports nothing

  IWEZGroupStore* untouched = reinterpret_cast<IWEZGroupStore*>(0x1234);
  EXPECT_EQ(module->GetGroupStore(&untouched, 0), S_OK);
  EXPECT_EQ(module->GetGroupStore(&untouched, 7), S_OK);
  EXPECT_EQ(untouched, reinterpret_cast<IWEZGroupStore*>(0x1234));

  // The profile store's accessor answers S_OK with a null store, after a report.
  IWEZProfileStore* profile = reinterpret_cast<IWEZProfileStore*>(0x1);
  log.Clear();
  EXPECT_EQ(module->GetProfileStore(&profile), S_OK);
  EXPECT_EQ(profile, nullptr);
  EXPECT_EQ(Assertions(), 1u);

  BSTR name = nullptr;  // the identifier's text is checked by the C client
  EXPECT_EQ(module->get_Name(&name), S_OK);
  EXPECT_GT(SysStringLen(name), 0u);
  SysFreeString(name);
}

TEST_F(ModuleTest, MobileProfileAccessorCreatesTheStoreWhenMissing) {
  IWEZItemStore* items = reinterpret_cast<IWEZItemStore*>(0x1);
  EXPECT_EQ(module->GetItemStore(&items), E_FAIL);  // before the load: no item store
  ComPtr<IMobileProfileStore> first, second;
  ASSERT_EQ(module->GetMobileProfileStore(first.Out()), S_OK);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(module->GetMobileProfileStore(second.Out()), S_OK);
  EXPECT_EQ(first.get(), second.get());  // created once, then held
  EXPECT_EQ(first->Initialize((data.Path() + u"MobileProfile.xml").c_str()), S_OK);
}

TEST_F(ModuleTest, ReadinessFlagsLogTheirTextsAndThePresenceEventClearsThem) {
  Load();
  log.Clear();
  module->NotifyOrgStructStatus(1);
  module->NotifyUserListStatus(1);
  auto records = log.Records();
  ASSERT_EQ(records.size(), 2u);
  EXPECT_EQ(records[0].text, u"组织架构更新完毕");
  EXPECT_EQ(records[1].text, u"用户列表更新完毕");
  for (const auto& r : records) {
    EXPECT_EQ(r.level, u"important");
    EXPECT_EQ(r.source, u"XWEZStore");
    EXPECT_EQ(r.function, u"NotifyOrgStructStatus");
  }
  EXPECT_EQ(module->OrgStructReady(), 1);
  root->FireMyPresenceChange(3, 1);
  EXPECT_EQ(module->UserListReady(), 1);
  root->FireMyPresenceChange(3, 0);
  EXPECT_EQ(module->OrgStructReady(), 0);
  EXPECT_EQ(module->UserListReady(), 0);
}

TEST_F(ModuleTest, FlushTimerClosesTheStoresEverySixtySecondsOfLoopTime) {
  // The client installs its clock after the module armed the flush on the system clock.
  FakeClock clock;
  Load();
  ComPtr<IUserGrid> grid;
  ASSERT_EQ(module->GetUserGrid(grid.Out()), S_OK);
  const std::u16string path = data.Path() + u"grid.xml";
  ASSERT_EQ(grid->Initialize(path.c_str(), static_cast<IClientRoot*>(root)), S_OK);
  ASSERT_EQ(grid->SetGrid(u"zhangsan", 42), S_OK);
  auto on_disk = [&] { return data.ReadBytes("grid.xml").value_or(""); };
  for (int second = 1; second < 60; ++second) {
    clock.Advance(1000);
    VkPumpMessages();
  }
  EXPECT_EQ(on_disk().find("Grid=\"42\""), std::string::npos) << "flushed before 60 s";
  clock.Advance(1000);
  VkPumpMessages();
  EXPECT_NE(on_disk().find("Grid=\"42\""), std::string::npos) << "not flushed at 60 s";
  ASSERT_EQ(grid->SetGrid(u"zhangsan", 43), S_OK);
  clock.Advance(60000);
  VkPumpMessages();
  EXPECT_NE(on_disk().find("Grid=\"43\""), std::string::npos) << "not flushed again at 120 s";
}

TEST_F(ModuleTest, CompanyGroupStoreTakesMembersFromTheUserListOfALiveModule) {
  Load();
  IUserList* list = nullptr;
  ASSERT_EQ(module->GetUserList(&list), S_OK);
  std::u16string list_path = data.Path() + u"userList5.dat";
  ASSERT_EQ(list->Initialize(list_path.c_str(), static_cast<IClientRoot*>(root)), S_OK);
  UserListEntry entry{};
  entry.uin = 7;
  std::u16string(u"ZhangSan").copy(entry.nick, 31);
  list->AddUser(10000002, &entry);
  list->Release();

  std::u16string group_path = data.Path() + u"Group.dat";
  auto members = [&](CStoreModule* current) {
    IWEZGroupStore* company = nullptr;
    LocalCreate(CLSID_WEZGroupStore, IID_IWEZGroupStore, reinterpret_cast<void**>(&company));
    company->Initialize(group_path.c_str(), 1);
    BSTR nicks[1] = {};
    LONG count = -1;
    HRESULT hr = company->GetMembers(10000002, nicks, &count);
    // A failure leaves the count as it was.
    std::u16string out = hr == S_OK ? std::u16string(nicks[0]) : count == -1 ? u"failed" : u"?";
    SysFreeString(nicks[0]);
    company->Release();
    EXPECT_EQ(CStoreModule::Instance(), current);
    return out;
  };
  EXPECT_EQ(members(module), u"zhangsan");  // the user list folds nicknames
  // A module that holds no user list: no members, nothing touched.
  auto* unloaded = new CStoreModule();
  EXPECT_EQ(members(unloaded), u"failed");
  unloaded->Release();
}

TEST(LocalCreation, NullOutPointerAndUnknownClass) {
  EXPECT_EQ(LocalCreate(CLSID_StoreModule, IID_IClientModule, nullptr), E_INVALIDARG);
  void* object = reinterpret_cast<void*>(0x1);
  EXPECT_EQ(LocalCreate(IID_IUnknown, IID_IUnknown, &object), CLASS_E_CLASSNOTAVAILABLE);
  EXPECT_EQ(object, nullptr);
  ASSERT_EQ(LocalCreate(CLSID_StoreModule, IID_IWEZStore, &object), S_OK);
  auto* stores = static_cast<IWEZStore*>(object);
  IClientModule* module = nullptr;
  EXPECT_EQ(stores->QueryInterface(IID_IClientModule, reinterpret_cast<void**>(&module)), S_OK);
  IDispatch* automation = nullptr;
  EXPECT_EQ(stores->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(&automation)), S_OK);
  DISPID id = 0;
  LPOLESTR name = const_cast<LPOLESTR>(u"Anything");
  EXPECT_EQ(automation->GetIDsOfNames(IID_NULL, &name, 1, 0, &id), DISP_E_UNKNOWNNAME);
  automation->Release();
  module->Release();
  EXPECT_EQ(stores->Release(), 0u);
}

}  // namespace
}  // namespace vk::test
