#include <gtest/gtest.h>

#include <vector>

#include "org/UserGrid.h"
#include "platform/Text.h"
#include "tests/org/XmlStoreTest.h"
#include "tests/support/LogCapture.h"

namespace vk::test {
namespace {

class UserGridTest : public XmlStoreTest<CUserGrid> {
 protected:
  UserGridTest() : XmlStoreTest("UserGrid.xml") {}
  LONG Grid(const char16_t* nick) const {
    LONG grid = -99;
    EXPECT_EQ(store_->GetGrid(nick, &grid), S_OK);
    return grid;
  }
};

TEST_F(UserGridTest, SetGridAppendsUsersAndChangesOnlyGridLater) {
  EXPECT_EQ(Grid(u"ann"), 0);  // unknown: S_OK with 0
  EXPECT_EQ(store_->SetGrid(u"Ann", 5), S_OK);
  EXPECT_EQ(store_->SetGrid(u"Bob", -3), S_OK);
  EXPECT_EQ(store_->SetGrid(u"Ann", 7), S_OK);
  EXPECT_EQ(Grid(u"Ann"), 7);
  EXPECT_EQ(Grid(u"Bob"), -3);
  EXPECT_EQ(Grid(u"ann"), 0);  // no case folding
  EXPECT_EQ(Grid(u"ANN"), 0);
  EXPECT_EQ(store_->Close(), S_OK);
  EXPECT_EQ(File(), kHeader +
                        "<UserGrid ProVer=\"0\"><User Grid=\"7\" Nick=\"Ann\"/>"
                        "<User Grid=\"-3\" Nick=\"Bob\"/></UserGrid>\n");
}

TEST_F(UserGridTest, ChangesReachTheFileOnCloseOrRelease) {
  ASSERT_EQ(store_->SetGrid(u"张三", 9), S_OK);
  std::string before = File();
  EXPECT_EQ(before.find("Grid=\"9\""), std::string::npos);  // kept in memory until then
  store_.reset();                                           // released without Close
  EXPECT_NE(File().find(ToAnsi(u"<User Grid=\"9\" Nick=\"张三\"/>")), std::string::npos);
  Reopen();
  EXPECT_EQ(Grid(u"张三"), 9);
}

TEST_F(UserGridTest, ClearRemovesOnlyTheFirstChildAndDoesNotMarkDirty) {
  root_.WriteBytes("UserGrid.xml", kHeader +
                                       "<UserGrid ProVer=\"2\"><User Grid=\"1\" Nick=\"a\"/>"
                                       "<User Grid=\"2\" Nick=\"b\"/><User Grid=\"3\" Nick=\"c\"/>"
                                       "</UserGrid>\n");
  Reopen();
  std::string on_disk = File();
  EXPECT_EQ(store_->Clear(), S_FALSE);
  EXPECT_EQ(std::vector<LONG>({Grid(u"a"), Grid(u"b"), Grid(u"c")}), std::vector<LONG>({0, 2, 3}));
  EXPECT_EQ(store_->Close(), S_OK);
  EXPECT_EQ(File(), on_disk);  // not rewritten without another change
  EXPECT_EQ(store_->SetGrid(u"d", 4), S_OK);
  EXPECT_EQ(store_->Close(), S_OK);
  EXPECT_EQ(File(), kHeader +
                        "<UserGrid ProVer=\"2\"><User Grid=\"2\" Nick=\"b\"/>"
                        "<User Grid=\"3\" Nick=\"c\"/><User Grid=\"4\" Nick=\"d\"/></UserGrid>\n");
  // On an empty document the loop has nothing to do.
  for (int i = 0; i < 4; ++i) EXPECT_EQ(store_->Clear(), S_FALSE);
}

TEST_F(UserGridTest, AwkwardNicknamesDoNotBreakTheStore) {
  LogCapture log;
  // A double quote ends the XPath literal early: the guard answers E_FAIL.
  EXPECT_EQ(store_->SetGrid(u"say \"hi\"", 1), E_FAIL);
  EXPECT_EQ(AnswerOver(5, store_, &CUserGrid::GetGrid, u"say \"hi\""), "E_FAIL 0");
  EXPECT_EQ(log.CountLevel(u"important"), 0u);  // quiet guards

  std::u16string long_nick(10000, u'x');
  for (const std::u16string& nick : {std::u16string(u"it's"), std::u16string(u"a]b[c"),
                                     std::u16string(u"<&>"), std::u16string(u""), long_nick}) {
    EXPECT_EQ(store_->SetGrid(nick.c_str(), 42), S_OK) << ToUtf8(nick.substr(0, 10));
    EXPECT_EQ(Grid(nick.c_str()), 42) << ToUtf8(nick.substr(0, 10));
  }
  EXPECT_EQ(store_->SetGrid(nullptr, 8), S_OK);  // a null nickname reads as empty
  EXPECT_EQ(Grid(u""), 8);
  // A character XML cannot hold is refused instead of corrupting the file.
  EXPECT_EQ(store_->SetGrid(u"bell\a", 1), E_FAIL);
  EXPECT_EQ(store_->Close(), S_OK);
  Reopen();
  EXPECT_EQ(Grid(long_nick.c_str()), 42);
  EXPECT_EQ(Grid(u"<&>"), 42);
}

TEST_F(UserGridTest, StoredValuesReadByLeadingDigits) {
  root_.WriteBytes("UserGrid.xml",
                   kHeader +
                       "<UserGrid ProVer=\" +12x\"><User Grid=\"  42abc\" Nick=\"a\"/>"
                       "<User Nick=\"b\"/><User Grid=\"-7\" Nick=\"c\"/>"
                       "<User Grid=\"none\" Nick=\"d\"/><Sub><User Grid=\"5\" Nick=\"e\"/>"
                       "</Sub></UserGrid>\n");
  Reopen();
  // "e" is found at any depth.
  for (auto [nick, grid] : {std::pair{u"a", 42}, {u"b", 0}, {u"c", -7}, {u"d", 0}, {u"e", 5}}) {
    EXPECT_EQ(Grid(nick), grid) << ToUtf8(nick);
  }
  EXPECT_EQ(Answer(store_, &CUserGrid::GetVersion), "S_OK 12");
  EXPECT_EQ(store_->SetVersion(13), S_OK);
  EXPECT_EQ(Answer(store_, &CUserGrid::GetVersion), "S_OK 13");
  EXPECT_EQ(File().find("ProVer=\"13\""), std::string::npos);  // marked dirty only
  EXPECT_EQ(store_->Close(), S_OK);
  EXPECT_NE(File().find("<UserGrid ProVer=\"13\">"), std::string::npos);
}

}  // namespace
}  // namespace vk::test
