#include <cstring>
#include <thread>

#include "platform/Text.h"
#include "tests/org/UserListFixture.h"
#include "tests/support/BriefDatabaseLock.h"
#include "tests/support/MakeStore.h"

namespace vk::test {
namespace {

using UserListTest = UserListFixture;

TEST_F(UserListTest, InitializeChecksItsArgumentsAndUninitialisedListFails) {
  auto fresh = MakeStore<CUserList>();
  ExpectEach(E_INVALIDARG, {fresh->Initialize(u"", client_), fresh->Initialize(nullptr, client_),
                            fresh->Initialize(path_.c_str(), nullptr)});
  LONG count = 7;
  EXPECT_EQ(fresh->GetDeptCount(&count), E_FAIL);
  EXPECT_EQ(count, 7);  // nothing touched without a connection
  UserListEntry entry = Entry(u"x", 1);
  EXPECT_EQ(fresh->AddUser(1, &entry), E_FAIL);
  EXPECT_EQ(fresh->AddUser(1, nullptr), E_INVALIDARG);  // tested before the connection
  // Unusable in-arguments are refused without an assertion report in the client log.
  EXPECT_EQ(log_.CountLevel(u"important"), 0u);
  BSTR nicks[1] = {};
  EXPECT_EQ(fresh->GetDeptUserNicks(5, nullptr, &count), E_INVALIDARG);
  EXPECT_EQ(fresh->GetDeptUserNicks(5, nicks, &count), E_FAIL);
  EXPECT_EQ(Answer(fresh, &CUserList::GetNickByUin, 5), "E_FAIL <null>");  // fails at the bind
  EXPECT_EQ(AnswerOver(3, fresh, &CUserList::GetGenderByNick, u"x"), "E_FAIL 0");  // cleared
  EXPECT_EQ(AnswerOver(reinterpret_cast<BSTR>(0x1), fresh, &CUserList::GetNameByNick, u"x"),
            "E_FAIL <null>");
  EXPECT_EQ(fresh->Save(), S_OK);
  EXPECT_EQ(fresh->LoadDataFromXml(path_.c_str()), E_FAIL);
}

TEST_F(UserListTest, AddUserWritesTheRowButReportsFailure) {
  EXPECT_EQ(Add(10, u"ZhangSan", 1001), E_FAIL);
  EXPECT_EQ(Answer(list_, &CUserList::GetUinByNick, u"ZHANGSAN"), "S_OK 1001");
  EXPECT_EQ(Query("SELECT uin, nickname, name, departmentId, gender FROM member"),
            "1001|zhangsan|NULL|10|0;");
  // A row without a name: an empty name, and no parentheses in the search lists.
  EXPECT_EQ(Answer(list_, &CUserList::GetNameByNick, u"zhangsan"), "S_OK ");
  Reopen();
  EXPECT_EQ(Search(u"zh"), u"zhangsan;");
}

TEST_F(UserListTest, AddUserExReplacesTheNicknamesRowInThatDepartmentOnly) {
  Add(1, u"li", 1, 2);
  Add(2, u"li", 1, 2);
  EXPECT_EQ(Add(1, u"LI", 99, 1), E_FAIL);
  EXPECT_EQ(Query("SELECT uin, departmentId, gender FROM member ORDER BY departmentId"),
            "99|1|1;1|2|2;");
  // The same uin twice in one department is one row (the key is uin and department).
  Add(3, u"wang", 5);
  Add(3, u"wang2", 5);
  EXPECT_EQ(Query("SELECT nickname FROM member WHERE departmentId=3"), "wang2;");
}

TEST_F(UserListTest, DeleteUserRemovesTheRowAndReportsFailure) {
  Add(1, u"li", 1);
  Add(2, u"li", 1);
  EXPECT_EQ(list_->DeleteUser(1, u"Li"), E_FAIL);
  EXPECT_EQ(Query("SELECT departmentId FROM member"), "2;");
  EXPECT_EQ(list_->DeleteUser(1, nullptr), E_INVALIDARG);
}

TEST_F(UserListTest, GetDeptUsersCopiesAtMost31UnitsWithoutTerminating) {
  const std::u16string long_nick(40, u'n');
  // Stored through UpdateNick, which writes the nickname as given (any length, any case).
  Add(4, u"short", 1);
  Add(4, u"tmp", 2);
  std::u16string capitalised = long_nick;
  capitalised[0] = u'N';
  ASSERT_EQ(list_->UpdateNick(2, capitalised.c_str()), S_OK);
  UserListEntry entries[3];
  std::memset(entries, 0xFF, sizeof entries);
  LONG count = -1;
  ASSERT_EQ(list_->GetDeptUsers(4, entries, &count), S_OK);
  ASSERT_EQ(count, 2);
  const UserListEntry* shortest = entries[0].uin == 1 ? &entries[0] : &entries[1];
  const UserListEntry* longest = entries[0].uin == 2 ? &entries[0] : &entries[1];
  EXPECT_EQ(std::u16string(shortest->nick), u"short");
  for (int i = 5; i < 31; ++i) EXPECT_EQ(shortest->nick[i], 0) << i;  // padded to 31
  EXPECT_EQ(shortest->nick[31], 0xFFFF);
  EXPECT_EQ(std::u16string(longest->nick, 31), long_nick.substr(0, 31));  // lower-cased
  EXPECT_EQ(longest->nick[31], 0xFFFF);                                   // no terminator
  EXPECT_EQ(longest->reserved, 0xFFFFFFFFu);                              // never written
  EXPECT_EQ(entries[2].uin, 0xFFFFFFFFu);

  EXPECT_EQ(AnswerOver(2, list_, &CUserList::GetDeptUsers, 77, entries), "E_FAIL 0");
  EXPECT_EQ(list_->GetDeptUsers(4, nullptr, &count), E_INVALIDARG);
  EXPECT_EQ(log_.CountLevel(u"important"), 1u);  // a null array is an assertion report
}

TEST_F(UserListTest, GetDeptUserNicksHandsOutLowerCaseStrings) {
  Add(5, u"a", 1);
  Add(5, u"b", 2);
  ASSERT_EQ(list_->UpdateNick(2, u"BEE"), S_OK);
  BSTR nicks[2] = {};
  LONG count = 0;
  ASSERT_EQ(list_->GetDeptUserNicks(5, nicks, &count), S_OK);
  ASSERT_EQ(count, 2);
  std::u16string both = std::u16string(nicks[0]) + u"," + std::u16string(nicks[1]);
  EXPECT_TRUE(both == u"a,bee" || both == u"bee,a") << ToUtf8(both);
  SysFreeString(nicks[0]);
  SysFreeString(nicks[1]);
}

TEST_F(UserListTest, CountsIdsAndVersionsOfDepartments) {
  EXPECT_EQ(AnswerOver(-1, list_, &CUserList::GetUserCount, 3), "S_OK 0");
  EXPECT_EQ(DeptCount(), 0);
  EXPECT_EQ(AnswerOver(123, list_, &CUserList::GetMaxDeptVersion), "S_OK 0");  // empty table

  EXPECT_EQ(list_->SetDeptVersion(3, 7), E_FAIL);  // written, failure reported
  EXPECT_EQ(list_->SetDeptVersion(4, 0xFFFFFFFFu), E_FAIL);
  EXPECT_EQ(list_->SetDeptVersion(3, 8), E_FAIL);  // replaces
  Add(3, u"m1", 1);
  Add(3, u"m2", 2);
  EXPECT_EQ(Answer(list_, &CUserList::GetUserCount, 3), "S_OK 2");
  EXPECT_EQ(DeptCount(), 2);
  ULONG ids[2] = {};
  LONG count = -1;
  ASSERT_EQ(list_->GetDeptIds(ids, &count), S_OK);
  EXPECT_EQ(count, 2);
  EXPECT_EQ(ids[0] + ids[1], 7u);
  // Stored widened without sign, read back narrowed.
  EXPECT_EQ(Answer(list_, &CUserList::GetDeptVersion, 4), "S_OK 4294967295");
  EXPECT_EQ(Query("SELECT version FROM department WHERE id=4"), "4294967295;");
  EXPECT_EQ(Answer(list_, &CUserList::GetMaxDeptVersion), "S_OK 4294967295");
  EXPECT_EQ(Answer(list_, &CUserList::GetDeptVersion, 99), "E_FAIL 0");

  EXPECT_EQ(list_->DeleteDept(3), S_OK);
  EXPECT_EQ(Answer(list_, &CUserList::GetUserCount, 3), "S_OK 0");
  EXPECT_EQ(DeptCount(), 1);
  EXPECT_EQ(list_->DeleteDept(12345), S_OK);  // unknown id
}

TEST_F(UserListTest, ReadsAndWritesWaitForAnotherConnectionsCommit) {
  list_->SetDeptVersion(3, 7);
  {
    BriefDatabaseLock other(path_);
    ASSERT_TRUE(other.taken());
    EXPECT_EQ(Answer(list_, &CUserList::GetDeptVersion, 3), "S_OK 7");
  }
  {
    BriefDatabaseLock other(path_);
    ASSERT_TRUE(other.taken());
    EXPECT_EQ(list_->DeleteDept(3), S_OK);
  }
  EXPECT_EQ(DeptCount(), 0);
}

TEST_F(UserListTest, DirectoryVersionsAndVersionInfo) {
  ULONG value = 0;
  EXPECT_EQ(list_->GetDeptVer(&value), E_FAIL);  // no row yet
  EXPECT_EQ(VersionInfo(), "E_FAIL");
  EXPECT_EQ(list_->SetDeptVer(-5), S_OK);
  EXPECT_EQ(list_->SetProVer(42), S_OK);
  EXPECT_EQ(Query("SELECT id, value FROM global ORDER BY id"), "2|42;3|-5;");
  EXPECT_EQ(Answer(list_, &CUserList::GetDeptVer), "S_OK 4294967291");
  EXPECT_EQ(Answer(list_, &CUserList::GetProVer), "S_OK 42");
  // Without the root department 199999 the version info fails.
  EXPECT_EQ(VersionInfo(), "E_FAIL");
  list_->SetDeptVersion(CUserList::kRootDeptId, 3000000000u);
  EXPECT_EQ(VersionInfo(), "S_OK -5 -1294967296");  // the root's written as a signed number
  BSTR root = nullptr;
  EXPECT_EQ(list_->GetVersionInfo(nullptr, &root), E_INVALIDARG);
}

TEST_F(UserListTest, StoredNullVersionFailsThroughTheExceptionPath) {
  list_->SetProVer(1);
  sqlite3* db = nullptr;
  ASSERT_EQ(sqlite3_open16(path_.c_str(), &db), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(db, "INSERT INTO global VALUES (2, NULL)", nullptr, nullptr, nullptr),
            SQLITE_OK);
  sqlite3_close(db);
  EXPECT_EQ(AnswerOver(9, list_, &CUserList::GetProVer), "E_FAIL 9");
  EXPECT_EQ(DebugLinesWith("[Userlist] UserList : L"), 1u);
  EXPECT_EQ(DebugLinesWith(" exception"), 1u);
  // The lock was released: the next operation runs.
  EXPECT_EQ(list_->SetProVer(2), S_OK);
  EXPECT_EQ(Answer(list_, &CUserList::GetProVer), "S_OK 2");
}

TEST_F(UserListTest, NicknameLookupsLowerCaseExceptGenderAndName) {
  Add(1, u"Bob", 7, 2);
  EXPECT_EQ(Answer(list_, &CUserList::GetUinByNick, u"BOB"), "S_OK 7");
  ULONG uin = 0;
  EXPECT_EQ(list_->GetUinByNick(u"nobody", &uin), E_FAIL);
  EXPECT_EQ(list_->GetUinByNick(nullptr, &uin), E_INVALIDARG);
  // Bound as given.
  EXPECT_EQ(AnswerOver(-1, list_, &CUserList::GetGenderByNick, u"Bob"), "E_FAIL 0");
  EXPECT_EQ(Answer(list_, &CUserList::GetGenderByNick, u"bob"), "S_OK 2");
  EXPECT_EQ(Answer(list_, &CUserList::GetNameByNick, u"Bob"), "E_FAIL <null>");
  EXPECT_EQ(AnswerOver(-1, list_, &CUserList::IsNickExist, u"BoB"), "S_OK 1");
  EXPECT_EQ(AnswerOver(-1, list_, &CUserList::IsNickExist, u"carol"), "S_OK 0");
}

TEST_F(UserListTest, GetNickByUinAndUpdateNick) {
  EXPECT_EQ(list_->GetNickByUin(0, nullptr), E_INVALIDARG);
  BSTR nick = nullptr;
  EXPECT_EQ(list_->GetNickByUin(0, &nick), E_INVALIDARG);
  EXPECT_EQ(NickOf(5), u"<none>");
  Add(1, u"old", 5);
  Add(2, u"old", 5);
  ExpectEach(E_INVALIDARG, {list_->UpdateNick(0, u"x"), list_->UpdateNick(5, nullptr),
                            list_->LoadDataFromXml(nullptr)});
  // Only the null out-pointer of GetNickByUin was worth an assertion report.
  EXPECT_EQ(log_.CountLevel(u"important"), 1u);
  EXPECT_EQ(list_->UpdateNick(5, u"NewName"), S_OK);
  EXPECT_EQ(Query("SELECT DISTINCT nickname FROM member"), "NewName;");        // as given
  EXPECT_EQ(NickOf(5), u"newname");                                            // handed out lower
  EXPECT_EQ(Answer(list_, &CUserList::GetUinByNick, u"NewName"), "E_FAIL 0");  // lower-cased
  EXPECT_EQ(list_->UpdateNick(999, u"ghost"), S_OK);                           // no row matched
}

TEST_F(UserListTest, GetDeptIdsByNickStopsAt21) {
  for (ULONG dept = 1; dept <= 25; ++dept) Add(dept, u"busy", 3);
  ULONG ids[32];
  std::fill(std::begin(ids), std::end(ids), 0xABCDu);
  LONG count = -1;
  ASSERT_EQ(list_->GetDeptIdsByNick(u"BUSY", ids, &count), S_OK);
  EXPECT_EQ(count, 21);
  EXPECT_EQ(ids[21], 0xABCDu);
  EXPECT_EQ(AnswerOver(21, list_, &CUserList::GetDeptIdsByNick, u"idle", ids), "E_FAIL 0");
}

TEST_F(UserListTest, ChangedDepartmentsSinceAVersion) {
  list_->SetDeptVersion(1, 1);
  list_->SetDeptVersion(2, 5);
  list_->SetDeptVersion(3, 9);
  list_->SetDeptVersion(4, 0);
  // A text that is not a number converts as 0: every version above 0.
  for (auto [since, count] : {std::pair{u"4", "2"}, {u"not a number", "3"}, {u"  -3xyz", "4"}}) {
    EXPECT_EQ(Answer(list_, &CUserList::GetChangedDeptCount, since), "S_OK " + std::string(count));
  }
  LONG count = -1;
  ULONG ids[4] = {};
  ASSERT_EQ(list_->GetChangedDeptIds(u"4", ids, &count), S_OK);
  ASSERT_EQ(count, 2);
  EXPECT_EQ(ids[0] + ids[1], 5u);
  // The count alone; and zero rows still succeed.
  EXPECT_EQ(AnswerOver(-1, list_, &CUserList::GetChangedDeptIds, u"1", nullptr), "S_OK 2");
  EXPECT_EQ(AnswerOver(2, list_, &CUserList::GetChangedDeptIds, u"100", ids), "S_OK 0");
  EXPECT_EQ(list_->GetChangedDeptCount(nullptr, &count), E_INVALIDARG);
}

TEST_F(UserListTest, DataSurvivesReopeningAndANewPathStartsEmpty) {
  Add(1, u"kept", 1);
  list_->SetDeptVersion(1, 2);
  // A list released while its reader runs: the reader finishes on the state it keeps alive.
  CUserList* released = new CUserList();
  ASSERT_EQ(released->Initialize(path_.c_str(), client_), S_OK);
  released->Release();
  Reopen();
  EXPECT_EQ(DeptCount(), 1);
  EXPECT_EQ(Search(u"ke"), u"kept;");
  const std::u16string other = root_.File(u"other.dat");
  ASSERT_EQ(list_->Initialize(other.c_str(), client_), S_OK);
  list_->WaitForReaders();
  EXPECT_EQ(DeptCount(), 0);
  EXPECT_EQ(Search(u""), u"");
}

TEST_F(UserListTest, ReaderThatCannotOpenTheFileEndsHoldingTheDbLock) {
  CUserList* broken = new CUserList();
  const std::u16string missing = root_.File(u"no-such-folder/userList5.dat");
  ASSERT_EQ(broken->Initialize(missing.c_str(), client_), S_OK);  // S_OK although not open
  broken->WaitForReaders();
  EXPECT_TRUE(broken->IsDbLockHeld());
  // Searches take only the list lock and still answer.
  BSTR matches = nullptr;
  BSTR reserved = nullptr;
  EXPECT_EQ(broken->SearchUsers(u"a", &matches, &reserved), S_OK);
  SysFreeString(matches);
  SysFreeString(reserved);
  // Another thread cannot enter the lock the ended reader left held.
  std::shared_ptr<UserListShared> shared = broken->SharedState();
  bool entered = true;
  std::thread([&] { entered = shared->DbLock().TryEnter(); }).join();
  EXPECT_FALSE(entered);
  broken->Release();  // destruction does not wait for the lock
}

}  // namespace
}  // namespace vk::test
