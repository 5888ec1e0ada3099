#include <cstring>

#include "tests/groups/GroupStoreFixture.h"

namespace vk::test {
namespace {

using GroupStoreTest = GroupStoreFixture;

TEST_F(GroupStoreTest, EachKindSeedsItsRootsAndReopeningKeepsDataButRewritesThem) {
  struct Case {
    LONG kind;
    const char* roots;
  } cases[] = {
      {1, "10000001|0|WEZCompanyRoot|0;"},
      {2, "20000001|0|WEZFrequentContact|0;"},
      {3, "40000001|0|WEZRecentContact|0;"},
      {4, "60000001|0|WEZUserDefine|0;"},
      {5, "19999004|0|WEZMobile|0;"},
      {6,
       "100000001|0|WEZExtBuddy|0;11000102|100000001|WEZContactPanel|0;"
       "100000201|11000102|外部联系人|0;"},
      {7, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.kind);
    Open(c.kind);
    EXPECT_EQ(Rows(c.kind, "SELECT name FROM sqlite_master ORDER BY name"),
              "global;groups;index_groups_id;index_groups_parentId;members;"
              "sqlite_autoindex_global_1;sqlite_autoindex_groups_1;sqlite_autoindex_members_1;");
    EXPECT_EQ(Rows(c.kind, "SELECT * FROM groups ORDER BY rowid"), c.roots);
  }

  // A second opening keeps every row and puts the roots' names back.
  CWEZGroupStore* store = Open(4);
  GroupInfo renamed = Group(0, 60000001, u"Mine");
  ASSERT_EQ(store->RenameGroup(&renamed), S_OK);
  GroupInfo child = Group(60000001, 0, u"Team");
  ASSERT_EQ(store->AddGroup(&child), S_OK);
  ASSERT_EQ(store->AddMember(child.id, u"ann"), S_OK);
  ASSERT_EQ(store->Initialize(DbPath(4).c_str(), 4), S_OK);
  EXPECT_EQ(Rows(4, "SELECT * FROM groups ORDER BY rowid"),
            "60000002|60000001|Team|0;60000001|0|WEZUserDefine|0;");
  EXPECT_EQ(Members(store, child.id), "ann;");
}

TEST_F(GroupStoreTest, NewIdsStartAboveTheKindsFloorAndFollowTheLargestNonRootId) {
  struct Case {
    LONG kind;
    LONG first_id;
  } cases[] = {{1, 10000002}, {2, 20000002}, {3, 40000002},
               {4, 60000002}, {5, 90000002}, {6, 100000202}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.kind);
    CWEZGroupStore* store = Open(c.kind);
    GroupInfo group = Group(1, 0, u"g");
    EXPECT_EQ(store->AddGroup(&group), S_OK);
    EXPECT_EQ(group.id, c.first_id);  // written back into the record
    GroupInfo next = Group(1, 0, u"h");
    EXPECT_EQ(store->AddGroup(&next), S_OK);
    EXPECT_EQ(next.id, c.first_id + 1);
  }

  // Any tree's largest id counts; a root's never does; the comparison is unsigned.
  CWEZGroupStore* store = Open(4);
  GroupInfo another_root = Group(0, 70000000, u"r");
  ASSERT_EQ(store->AddGroup(&another_root), S_OK);
  EXPECT_EQ(store->AllocateGroupId(), 60000004);
  ASSERT_TRUE(SqlExec(DbPath(4), "INSERT INTO groups VALUES ('65000000', '123', 'x', '0')"));
  EXPECT_EQ(store->AllocateGroupId(), 65000001);
  ASSERT_TRUE(SqlExec(DbPath(4), "INSERT INTO groups VALUES ('3000000000', '1', 'big', '0')"));
  EXPECT_EQ(static_cast<uint32_t>(store->AllocateGroupId()), 3000000001u);

