#include <filesystem>

#include "platform/Files.h"
#include "tests/groups/GroupStoreFixture.h"

namespace vk::test {
namespace {

class LegacyImportTest : public GroupStoreFixture {
 protected:
  std::string Groups(LONG kind) const {
    return Rows(kind, "SELECT id, parentId, name FROM groups ORDER BY rowid");
  }
  std::string MemberRows(LONG kind) const {
    return Rows(kind, "SELECT parentGroupId, nickname FROM members ORDER BY rowid");
  }
};

TEST_F(LegacyImportTest, FrequentContactsBecomeMembersOfTheFirstGroup) {
  root_.WriteBytes("FriendGroup.xml",
                   "<?xml version=\"1.0\" encoding=\"gb2312\"?><Groups Ver=\"-1\">"
                   "<Group name=\"x\" id=\"20000001\"><U NICK=\"Ann\"/><U NAME=\"no nick\"/>"
                   "<U NICK=\" bob \"/></Group></Groups>");
  Open(2);
  EXPECT_EQ(MemberRows(2), "20000001|Ann;20000001| bob ;");
  EXPECT_EQ(root_.ReadBytes("FriendGroup.xml"), std::nullopt);
  EXPECT_NE(root_.ReadBytes("FriendGroup.xml.bak"), std::nullopt);
}

TEST_F(LegacyImportTest, UserDefinedGroupsAreAddedWithTheirMembers) {
  root_.WriteBytes("UserDefinedGroup.xml",
                   "<Groups Ver=\"-1\"><Group name=\"root\" id=\"60000001\">"
                   "<Group name=\"Friends\" id=\"60000005\"><M NICK=\"ann\"/><M NICK=\"bob\"/>"
                   "</Group>"
                   "<Group name=\"New\" id=\"0\"><M NICK=\"cat\"/></Group>"
                   "<Group id=\"60000009\"><M NICK=\"lost\"/></Group>"
                   "<Group name=\"A name of more than thirty-one characters\" id=\"60000007\"/>"
                   "</Group></Groups>");
  Open(4);
  EXPECT_EQ(Groups(4),
            "60000001|0|WEZUserDefine;60000005|60000001|Friends;"
            "60000006|60000001|New;60000007|60000001|A name of more than thirty-one ;");
  EXPECT_EQ(MemberRows(4), "60000005|ann;60000005|bob;60000006|cat;");
  EXPECT_NE(root_.ReadBytes("UserDefinedGroup.xml.bak"), std::nullopt);
}

TEST_F(LegacyImportTest, ExternalGroupsGoUnderTheContactPanel) {
  root_.WriteBytes("WEZExtGroup.xml",
                   "<Groups><Group name=\"ignored\" id=\"1\"><Panel>"
                   "<Group name=\"Partners\" id=\"100000300\"><M NICK=\"p1\"/></Group>"
                   "<Group name=\"Renamed\" id=\"100000201\"><M NICK=\"e1\"/></Group>"
                   "</Panel><Panel><Group name=\"second panel\" id=\"5\"/></Panel>"
                   "</Group></Groups>");
  Open(6);
  EXPECT_EQ(Groups(6),
            "100000001|0|WEZExtBuddy;11000102|100000001|WEZContactPanel;"
            "100000201|11000102|外部联系人;100000300|11000102|Partners;");
  EXPECT_EQ(MemberRows(6), "100000300|p1;100000201|e1;");
}

TEST_F(LegacyImportTest, UnusableFilesImportNothingAndAreStillRenamed) {
  struct Case {
    const char* what;
    const char* xml;  // null: a folder in the file's place
  } cases[] = {
      {"not well-formed", "<Groups><Group id=\"60000001\"><G name=\"a\" id=\"5\"/>"},
      {"no Group", "<Groups><Team id=\"60000001\"><G name=\"a\" id=\"5\"/></Team></Groups>"},
      {"first Group without id", "<Groups><Group><G name=\"a\" id=\"5\"/></Group></Groups>"},
      {"a folder", nullptr},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    if (c.xml != nullptr) {
      root_.WriteBytes("UserDefinedGroup.xml", c.xml);
    } else {
      ASSERT_TRUE(CreateFolder(root_.File(u"UserDefinedGroup.xml")));
    }
    Open(4);
    EXPECT_EQ(Groups(4), "60000001|0|WEZUserDefine;");
    EXPECT_FALSE(IsFileExist(root_.File(u"UserDefinedGroup.xml")));
    EXPECT_TRUE(IsFileExist(root_.File(u"UserDefinedGroup.xml.bak")));
    std::error_code ignored;
    std::filesystem::remove_all(root_.NativeFile("UserDefinedGroup.xml.bak"), ignored);
  }
}

TEST_F(LegacyImportTest, AnExistingBakIsNeverReplacedAndTheImportRepeatsHarmlessly) {
  root_.WriteBytes("FriendGroup.xml.bak", "earlier");
  root_.WriteBytes("FriendGroup.xml",
                   "<Groups><Group id=\"20000001\"><U NICK=\"a\"/></Group></Groups>");
  CWEZGroupStore* store = Open(2);
  ASSERT_EQ(store->Initialize(DbPath(2).c_str(), 2), S_OK);
  EXPECT_EQ(MemberRows(2), "20000001|a;");
  EXPECT_EQ(root_.ReadBytes("FriendGroup.xml.bak"), "earlier");
  EXPECT_NE(root_.ReadBytes("FriendGroup.xml"), std::nullopt);

  // The kinds without an old file leave files of those names alone.
  root_.WriteBytes("RecentGroup.xml", "<Groups><Group id=\"1\"><U NICK=\"a\"/></Group></Groups>");
  for (LONG kind : {1, 3, 5}) Open(kind);
  EXPECT_NE(root_.ReadBytes("RecentGroup.xml"), std::nullopt);
  EXPECT_EQ(Rows(3, "SELECT COUNT(*) FROM members"), "0;");
}

}  // namespace
}  // namespace vk::test
