#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/Files.h"
#include "platform/Text.h"
#include "profiles/MobileProfileStore.h"
#include "tests/support/Answer.h"
#include "tests/support/ErrorDescription.h"
#include "tests/support/LogCapture.h"
#include "tests/support/MakeStore.h"
#include "tests/support/TempDataRoot.h"

namespace vk::test {
namespace {

const std::string kDecl = "<?xml version=\"1.0\" encoding=\"GB2312\"?>\n";

MobileProfileItem Entry(std::u16string_view name, LONG gid = 0, std::u16string_view info = u"") {
  MobileProfileItem item{};
  name.copy(item.Name, std::min<size_t>(name.size(), 32));
  item.GID = gid;
  info.copy(item.INFO, std::min<size_t>(info.size(), 128));
  return item;
}

class MobileProfileStoreTest : public testing::Test {
 protected:
  void SetUp() override { Open(); }
  void Open() {
    store_ = MakeStore<CMobileProfileStore>();
    ASSERT_EQ(store_->Initialize(root_.File(u"MobileProfile.xml").c_str()), S_OK);
  }
  void Reopen(const std::string& bytes) {
    store_.reset();  // its pending changes are written now, not over the new file
    root_.WriteBytes("MobileProfile.xml", bytes);
    Open();
  }
  std::string File() const { return root_.ReadBytes("MobileProfile.xml").value_or("<missing>"); }
  std::u16string Add(std::u16string_view name) {
    MobileProfileItem item = Entry(name);
    EXPECT_EQ(store_->AddItem(&item), S_OK);
    return std::u16string(item.Name);
  }
  // Every entry's name in file order, read as a caller does: sized from GetItemCount.
  std::u16string Names() const {
    LONG count = -1;
    EXPECT_EQ(store_->GetItemCount(&count), S_OK);
    std::vector<MobileProfileItem> items(static_cast<size_t>(count) + 1, Entry(u"sentinel"));
    EXPECT_EQ(store_->GetItems(items.data()), S_OK);
    EXPECT_EQ(std::u16string(items.back().Name), u"sentinel");
    std::u16string names;
    for (LONG i = 0; i < count; ++i) names += std::u16string(items[i].Name) + u" ";
    return names;
  }