  // A store whose database is closed still hands out floor + 1 and fails the write.
  CWEZGroupStore* closed = Open(5, root_.File(u"missing/MobileGroup.dat"));
  EXPECT_FALSE(closed->IsOpen());
  GroupInfo group = Group(19999004, 0, u"g");
  EXPECT_EQ(closed->AddGroup(&group), E_FAIL);
  EXPECT_EQ(group.id, 90000002);
}

TEST_F(GroupStoreTest, GroupsAreReplacedByIdAndReadBackByParent) {
  CWEZGroupStore* store = Open(4);
  GroupInfo a = Group(60000001, 0, u"A", 7);
  GroupInfo b = Group(60000001, 0, u"B");
  ASSERT_EQ(store->AddGroup(&a), S_OK);
  ASSERT_EQ(store->AddGroup(&b), S_OK);
  EXPECT_EQ(Rows(4, "SELECT groupType FROM groups WHERE name='A'"), "1;");  // non-zero is "1"
  EXPECT_EQ(SubGroups(store, 60000001), "60000002:60000001:A:1;60000003:60000001:B:0;");
  EXPECT_EQ(Answer(store, &CWEZGroupStore::GetSubGroupCount, 60000001), "S_OK 2");

  // The same id again: new parent, name and type, no error.
  GroupInfo moved = Group(60000002, b.id, u"B2", 0);
  EXPECT_EQ(store->AddGroup(&moved), S_OK);
  EXPECT_EQ(SubGroups(store, 60000002), "60000003:60000002:B2:0;");
  EXPECT_EQ(SubGroups(store, 60000001), "60000002:60000001:A:1;");

  // No children: E_FAIL with a count of 0 (GetSubGroupCount counts 0 and succeeds).
  EXPECT_EQ(SubGroups(store, 60000003), "E:0");
  EXPECT_EQ(AnswerOver(-1, store, &CWEZGroupStore::GetSubGroupCount, 60000003), "S_OK 0");

  // A type text other than "1" reads as 0; ids are read as 32-bit decimals.
  ASSERT_TRUE(SqlExec(DbPath(4), "INSERT INTO groups VALUES ('9', '60000003', 'T', '01')"));
  GroupInfo info{};
  info.id = 9;
  EXPECT_EQ(store->GetGroupInfo(&info), S_OK);
  EXPECT_EQ(info.parentId, 60000003);
  EXPECT_EQ(NameOf(info), u"T");
  EXPECT_EQ(info.groupType, 0);
  EXPECT_EQ(Answer(store, &CWEZGroupStore::GetGroupCount), "S_OK 4");

  // A missing id leaves the record as it was.
  GroupInfo missing = Group(5, 123, u"keep", 1);
  EXPECT_EQ(store->GetGroupInfo(&missing), E_FAIL);
  EXPECT_EQ(NameOf(missing), u"keep");
  EXPECT_EQ(missing.parentId, 5);

  // Renaming changes the name only, and a missing id is no error.
  GroupInfo rename = Group(999, a.id, u"New", 0);
  EXPECT_EQ(store->RenameGroup(&rename), S_OK);
  EXPECT_EQ(SubGroups(store, 60000001), "60000002:60000001:New:1;");
  EXPECT_EQ(store->RenameGroup(&missing), S_OK);
  EXPECT_EQ(Rows(4, "SELECT COUNT(*) FROM groups WHERE id='123'"), "0;");
}

TEST_F(GroupStoreTest, NamesOf31UnitsOrMoreComeBackWithoutTerminator) {
  CWEZGroupStore* store = Open(2);
  struct Case {
    size_t length;
    bool terminated;
  } cases[] = {{30, true}, {31, false}, {40, false}, {10000, false}};
  LONG id = 100;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.length);
    std::u16string name(c.length, u'n');
    name[0] = u'名';
    // Stored at full length through a connection of the test's own.
    std::string sql = "INSERT INTO groups VALUES ('" + std::to_string(++id) + "', '7', '" +
                      Utf8(name) + "', '1')";
    ASSERT_TRUE(SqlExec(DbPath(2), sql.c_str()));
    GroupInfo groups[2];
    std::memset(groups, 0xAB,
                sizeof groups);  // callers zero the records; this shows what is written
    LONG count = 0;
    ASSERT_EQ(store->GetSubGroups(7, groups, &count), S_OK);
    ASSERT_EQ(count, 1);
    const std::u16string_view field(groups[0].name, 32);
    EXPECT_EQ(field.substr(0, std::min<size_t>(c.length, 31)), name.substr(0, 31));
    EXPECT_EQ(field.find(u'\0'), c.terminated ? c.length : std::u16string_view::npos);
    ASSERT_TRUE(SqlExec(DbPath(2), "DELETE FROM groups WHERE parentId='7'"));
  }
}

