#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "platform/Text.h"
#include "tests/org/UserListFixture.h"

namespace vk::test {
namespace {

class UserListImportTest : public UserListFixture {
 protected:
  std::u16string WriteXml(const std::string& name, const std::string& bytes) {
    root_.WriteBytes(name, bytes);
    return root_.File(FromUtf8(name));
  }
  HRESULT Import(const std::string& bytes) {
    const std::u16string file = WriteXml("org.xml", bytes);
    return list_->LoadDataFromXml(file.c_str());
  }
  std::u16string Rebuild() const { return path_ + u".bak"; }
};

constexpr char kEmptyForm[] =
    "<?xml version=\"1.0\" encoding=\"gb2312\"?><UserList ProVer=\"1\" DeptVer=\"0\"/>";

TEST_F(UserListImportTest, EmptyFormGivesTheThreeGlobalRowsAndNothingElse) {
  Add(1, u"old", 1);
  list_->SetDeptVersion(1, 1);
  ASSERT_EQ(Import(kEmptyForm), S_OK);
  EXPECT_EQ(SqlRows(Rebuild(), "SELECT id, value FROM global ORDER BY id"), "1|1;2|1;3|0;");
  EXPECT_EQ(DeptCount(), 0);  // the swap put the rebuilt file online
  EXPECT_EQ(Query("SELECT COUNT(*) FROM member"), "0;");
  EXPECT_EQ(AnswerOver(9, list_, &CUserList::GetProVer), "S_OK 1");
  EXPECT_EQ(AnswerOver(9, list_, &CUserList::GetDeptVer), "S_OK 0");
  EXPECT_EQ(DebugLinesWith("[Userlist] CUserList::LoadDataFromXml load userlist from file "), 1u);
  EXPECT_EQ(DebugLinesWith("[Userlist] CUserList::LoadDataFromXml finish loading userlist"), 1u);
  EXPECT_EQ(DebugLinesWith("[Userlist] CUserList::LoadXmlToDb remove existing db file "), 1u);
  EXPECT_EQ(DebugLinesWith("[Userlist] CUserList::LoadXmlToDb put tempUserlist online"), 1u);
}

TEST_F(UserListImportTest, RowsOfDepartmentsAndMembersAsTheFileHasThem) {
  ASSERT_EQ(
      Import("<?xml version=\"1.0\"?>\n"
             "<UserList ProVer=\"7\" DeptVer=\"8\">\n"
             "  <Dept id=\"1\" Ver=\"5\">\n"
             "    <USER NICK=\"ZhangSan\" NAME=\"张三\" UIN=\"11\" GENDER=\"1\"/>\n"
             "    <!-- a comment -->\n"
             "    text between members\n"
             "    <Item NICK=\"li\" NAME=\"Li SI\" UIN=\"12\" GENDER=\"2\"/>\n"
             "    <USER NICK=\"li\" NAME=\"Li Si\" UIN=\"12\" GENDER=\"2\"/>\n"
             "    <USER NICK=\"noname\" UIN=\"13\"/>\n"
             "    <USER NICK=\"nouin\"/>\n"
             "  </Dept>\n"
             "  <Dept id=\"2\" Ver=\"6\"><x NICK=\"ZhangSan\" NAME=\"张三\" UIN=\"11\"/></Dept>\n"
             "  <Group><Dept id=\"3\" Ver=\"1\"><USER NICK=\"deep\" UIN=\"14\"/></Dept></Group>\n"
             "  <Dept id=\"abc\" Ver=\"x9\"/>\n"
             "  <Dept/>\n"
             "</UserList>"),
      S_OK);
  // Searches use the imported lists at once, before any database operation.
  EXPECT_EQ(Search(u"zh"), u"zhangsan(张三);");
  EXPECT_EQ(Search(u"li"), u"li(li si);");
  EXPECT_EQ(Search(u"deep"), u"");
  EXPECT_EQ(DeptCount(), 3);  // 1, 2 and the id-less / non-numeric ones as 0
  EXPECT_EQ(Query("SELECT id, version FROM department ORDER BY id"), "0|0;1|5;2|6;");
  EXPECT_EQ(Query("SELECT uin, nickname, name, departmentId, gender FROM member "
                  "ORDER BY departmentId, uin"),
            "0|nouin||1|0;11|zhangsan|张三|1|1;12|li|li si|1|2;13|noname||1|0;"
            "11|zhangsan|张三|2|0;");
  ULONG ids[4] = {};
  LONG count = 0;
  ASSERT_EQ(list_->GetDeptIdsByNick(u"zhangsan", ids, &count), S_OK);
  EXPECT_EQ(count, 2);
  EXPECT_EQ(Answer(list_, &CUserList::GetNameByNick, u"li"), "S_OK li si");
  // The reader restarted by the swap rebuilds the same lists from the new database.
  list_->WaitForReaders();
  EXPECT_EQ(Search(u"zh"), u"zhangsan(张三);");
  EXPECT_EQ(Search(u"n"), u"noname;nouin;");
}

TEST_F(UserListImportTest, OperationsWithoutTheSwapStepAnswerFromTheOldDatabase) {
  list_->SetDeptVersion(1, 10);
  ASSERT_EQ(Import("<UserList ProVer=\"1\" DeptVer=\"2\"><Dept id=\"5\" Ver=\"20\"/>"
                   "<Dept id=\"6\" Ver=\"30\"/></UserList>"),
            S_OK);
  EXPECT_EQ(Answer(list_, &CUserList::GetChangedDeptCount, u"0"), "S_OK 1");  // the old file
  ULONG ids[2] = {};
  LONG count = 0;
  EXPECT_EQ(list_->GetChangedDeptIds(u"0", ids, &count), S_OK);
  EXPECT_EQ(ids[0], 1u);
  EXPECT_EQ(DebugLinesWith("put tempUserlist online"), 0u);
  EXPECT_EQ(Answer(list_, &CUserList::GetMaxDeptVersion), "S_OK 30");  // runs the swap
  EXPECT_EQ(Answer(list_, &CUserList::GetChangedDeptCount, u"0"), "S_OK 2");
  // The swap ran once; the rebuilt file stays beside the live one.
  list_->GetDeptCount(&count);
  EXPECT_EQ(DebugLinesWith("put tempUserlist online"), 1u);
  EXPECT_TRUE(std::filesystem::exists(std::filesystem::path(Rebuild())));
}

TEST_F(UserListImportTest, TwoImportsBeforeAnyOperationLeaveTheLaterOne) {
  ASSERT_EQ(Import("<UserList><Dept id=\"1\" Ver=\"1\"/></UserList>"), S_OK);
  ASSERT_EQ(Import("<UserList><Dept id=\"2\" Ver=\"1\"/><Dept id=\"3\" Ver=\"1\"/></UserList>"),
            S_OK);
  EXPECT_EQ(DeptCount(), 2);
  EXPECT_EQ(DebugLinesWith("put tempUserlist online"), 1u);
}

TEST_F(UserListImportTest, MissingFileFailsAndChangesNothing) {
  Add(1, u"kept", 1);
  Reopen();
  const std::u16string missing = root_.File(u"absent.xml");
  EXPECT_EQ(list_->LoadDataFromXml(missing.c_str()), E_FAIL);
  EXPECT_EQ(Search(u"k"), u"kept;");
  EXPECT_EQ(DeptCount(), 0);
  EXPECT_EQ(Query("SELECT nickname FROM member"), "kept;");
}

TEST_F(UserListImportTest, FileWithoutUserListEmptiesSearchesButKeepsTheDatabase) {
  Add(1, u"kept", 1);
  Reopen();
  for (const char* bad :
       {"<Other><Dept id=\"1\"/></Other>", "not xml at all <<<",
        "<UserList><Dept id=\"1\"></UserList>", "", "<x:UserList xmlns:x=\"urn:x\"/>",
        // A document that declares entities is refused before any of it is read.
        "<!DOCTYPE UserList [<!ENTITY n \"Zhang\">]>"
        "<UserList><Dept id=\"1\" Ver=\"1\"><u NICK=\"kz\" NAME=\"&n;\" "
        "UIN=\"3\"/></Dept></UserList>"}) {
    Reopen();
    ASSERT_EQ(Search(u"k"), u"kept;");
    EXPECT_EQ(Import(bad), S_OK) << bad;
    EXPECT_EQ(Search(u"k"), u"") << bad;  // the (empty) import lists are current
    EXPECT_EQ(Answer(list_, &CUserList::GetUinByNick, u"kept"), "S_OK 1") << bad;
  }
  EXPECT_EQ(DebugLinesWith("put tempUserlist online"), 0u);
}

TEST_F(UserListImportTest, FileBrokenPartWayChangesNothingAndKeepsTheWaitingRebuild) {
  Add(1, u"kept", 1);
  Reopen();
  ASSERT_EQ(Import("<UserList><Dept id=\"7\" Ver=\"1\"><u NICK=\"waiting\" UIN=\"7\"/></Dept>"
                   "</UserList>"),
            S_OK);
  // Well-formed for thousands of members, then broken: rows already read must not count.
  std::string broken = "<UserList ProVer=\"9\" DeptVer=\"9\"><Dept id=\"8\" Ver=\"1\">";
  for (int i = 1; i <= 5000; ++i) {
    broken += "<u NICK=\"b" + std::to_string(i) + "\" UIN=\"" + std::to_string(i) + "\"/>";
  }
  broken += "</Dept><Dept id=\"9\" Ver=\"1\"></UserList>";
  EXPECT_EQ(Import(broken), S_OK);
  EXPECT_EQ(Search(u""), u"");  // the failed import's lists are empty
  EXPECT_FALSE(std::filesystem::exists(std::filesystem::path(Rebuild() + u".new")));
  // The earlier import still waits and goes online at the next operation.
  EXPECT_EQ(DeptCount(), 1);
  EXPECT_EQ(Query("SELECT nickname, departmentId FROM member"), "waiting|7;");
  EXPECT_EQ(DebugLinesWith("put tempUserlist online"), 1u);
}

TEST_F(UserListImportTest, RebuildHasTheLiveSchemaAndIsComplete) {
  ASSERT_EQ(Import("<UserList ProVer=\"1\" DeptVer=\"1\"><Dept id=\"1\" Ver=\"1\">"
                   "<u NICK=\"a\" NAME=\"B\" UIN=\"1\"/><u NICK=\"c\" UIN=\"2\"/></Dept>"
                   "</UserList>"),
            S_OK);
  // Before the swap the live file still has the schema the store created on open.
  const char* schema = "SELECT type, name, tbl_name, sql FROM sqlite_master ORDER BY rowid";
  const std::string live_schema = Query(schema);
  EXPECT_NE(live_schema.find("index_department_id"), std::string::npos);
  EXPECT_EQ(SqlRows(Rebuild(), schema), live_schema);
  EXPECT_EQ(SqlRows(Rebuild(), "PRAGMA integrity_check"), "ok;");
  EXPECT_EQ(SqlRows(Rebuild(),
                    "SELECT nickname FROM member INDEXED BY index_member_nickname "
                    "WHERE nickname > ''"),
            "a;c;");
  EXPECT_FALSE(std::filesystem::exists(std::filesystem::path(Rebuild() + u".new")));
  EXPECT_EQ(DeptCount(), 1);
  EXPECT_EQ(Query("SELECT nickname, name FROM member ORDER BY uin"), "a|b;c|;");
}

TEST_F(UserListImportTest, LeftoverRebuildFileIsReplaced) {
  root_.WriteBytes("userList5.dat.bak", "this is not a database");
  // Scratch files of imports cut short: of a process that is gone, and of an earlier version;
  // and one that a running process is writing.
  const std::string running = ".userList5.dat.bak.tmp" + std::to_string(::getppid()) + "_0_1";
  for (const std::string& name : {std::string(".userList5.dat.bak.tmp2147483646_3_7"),
                                  std::string("userList5.dat.bak.new"), running}) {
    root_.WriteBytes(name, "half");
  }
  ASSERT_EQ(
      Import("<UserList><Dept id=\"4\" Ver=\"1\"><u NICK=\"a\" UIN=\"1\"/></Dept></UserList>"),
      S_OK);
  EXPECT_EQ(DeptCount(), 1);
  EXPECT_EQ(Query("SELECT nickname FROM member"), "a;");
  std::string left;
  for (const auto& entry : std::filesystem::directory_iterator(root_.NativePath())) {
    left += entry.path().filename().string() + ";";
  }
  EXPECT_EQ(left.find("2147483646"), std::string::npos) << left;
  EXPECT_EQ(left.find(".new"), std::string::npos) << left;
  EXPECT_NE(left.find(running), std::string::npos) << left;
}

TEST_F(UserListImportTest, UnusableRebuildPathFailsCleanlyWhileLiveDataServes) {
  Add(1, u"live", 1);
  Reopen();
  // A folder (with something in it) where the rebuild file should go cannot be removed.
  std::filesystem::create_directories(std::filesystem::path(Rebuild()) / "inside");
  ASSERT_EQ(Import("<UserList><Dept id=\"9\" Ver=\"1\"><u NICK=\"new\" UIN=\"2\"/></Dept>"
                   "</UserList>"),
            S_OK);
  EXPECT_EQ(DeptCount(), 0);
  EXPECT_EQ(Query("SELECT nickname FROM member"), "live;");
  EXPECT_EQ(DebugLinesWith("put tempUserlist online"), 0u);
  EXPECT_TRUE(std::filesystem::is_directory(std::filesystem::path(Rebuild())));
}

TEST_F(UserListImportTest, MissingDirectoryVersionsAreStoredAsNull) {
  ASSERT_EQ(Import("<UserList DeptVer=\"5\"/>"), S_OK);
  ULONG value = 0;
  EXPECT_EQ(list_->GetProVer(&value), E_FAIL);
  EXPECT_EQ(DebugLinesWith("[Userlist] UserList : L"), 1u);
  EXPECT_EQ(Answer(list_, &CUserList::GetDeptVer), "S_OK 5");
  EXPECT_EQ(Query("SELECT id, value FROM global ORDER BY id"), "1|1;2|NULL;3|5;");
}

TEST_F(UserListImportTest, GbkBytesInAFileDeclaredGb2312) {
  // 镕 is outside GB2312 but inside code page 936, which is what such files really hold.
  const std::string name = ToAnsi(u"朱镕基");
  ASSERT_EQ(Import("<?xml version=\"1.0\" encoding=\"GB2312\"?><UserList><Dept id=\"1\" Ver=\"1\">"
                   "<u NICK=\"zhu\" NAME=\"" +
                   name + "\" UIN=\"3\"/></Dept></UserList>"),
            S_OK);
  EXPECT_EQ(Search(u"zhurongji"), u"zhu(朱镕基);");
}

TEST_F(UserListImportTest, HugeValuesAndHugeDepartments) {
  const std::string long_name(2 * 1024 * 1024, 'N');
  std::string xml = "<UserList><Dept id=\"1\" Ver=\"1\"><u NICK=\"big\" NAME=\"" + long_name +
                    "\" UIN=\"99999999999999999999999\" GENDER=\"-7\"/></Dept><Dept id=\"2\" "
                    "Ver=\"2\">";
  constexpr int kMembers = 100000;
  for (int i = 1; i <= kMembers; ++i) {
    xml += "<u NICK=\"m" + std::to_string(i) + "\" NAME=\"成员" + std::to_string(i) + "\" UIN=\"" +
           std::to_string(i) + "\"/>";
  }
  xml += "</Dept></UserList>";
  ASSERT_EQ(Import(xml), S_OK);
  EXPECT_EQ(Answer(list_, &CUserList::GetUserCount, 2), "S_OK " + std::to_string(kMembers));
  // An id beyond 64 bits saturates and is stored as such.
  EXPECT_EQ(Query("SELECT uin, length(name), gender FROM member WHERE departmentId=1"),
            "9223372036854775807|2097152|-7;");
  EXPECT_EQ(Search(u"m99999"), u"m99999(成员99999);");
  EXPECT_EQ(Search(u"chengyuan12345"), u"m12345(成员12345);");
  list_->WaitForReaders();
  EXPECT_EQ(Search(u"big"), u"big(" + FromUtf8(std::string(long_name.size(), 'n')) + u");");
}

TEST_F(UserListImportTest, SampleOrganisationFile) {
  // The repository's sample, found from this source file's place in the tree.
  const std::filesystem::path repo = std::filesystem::path(__FILE__).parent_path() / ".." / "..";
  const std::u16string sample = (repo / "samples" / "org.xml").u16string();
  if (!std::filesystem::exists(std::filesystem::path(sample))) GTEST_SKIP() << "no sample";
  ASSERT_EQ(list_->LoadDataFromXml(sample.c_str()), S_OK);
  EXPECT_EQ(DeptCount(), 4);
  EXPECT_EQ(VersionInfo(), "S_OK 34 34");
  EXPECT_EQ(Search(u"wang"), u"ceo(王小明);wangwu(王五);");
  EXPECT_EQ(Search(u"lv"), u"lvbu(吕布);");
  EXPECT_EQ(Search(u"alice"), u"alice.smith(alice smith);");
}

// Two processes import into one account at the same moment, round after round, and each puts
// its import online: the live database is always one of the two organisations, whole, and no
// scratch file stays behind.
TEST(UserListImportAcrossProcesses, TwoImportsAtOnceLeaveOneWholeOrganisation) {
  TempDataRoot root;
  const std::u16string live = root.File(u"userList5.dat");
  constexpr int kMembers = 4000;  // enough for the two imports to overlap
  for (int org : {1, 2}) {
    std::string xml = "<UserList ProVer=\"" + std::to_string(org) + "\"><Dept id=\"" +
                      std::to_string(org) + "\" Ver=\"1\">";
    for (int i = 0; i < kMembers; ++i) {
      xml += "<u NICK=\"n" + std::to_string(i) + "\" NAME=\"Name " + std::to_string(i) +
             "\" UIN=\"" + std::to_string(i + 1) + "\"/>";
    }
    root.WriteBytes("org" + std::to_string(org) + ".xml", xml + "</Dept></UserList>");
  }
  for (int round = 0; round < 6; ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    int go[2];
    ASSERT_EQ(::pipe(go), 0);
    pid_t children[2];
    for (int org : {1, 2}) {
      children[org - 1] = ::fork();
      if (children[org - 1] != 0) continue;
      ::close(go[1]);
      auto* client = new UserListTestClient();
      auto* list = new CUserList();
      list->Initialize(live.c_str(), client);
      list->WaitForReaders();
      char start;
      (void)!::read(go[0], &start, 1);  // both start when the parent closes the pipe
      const std::u16string xml = root.File(u"org" + FromUtf8(std::to_string(org)) + u".xml");
      const HRESULT hr = list->LoadDataFromXml(xml.c_str());
      // Online now: this import, or the other one should it have finished later.
      LONG mine = 0, other = 0;
      const bool online = list->GetUserCount(org, &mine) == S_OK &&
                          list->GetUserCount(3 - org, &other) == S_OK && mine + other == kMembers;
      list->WaitForReaders();
      list->Release();
      client->Release();
      ::_exit(hr == S_OK && online ? 0 : 1);
    }
    ::close(go[0]);
    ::close(go[1]);
    for (pid_t child : children) {
      int status = 0;
      ::waitpid(child, &status, 0);
      EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "an import did not complete";
    }
    EXPECT_EQ(SqlRows(live, "PRAGMA integrity_check"), "ok;");
    const std::string org = SqlRows(live, "SELECT value, COUNT(*) FROM global, member WHERE id=2");
    EXPECT_TRUE(org == "1|4000;" || org == "2|4000;") << org;
    for (const auto& entry : std::filesystem::directory_iterator(root.NativePath())) {
      const std::string name = entry.path().filename().string();
      EXPECT_TRUE(name.ends_with(".xml") || name.ends_with(".dat") || name.ends_with(".dat.bak"))
          << name << " left behind";
    }
  }
}

}  // namespace
}  // namespace vk::test