  TempDataRoot root_;
  LogCapture log_;
  ComPtr<CMobileProfileStore> store_;
};

TEST_F(MobileProfileStoreTest, NamesAreUniqueRegardlessOfCase) {
  EXPECT_EQ(Add(u"mum"), u"mum");
  EXPECT_EQ(Add(u"Mum"), u"Mum1");
  EXPECT_EQ(Add(u"MUM"), u"MUM2");
  EXPECT_EQ(Add(u"Mum1"), u"Mum11");
  EXPECT_EQ(Add(u"Émile"), u"Émile");
  EXPECT_EQ(Add(u"émile"), u"émile1");
  EXPECT_EQ(Add(u""), u"");
  EXPECT_EQ(Add(u""), u"1");
  EXPECT_EQ(Names(), u"mum Mum1 MUM2 Mum11 Émile émile1  1 ");
  // A taken name of the longest length: the numbered candidate does not fit the record, and
  // the file keeps what the record hands back, cut as it is.
  const std::u16string longest(31, u'n');
  EXPECT_EQ(Add(longest), longest);
  EXPECT_EQ(Add(longest), longest);
  EXPECT_EQ(File().find("n1\""), std::string::npos) << "the file holds the uncut candidate";

  const std::pair<const char16_t*, const char16_t*> lookups[] = {
      {u"MUM1", u"Mum1"},     {u"mum2", u"MUM2"},
      {u"émile1", u"émile1"}, {u"Émile", nullptr},  // only A to Z fold on the stored side
      {u"it's", nullptr},                           // the apostrophe breaks the expression
      {u"nobody", nullptr},
  };
  for (const auto& [name, found] : lookups) {
    MobileProfileItem item{};
    EXPECT_EQ(store_->GetItem(name, &item), found != nullptr ? S_OK : E_FAIL) << ToUtf8(name);
    EXPECT_EQ(std::u16string(item.Name), found != nullptr ? found : u"");
  }
}

TEST_F(MobileProfileStoreTest, DeleteTestsWithoutCaseButRemovesOnlyTheFirstExactMatch) {
  Reopen(kDecl + "<Root><ITEM Name=\"a\"/><ITEM Name=\"Mum1\"/><ITEM Name=\"a\"/></Root>");
  log_.Clear();
  EXPECT_EQ(store_->DeleteItem(u"MUM1"), S_OK);
  EXPECT_EQ(Names(), u"a Mum1 a ");
  EXPECT_EQ(store_->DeleteItem(u"a"), S_OK);
  EXPECT_EQ(Names(), u"Mum1 a ");
  EXPECT_EQ(log_.CountLevel(u"important"), 0u);
  EXPECT_EQ(store_->DeleteItem(u"nobody"), E_INVALIDARG);
  EXPECT_EQ(log_.CountLevel(u"important"), 1u);
  EXPECT_EQ(TakeErrorDescription(), u"No mobile profile entry is named nobody");
  EXPECT_EQ(store_->DeleteItem(nullptr), E_INVALIDARG);
  EXPECT_EQ(store_->Close(), S_OK);
  EXPECT_EQ(File(), kDecl + "<Root><ITEM Name=\"Mum1\"/><ITEM Name=\"a\"/></Root>\n");
  // A removed entry's name is free again; the names left stay taken.
  EXPECT_EQ(store_->DeleteItem(u"a"), S_OK);
  EXPECT_EQ(Add(u"A"), u"A");
  EXPECT_EQ(Add(u"mum1"), u"mum11");
}

TEST_F(MobileProfileStoreTest, FieldsAreWrittenInOrderAndReadBackCut) {
  MobileProfileItem item = Entry(std::u16string(32, u'n'), -7, std::u16string(128, u'i'));
  std::u16string(16, u'1').copy(item.Number, 16);
  std::u16string(32, u'z').copy(item.ZPNO, 32);
  ASSERT_EQ(store_->AddItem(&item), S_OK);
  ASSERT_EQ(store_->AddItem(&item), S_OK);  // a name taken: the candidate has 33 characters
  EXPECT_EQ(std::u16string(item.Name, 32), std::u16string(32, u'n'));  // 31 written, 1 kept
  EXPECT_EQ(store_->Close(), S_OK);
  std::string attributes = "\" GID=\"-7\" Number=\"" + std::string(16, '1') + "\" ZPNO=\"" +
                           std::string(32, 'z') + "\" INFO=\"" + std::string(128, 'i') + "\"/>";
  EXPECT_EQ(File(), kDecl + ToAnsi(u"<?Mobile 用户详细资料 ?>") + "\n<Root><ITEM Name=\"" +
                        std::string(32, 'n') + attributes + "<ITEM Name=\"" + std::string(32, 'n') +
                        attributes + "</Root>\n");  // written from the record

  Reopen(kDecl + "<Root><ITEM Name=\"a\" GID=\" 42abc\" INFO=\"" + std::string(200, 'x') +
         "\"/></Root>");
  MobileProfileItem out;
  std::fill_n(reinterpret_cast<char16_t*>(&out), sizeof(out) / 2, u'#');
  ASSERT_EQ(store_->GetItem(u"A", &out), S_OK);
  EXPECT_EQ(out.GID, 42);
  EXPECT_EQ(std::u16string(out.INFO, 128), std::u16string(127, u'x') + u'#');
  EXPECT_EQ(std::u16string(out.Number), u"");  // absent attributes read as empty
  EXPECT_EQ(out.Number[1], u'#');
}

TEST_F(MobileProfileStoreTest, ForeignElementsShareTheWalkButNotTheCount) {
  Reopen(kDecl + "<Root><ITEM Name=\"a\"/><Note Name=\"n\"/><ITEM Name=\"b\"/><!--c-->" +
         "<ITEM Name=\"c\"/></Root>");
  EXPECT_EQ(Names(), u"a n b ");  // three ITEMs counted; the walk stops at the comment
  EXPECT_EQ(Add(u"N"), u"N1");    // any leading element's name is taken
  EXPECT_EQ(Add(u"c"), u"c");     // an entry after the comment is not seen
  EXPECT_EQ(Add(u"C"), u"C");     // nor one appended after it
  Reopen(kDecl + "<Root><ITEM Name=\"a\"/><!--c--><ITEM Name=\"b\"/></Root>");
  EXPECT_EQ(Names(), u"a sentinel ");  // two counted, one filled: the second is left alone
}

TEST_F(MobileProfileStoreTest, OpeningFailuresAndBadInputAnswerTheirStatus) {
  EXPECT_NE(File().find("<Root/>"), std::string::npos);  // a missing file gets the template
  Add(u"kept");
  log_.Clear();
  MobileProfileItem bell = Entry(u"bell\a");
  EXPECT_EQ(store_->AddItem(&bell), E_FAIL);
  EXPECT_TRUE(log_.HasDebugLineContaining("\r\nThe text contains a character"));
  EXPECT_EQ(store_->AddItem(nullptr), E_INVALIDARG);
  EXPECT_EQ(store_->GetItemCount(nullptr), E_INVALIDARG);
  EXPECT_EQ(log_.CountLevel(u"important"), 3u);

  // A refused path drops the previous document, and operations fail: there is no document.
  EXPECT_EQ(store_->Initialize(nullptr), E_INVALIDARG);
  EXPECT_EQ(TakeErrorDescription(), u"The mobile profile needs a file path.");
  MobileProfileItem item = Entry(u"x");
  LONG count = 0;
  ExpectEach(E_FAIL,
             {store_->AddItem(&item), store_->GetItemCount(&count), store_->DeleteItem(u"kept")});
  // A template that cannot be saved still is the document: the store has no opened flag, and
  // its operations work on it until a later Close writes it.
  EXPECT_EQ(store_->Initialize(root_.File(u"no/folder/MobileProfile.xml").c_str()), E_FAIL);
  EXPECT_EQ(TakeErrorDescription(), u"The mobile profile cannot be written to " +
                                        root_.File(u"no/folder/MobileProfile.xml"));
  EXPECT_EQ(AnswerOver(-1, store_, &CMobileProfileStore::GetItemCount), "S_OK 0");
  EXPECT_EQ(store_->GetItem(u"kept", &item), E_FAIL);
  EXPECT_EQ(store_->DeleteItem(u"kept"), E_INVALIDARG);
  ASSERT_TRUE(CreateFolders(root_.File(u"no/folder")));
  EXPECT_EQ(store_->AddItem(&item), S_OK);
  EXPECT_EQ(store_->Close(), S_OK);
  EXPECT_NE(root_.ReadBytes("no/folder/MobileProfile.xml").value_or("").find("Name=\"x\""),
            std::string::npos);
  EXPECT_NE(File().find("<Root/>"), std::string::npos);  // never written with "kept"
}

}  // namespace
}  // namespace vk::test