TEST_F(GroupStoreTest, MembersAreKeptAsGivenOncePerGroup) {
  CWEZGroupStore* store = Open(4);
  EXPECT_EQ(store->AddMember(5, u"ann"), S_OK);
  EXPECT_EQ(store->AddMember(5, u"ann"), S_OK);  // replaced, still one row
  EXPECT_EQ(store->AddMember(5, u"Ann"), S_OK);  // no case folding: a second row
  EXPECT_EQ(store->AddMember(6, u"ann"), S_OK);
  EXPECT_EQ(Rows(4, "SELECT * FROM members ORDER BY rowid"), "ann|5;Ann|5;ann|6;");
  EXPECT_EQ(Members(store, 5), "ann;Ann;");
  EXPECT_EQ(Answer(store, &CWEZGroupStore::GetMemberCount, 5), "S_OK 2");

  EXPECT_EQ(store->DeleteMember(5, u"ANN"), S_OK);  // nothing matches, still S_OK
  EXPECT_EQ(store->DeleteMember(5, u"Ann"), S_OK);
  EXPECT_EQ(Members(store, 5), "ann;");
  EXPECT_EQ(Members(store, 77), "E:0");  // an empty group fails with a count of 0
  EXPECT_EQ(AnswerOver(-1, store, &CWEZGroupStore::GetMemberCount, 77), "S_OK 0");
}

TEST_F(GroupStoreTest, DeleteGroupKeepsChildrenAndTheSecondDeleteKeepsMembers) {
  CWEZGroupStore* store = Open(4);
  GroupInfo a = Group(60000001, 0, u"A");
  GroupInfo b = Group(60000001, 0, u"B");
  ASSERT_EQ(store->AddGroup(&a), S_OK);
  ASSERT_EQ(store->AddGroup(&b), S_OK);
  GroupInfo child = Group(a.id, 0, u"A1");
  ASSERT_EQ(store->AddGroup(&child), S_OK);
  store->AddMember(a.id, u"x");
  store->AddMember(b.id, u"y");

  EXPECT_EQ(store->DeleteGroup(a.id), S_OK);
  EXPECT_EQ(Rows(4, "SELECT id, parentId FROM groups WHERE id<>'60000001' ORDER BY id"),
            "60000003|60000001;60000004|60000002;");  // the child's parent is gone
  EXPECT_EQ(Members(store, a.id), "E:0");

  // While the store stays open, the member deletion does not run again.
  EXPECT_EQ(store->DeleteGroup(b.id), S_OK);
  EXPECT_EQ(Rows(4, "SELECT COUNT(*) FROM groups WHERE id='60000003'"), "0;");
  EXPECT_EQ(Members(store, b.id), "y;");
  EXPECT_EQ(store->DeleteGroup(31337), S_OK);  // no row: both steps still complete

  // Opened again, it deletes members once more.
  ASSERT_EQ(store->Initialize(DbPath(4).c_str(), 4), S_OK);
  EXPECT_EQ(store->DeleteGroup(b.id), S_OK);
  EXPECT_EQ(Members(store, b.id), "E:0");
}

