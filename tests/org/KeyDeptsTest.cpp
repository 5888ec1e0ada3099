#include <gtest/gtest.h>

#include <thread>
#include <tuple>
#include <vector>

#include "org/KeyDepts.h"
#include "storage/FileCreationTime.h"
#include "tests/org/XmlStoreTest.h"
#include "tests/support/LogCapture.h"

namespace vk::test {
namespace {

constexpr int64_t kDay = 86400;

class KeyDeptsTest : public XmlStoreTest<CKeyDepts> {
 protected:
  KeyDeptsTest() : XmlStoreTest("KeyDepts.xml") {}
  void Set(const char16_t* nick, std::vector<ULONG> ids) {
    LONG count = static_cast<LONG>(ids.size());
    ids.push_back(0);  // a valid pointer for an empty list
    ASSERT_EQ(store_->SetKeyDepts(nick, ids.data(), &count), S_OK);
  }
  // Reads with the given capacity into an array pre-filled with a marker.
  std::vector<ULONG> Get(const char16_t* nick, LONG capacity, LONG* count_out = nullptr) {
    std::vector<ULONG> ids(static_cast<size_t>(capacity) + 4, 0xEEEEEEEEu);
    LONG count = capacity;
    EXPECT_EQ(store_->GetKeyDepts(nick, ids.data(), &count), S_OK);
    if (count_out != nullptr) *count_out = count;
    return ids;
  }
  LONG CountOf(const char16_t* nick) {
    LONG count = -1;
    Get(nick, 4, &count);
    return count;
  }
};

constexpr ULONG kMark = 0xEEEEEEEEu;

TEST_F(KeyDeptsTest, ListsAreKeptPerLowerCaseNickname) {
  LONG count = -1;
  std::vector<ULONG> ids = Get(u"nobody", 3, &count);
  EXPECT_EQ(count, 0);
  EXPECT_EQ(ids, (std::vector<ULONG>{0, 0, 0, kMark, kMark, kMark, kMark}));

  Set(u"MiXed", {10, 20, 3000000000u});
  // {nickname, capacity, count, the array's head}: the capacity is tested after each store.
  const std::tuple<const char16_t*, LONG, LONG, std::vector<ULONG>> reads[] = {
      {u"MIXED", 2, 2, {10, 20, kMark}},
      {u"mixed", 5, 3, {10, 20, 3000000000u, 0, 0, kMark}},
      {u"mixed", 0, 1, {10, kMark}}};
  for (const auto& [nick, capacity, expected, head] : reads) {
    ids = Get(nick, capacity, &count);
    EXPECT_EQ(count, expected) << capacity;
    EXPECT_EQ(std::vector<ULONG>(ids.begin(), ids.begin() + head.size()), head) << capacity;
  }

  Set(u"mixed", {7});  // replaces the whole list
  Set(u"Empty", {});
  EXPECT_EQ(store_->Close(), S_OK);
  EXPECT_EQ(File(), kHeader +
                        "<KeyDepts ProVer=\"0\"><User Nick=\"mixed\"><KeyDept DeptID=\"7\"/></User>"
                        "<User Nick=\"empty\"/></KeyDepts>\n");
  Reopen();
  EXPECT_EQ(CountOf(u"MIXED"), 1);
  EXPECT_EQ(CountOf(u"empty"), 0);
}

TEST_F(KeyDeptsTest, WalkEndsAtTheFirstChildThatIsNotAnElement) {
  root_.WriteBytes("KeyDepts.xml",
                   kHeader +
                       "<KeyDepts ProVer=\"4\"><User Nick=\"a\"><Other DeptID=\"1\"/>"
                       "<KeyDept/><!--x--><KeyDept DeptID=\"3\"/></User></KeyDepts>\n");
  Reopen();
  LONG count = 0;
  std::vector<ULONG> ids = Get(u"a", 4, &count);
  EXPECT_EQ(count, 2);  // tag names are not checked; a missing DeptID reads 0
  EXPECT_EQ(ids[0], 1u);
  EXPECT_EQ(ids[1], 0u);
  // Replacing removes leading elements only, up to the comment.
  Set(u"a", {9});
  EXPECT_EQ(store_->Close(), S_OK);
  EXPECT_NE(File().find("<User Nick=\"a\"><!--x--><KeyDept DeptID=\"3\"/><KeyDept DeptID=\"9\"/>"),
            std::string::npos);
}

TEST_F(KeyDeptsTest, BadArgumentsFailQuietly) {
  LogCapture log;
  ULONG ids[2] = {1, 2};
  LONG count = 2;
  ExpectEach(E_FAIL,
             {store_->GetKeyDepts(u"a", nullptr, &count), store_->GetKeyDepts(u"a", ids, nullptr),
              store_->SetKeyDepts(u"a", nullptr, &count), store_->SetKeyDepts(u"a", ids, nullptr),
              store_->SetKeyDepts(u"quote\"", ids, &count)});
  EXPECT_TRUE(log.Records().empty());
}

TEST_F(KeyDeptsTest, ResetIfExpiredEmptiesTheCacheAfterThirtyDays) {
  Set(u"a", {1, 2});
  ASSERT_EQ(store_->SetVersion(8), S_OK);
  ASSERT_EQ(store_->Close(), S_OK);
  // The file was created by Initialize, at the pinned "now".
  EXPECT_EQ(GetFileCreationTime(Path()), kNow);

  for (int64_t age : {29 * kDay, 30 * kDay}) {
    ASSERT_TRUE(SetFileCreationTime(Path(), kNow - age));
    EXPECT_EQ(store_->ResetIfExpired(), S_FALSE);
    EXPECT_EQ(CountOf(u"a"), 2) << age;
    EXPECT_EQ(GetFileCreationTime(Path()), kNow - age);
  }

  ASSERT_TRUE(SetFileCreationTime(Path(), kNow - 31 * kDay));
  EXPECT_EQ(store_->ResetIfExpired(), S_FALSE);
  EXPECT_EQ(CountOf(u"a"), 0);
  EXPECT_EQ(AnswerOver(-1, store_, &CKeyDepts::GetVersion), "S_OK 0");
  EXPECT_EQ(GetFileCreationTime(Path()), kNow);  // the next period starts now
  store_.reset();                                // destruction writes the emptied document
  EXPECT_EQ(File(), kHeader + "<KeyDepts ProVer=\"0\"/>\n");
  EXPECT_EQ(GetFileCreationTime(Path()), kNow);  // the save kept the creation time
}

TEST_F(KeyDeptsTest, AFileWithoutACreationRecordKeepsItsFirstTimeAcrossSaves) {
  // An older installation's file: no record beside it.
  store_.reset();
  ASSERT_EQ(std::remove(ToUtf8(CreationRecordPath(Path())).c_str()), 0);
  std::optional<int64_t> born = GetFileCreationTime(Path());
  ASSERT_TRUE(born.has_value());
  Reopen();
  EXPECT_TRUE(HasCreationRecord(Path()));  // written at once, from the file's own time
  Set(u"a", {1});
  ASSERT_EQ(store_->Close(), S_OK);  // the save replaces the file by a new one
  EXPECT_EQ(GetFileCreationTime(Path()), born);
  ASSERT_EQ(std::remove(root_.NativeFile("KeyDepts.xml").c_str()), 0);
  EXPECT_EQ(store_->ResetIfExpired(), E_FAIL);  // a file that is gone has no age
}

TEST_F(KeyDeptsTest, ListOperationsFromTwoThreadsStayConsistent) {
  auto worker = [this](const char16_t* nick, ULONG base) {
    for (ULONG round = 0; round < 200; ++round) {
      ULONG ids[3] = {base + round, base + round + 1, base + round + 2};
      LONG count = 3;
      EXPECT_EQ(store_->SetKeyDepts(nick, ids, &count), S_OK);
      ULONG read[3] = {};
      count = 3;
      EXPECT_EQ(store_->GetKeyDepts(nick, read, &count), S_OK);
      EXPECT_EQ(count, 3);
      EXPECT_EQ(read[2], read[0] + 2);
    }
  };
  std::thread first(worker, u"one", 1000);
  std::thread second(worker, u"two", 5000);
  first.join();
  second.join();
  EXPECT_EQ(Get(u"one", 3)[0], 1199u);
  EXPECT_EQ(Get(u"two", 3)[0], 5199u);
}

}  // namespace
}  // namespace vk::test
