#include <gtest/gtest.h>

#include <tuple>

#include "org/DeptLeader.h"
#include "storage/FileCreationTime.h"
#include "tests/org/XmlStoreTest.h"
#include "tests/support/LogCapture.h"

namespace vk::test {
namespace {

constexpr int64_t kThirtyDays = 2592000;

class DeptLeaderTest : public XmlStoreTest<CDeptLeader> {
 protected:
  DeptLeaderTest() : XmlStoreTest("Leader.xml") {}
  LONG Leader(LONG dept) {
    LONG leader = -99;
    EXPECT_EQ(store_->GetLeader(dept, &leader), S_OK) << dept;
    return leader;
  }
};

TEST_F(DeptLeaderTest, NewerVersionsReplaceTheLeader) {
  LogCapture log;
  EXPECT_EQ(store_->SetLeader(5, 3, 100), S_OK);
  EXPECT_EQ(Leader(5), 100);
  // A new entry sends the whole document to the debug output.
  EXPECT_TRUE(
      log.HasDebugLineContaining("xxxx <?xml version=\"1.0\" encoding=\"gb2312\"?>\n"
                                 "<Leader ProVer=\"0\"><Dept id=\"5\" Leader=\"100\" "
                                 "Version=\"3\"/></Leader>"));
  // {version, leader, the leader afterwards}: an equal or an older version is ignored.
  for (auto [version, leader, now] : {std::tuple{3u, 200, 100}, {2u, 200, 100}, {4u, 200, 200}}) {
    EXPECT_EQ(store_->SetLeader(5, version, leader), S_OK);
    EXPECT_EQ(Leader(5), now) << version;
  }
  EXPECT_EQ(store_->SetLeader(-6, 0xFFFFFFFFu, -1), S_OK);
  EXPECT_EQ(store_->Close(), S_OK);
  EXPECT_EQ(File(), kHeader +
                        "<Leader ProVer=\"0\"><Dept id=\"5\" Leader=\"200\" Version=\"4\"/>"
                        "<Dept id=\"-6\" Leader=\"-1\" Version=\"-1\"/></Leader>\n");
  // A stored version of -1 is 4294967295 unsigned: nothing replaces it.
  EXPECT_EQ(store_->SetLeader(-6, 4000000000u, 7), S_OK);
  EXPECT_EQ(Leader(-6), -1);

  EXPECT_EQ(AnswerOver(1234, store_, &CDeptLeader::GetLeader, 77), "E_FAIL 1234");
}

TEST_F(DeptLeaderTest, DeptsAreFoundAtAnyDepthFirstMatchWins) {
  root_.WriteBytes("Leader.xml",
                   kHeader +
                       "<Leader ProVer=\"1\"><Group><Dept id=\"9\" Leader=\"11\" "
                       "Version=\"1\"/></Group><Dept id=\"9\" Leader=\"22\"/>"
                       "<Dept id=\"8\" Leader=\" 33x\" Version=\"junk\"/></Leader>\n");
  Reopen();
  EXPECT_EQ(Leader(9), 11);
  EXPECT_EQ(Leader(8), 33);
  EXPECT_EQ(store_->SetLeader(8, 1, 44), S_OK);  // "junk" reads as 0
  EXPECT_EQ(Leader(8), 44);
}

TEST_F(DeptLeaderTest, DeleteDeptKeepsTheLeaderButRewritesTheFile) {
  root_.WriteBytes("Leader.xml",
                   kHeader +
                       "<Leader ProVer=\"0\"><Dept id=\"5\" Leader=\"100\" "
                       "Version=\"3\"><Note/><Note/><!--c--><Note/></Dept></Leader>\n");
  Reopen();
  EXPECT_EQ(store_->DeleteDept(5), S_OK);
  EXPECT_EQ(Leader(5), 100);
  EXPECT_EQ(store_->DeleteDept(404), S_OK);
  EXPECT_EQ(store_->Close(), S_OK);
  EXPECT_EQ(File(), kHeader +
                        "<Leader ProVer=\"0\"><Dept id=\"5\" Leader=\"100\" Version=\"3\">"
                        "<!--c--><Note/></Dept></Leader>\n");

  // An unknown department marks nothing dirty: a file changed behind the store survives.
  root_.WriteBytes("Leader.xml", "changed elsewhere");
  EXPECT_EQ(store_->DeleteDept(404), S_OK);
  EXPECT_EQ(store_->Close(), S_OK);
  EXPECT_EQ(File(), "changed elsewhere");
}

TEST_F(DeptLeaderTest, VersionExpressionNeverMatchesTheLeaderRoot) {
  EXPECT_EQ(AnswerOver(5, store_, &CDeptLeader::GetVersion), "E_FAIL 0");
  EXPECT_EQ(store_->SetVersion(7), S_OK);
  // Written at once, on the Leader root.
  EXPECT_EQ(File(), kHeader + "<Leader ProVer=\"7\"/>\n");
  EXPECT_EQ(AnswerOver(5, store_, &CDeptLeader::GetVersion), "E_FAIL 0");
  // A file with the root the expression names is read normally.
  root_.WriteBytes("Leader.xml", kHeader + "<DeptLeader><X ProVer=\"12\"/></DeptLeader>\n");
  Reopen();
  EXPECT_EQ(Answer(store_, &CDeptLeader::GetVersion), "S_OK 12");
}

TEST_F(DeptLeaderTest, ResetIfExpiredAfterThirtyDaysAndOneSecond) {
  ASSERT_EQ(store_->SetLeader(5, 3, 100), S_OK);
  ASSERT_TRUE(SetFileCreationTime(Path(), kNow - kThirtyDays));
  EXPECT_EQ(store_->ResetIfExpired(), S_FALSE);
  EXPECT_EQ(Leader(5), 100);
  EXPECT_EQ(GetFileCreationTime(Path()), kNow - kThirtyDays);

  // A creation time in the future is a negative age: not expired.
  ASSERT_TRUE(SetFileCreationTime(Path(), kNow + 1000));
  EXPECT_EQ(store_->ResetIfExpired(), S_FALSE);
  EXPECT_EQ(Leader(5), 100);

  ASSERT_TRUE(SetFileCreationTime(Path(), kNow - kThirtyDays - 1));
  EXPECT_EQ(store_->ResetIfExpired(), S_FALSE);
  EXPECT_EQ(Answer(store_, &CDeptLeader::GetLeader, 5), "E_FAIL 0");
  EXPECT_EQ(File(), kHeader + "<Leader ProVer=\"0\"/>\n");  // written at once by SetVersion
  EXPECT_EQ(GetFileCreationTime(Path()), kNow);

  ASSERT_EQ(std::remove(root_.NativeFile("Leader.xml").c_str()), 0);
  EXPECT_EQ(store_->ResetIfExpired(), E_FAIL);
}

}  // namespace
}  // namespace vk::test