TEST_F(GroupStoreTest, CompanyTreeRefusesEditsAndOtherKindsRefuseImports) {
  CWEZGroupStore* company = Open(1);
  GroupInfo dept = Group(10000001, 0, u"Sales");
  EXPECT_EQ(company->AddGroup(&dept), S_OK);  // adding is allowed for every kind
  GroupInfo rename = Group(0, dept.id, u"x");
  ExpectEach(E_FAIL, {company->RenameGroup(&rename), company->DeleteGroup(dept.id),
                      company->AddMember(dept.id, u"ann"), company->DeleteMember(dept.id, u"ann")});
  EXPECT_EQ(Rows(1, "SELECT name FROM groups WHERE id='10000002'"), "Sales;");
  EXPECT_EQ(Rows(1, "SELECT COUNT(*) FROM members"), "0;");

  root_.WriteBytes("g.xml", "<Groups Ver=\"1\"/>");
  for (LONG kind : {2, 3, 4, 5, 6}) {
    EXPECT_EQ(Open(kind)->LoadDataFromXml(root_.File(u"g.xml").c_str()), E_NOTIMPL) << kind;
  }
  EXPECT_EQ(company->LoadDataFromXml(root_.File(u"none.xml").c_str()), S_OK);
  EXPECT_EQ(Rows(1, "SELECT COUNT(*) FROM groups"), "2;");  // nothing changed
}

TEST_F(GroupStoreTest, VersionIsOpaqueTextWithZeroWhenNoneIsStored) {
  CWEZGroupStore* store = Open(3);
  EXPECT_EQ(Answer(store, &CWEZGroupStore::GetVersion), "S_FALSE 0");
  for (const char16_t* text : {u"12", u"-1", u"v2 beta", u""}) {
    EXPECT_EQ(store->SetVersion(text), S_OK);
    EXPECT_EQ(Answer(store, &CWEZGroupStore::GetVersion), "S_OK " + Utf8(text));
  }
}

TEST_F(GroupStoreTest, ClosedStoresFailAndNullPointersAreReported) {
  // Opened on a path where no database can be created.
  {
    CWEZGroupStore* store = Open(4, root_.File(u"no/such/folder/x.dat"));
    GroupInfo group = Group(1, 5, u"g");
    EXPECT_EQ(AnswerOver(reinterpret_cast<BSTR>(0x1), store, &CWEZGroupStore::GetVersion),
              "E_FAIL <null>");
    EXPECT_EQ(store->AddGroup(&group), E_FAIL);
    EXPECT_EQ(store->AddMember(5, u"a"), E_FAIL);
    // Counts are cleared before the connection is checked.
    EXPECT_EQ(AnswerOver(9, store, &CWEZGroupStore::GetSubGroupCount, 1), "E_FAIL 0");
    EXPECT_EQ(AnswerOver(9, store, &CWEZGroupStore::GetGroupCount), "E_FAIL 0");
  }
  EXPECT_EQ(Assertions(), 0u);

  CWEZGroupStore* store = Open(4);
  LONG count = 0;
  GroupInfo group{};
  BSTR nick = nullptr;
  const auto results = {store->GetVersion(nullptr),
                        store->AddGroup(nullptr),
                        store->GetSubGroupCount(1, nullptr),
                        store->GetSubGroups(1, nullptr, &count),
                        store->GetSubGroups(1, &group, nullptr),
                        store->RenameGroup(nullptr),
                        store->GetMembers(1, nullptr, &count),
                        store->GetMembers(1, &nick, nullptr),
                        store->GetMemberCount(1, nullptr),
                        store->GetGroupInfo(nullptr),
                        store->GetGroupCount(nullptr),
                        Open(1)->LoadDataFromXml(nullptr)};
  ExpectEach(E_INVALIDARG, results);
  EXPECT_EQ(Assertions(), results.size());
}

}  // namespace
}  // namespace vk::test
