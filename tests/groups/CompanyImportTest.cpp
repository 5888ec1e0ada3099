#include <sqlite3.h>

#include "platform/Files.h"
#include "tests/groups/GroupStoreFixture.h"
#include "tests/support/BriefDatabaseLock.h"

namespace vk::test {
namespace {

class CompanyImportTest : public GroupStoreFixture {
 protected:
  void SetUp() override {
    company_ = Open(1);
    // What an earlier import left: a version, groups and members.
    ASSERT_TRUE(SqlExec(DbPath(1),
                        "INSERT INTO global VALUES ('GroupsVersion', '3');"
                        "INSERT INTO global VALUES ('Other', 'x');"
                        "INSERT INTO groups VALUES ('77', '0', 'Old', '0');"
                        "INSERT INTO members VALUES ('ann', '77');"));
  }
  HRESULT Import(const std::string& xml) {
    root_.WriteBytes("company.xml", xml);
    return company_->LoadDataFromXml(root_.File(u"company.xml").c_str());
  }
  std::string Groups() const { return Rows(1, "SELECT * FROM groups ORDER BY rowid"); }
  std::string Global() const { return Rows(1, "SELECT * FROM global ORDER BY key"); }

  CWEZGroupStore* company_ = nullptr;
};

TEST_F(CompanyImportTest, ReplacesGroupsAndVersionAndKeepsMembers) {
  ASSERT_EQ(Import("<?xml version=\"1.0\" encoding=\"gb2312\"?>"
                   "<Groups Ver=\"12\"><Group id=\"1\" name=\"A\" type=\"1\">"
                   "<Group id=\"2\" name=\"B\"/></Group></Groups>"),
            S_OK);
  EXPECT_EQ(Groups(), "1|0|A|1;2|1|B|0;");
  EXPECT_EQ(Global(), "DataFormat|1;GroupsVersion|12;");
  EXPECT_EQ(Rows(1, "SELECT * FROM members"), "ann|77;");
  // The store's own connection sees the new tree at once.
  EXPECT_EQ(SubGroups(company_, 1), "2:1:B:0;");
  EXPECT_EQ(Answer(company_, &CWEZGroupStore::GetVersion), "S_OK 12");
  // The next opening seeds the root again beside the imported tree.
  ASSERT_EQ(company_->Initialize(DbPath(1).c_str(), 1), S_OK);
  EXPECT_EQ(Groups(), "1|0|A|1;2|1|B|0;10000001|0|WEZCompanyRoot|0;");
}

TEST_F(CompanyImportTest, DocumentShapesDecideWhatIsWritten) {
  const std::string deep = [] {
    std::string xml = "<Groups Ver=\"1\">";
    for (int i = 0; i < 300; ++i) xml += "<Group id=\"" + std::to_string(i) + "\">";
    for (int i = 0; i < 300; ++i) xml += "</Group>";
    return xml + "</Groups>";
  }();
  const std::string long_name(10000, 'n');
  struct Case {
    const char* what;
    std::string xml;
    std::string groups;
    std::string global;
  } cases[] = {
      {"no Ver", "<Groups><Group id=\"5\" name=\"E\"/></Groups>", "5|0|E|0;",
       "DataFormat|1;GroupsVersion|-1;"},
      {"another root", "<Company Ver=\"9\"><Group id=\"5\"/></Company>", "", "DataFormat|1;"},
      {"not well-formed", "<Groups Ver=\"9\"><Group id=\"5\">", "", "DataFormat|1;"},
      {"empty file", "", "", "DataFormat|1;"},
      {"deeper than the parser allows", deep, "", "DataFormat|1;"},
      {"texts as they stand",
       "<Groups Ver=\" 7 \"><Group id=\" 8 \" name=\"a&amp;b\" type=\"x\"/>"
       "<Group id=\"abc\" name=\"\" type=\"\"/><Group id=\"99999999999\" name=\"N\"/></Groups>",
       " 8 |0|a&b|x;abc|0||;99999999999|0|N|0;", "DataFormat|1;GroupsVersion| 7 ;"},
      {"absent id and name are NULL",
       "<Groups Ver=\"1\"><Group type=\"1\"><Group id=\"3\" name=\"C\"/></Group></Groups>",
       "NULL|0|NULL|1;3|NULL|C|0;", "DataFormat|1;GroupsVersion|1;"},
      {"a later duplicate wins",
       "<Groups Ver=\"1\"><Group id=\"4\" name=\"first\"/><Group id=\"4\" name=\"second\"/>"
       "</Groups>",
       "4|0|second|0;", "DataFormat|1;GroupsVersion|1;"},
      {"any child element, up to the first other node",
       "<Groups Ver=\"1\"><Group id=\"1\" name=\"A\"><Dept id=\"2\" name=\"B\"/>"
       "<!-- note --><Group id=\"3\" name=\"C\"/></Group>"
       "<Group id=\"4\" name=\"D\">text<Group id=\"5\" name=\"E\"/></Group></Groups>",
       "1|0|A|0;2|1|B|0;4|0|D|0;", "DataFormat|1;GroupsVersion|1;"},
      {"a long name", "<Groups Ver=\"1\"><Group id=\"6\" name=\"" + long_name + "\"/></Groups>",
       "6|0|" + long_name + "|0;", "DataFormat|1;GroupsVersion|1;"},
      {"GB2312 names",
       "<?xml version=\"1.0\" encoding=\"gb2312\"?><Groups Ver=\"1\">"
       "<Group id=\"1\" name=\"\xD7\xE9\xD6\xAF\xBC\xDC\xB9\xB9\"/></Groups>",
       "1|0|组织架构|0;", "DataFormat|1;GroupsVersion|1;"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    ASSERT_TRUE(SqlExec(DbPath(1), "INSERT INTO groups VALUES ('77', '0', 'Old', '0')"));
    EXPECT_EQ(Import(c.xml), S_OK);
    EXPECT_EQ(Groups(), c.groups);
    EXPECT_EQ(Global(), c.global);
    EXPECT_EQ(Rows(1, "SELECT COUNT(*) FROM members"), "1;");
  }
}

TEST_F(CompanyImportTest, ImportAndOpeningWaitForAnotherConnectionsCommit) {
  {
    BriefDatabaseLock other(DbPath(1));
    ASSERT_TRUE(other.taken());
    EXPECT_EQ(Import("<Groups Ver=\"5\"><Group id=\"1\" name=\"A\"/></Groups>"), S_OK);
  }
  EXPECT_EQ(Groups(), "1|0|A|0;");
  EXPECT_EQ(Global(), "DataFormat|1;GroupsVersion|5;");
  {
    BriefDatabaseLock other(DbPath(1));
    ASSERT_TRUE(other.taken());
    ASSERT_EQ(company_->Initialize(DbPath(1).c_str(), 1), S_OK);
  }
  // The opening created its statements and seeded the root.
  EXPECT_EQ(SubGroups(company_, 0), "1:0:A:0;10000001:0:WEZCompanyRoot:0;");
}

TEST_F(CompanyImportTest, SecondConnectionThatCannotOpenFailsTheImport) {
  CWEZGroupStore* nowhere = Open(1, root_.File(u"gone/Group.dat"));
  root_.WriteBytes("company.xml", "<Groups Ver=\"1\"/>");
  EXPECT_EQ(nowhere->LoadDataFromXml(root_.File(u"company.xml").c_str()), E_FAIL);
  EXPECT_FALSE(IsFileExist(root_.File(u"gone")));
}

}  // namespace
}  // namespace vk::test
