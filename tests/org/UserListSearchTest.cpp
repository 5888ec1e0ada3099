#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <thread>

#include "org/SearchLists.h"
#include "platform/Py.h"
#include "platform/Text.h"
#include "tests/org/UserListFixture.h"

namespace vk::test {
namespace {

SearchLists ListsOf(std::initializer_list<std::pair<std::u16string, std::u16string>> rows) {
  SearchLists lists;
  const CPy speller;
  for (auto [nick, name] : rows) lists.Add(nick, name, speller);
  return lists;
}

TEST(SearchListsTest, AddBuildsLowerCaseDisplayNameAndSpellingCode) {
  std::u16string nick = u"ZhangSan";
  std::u16string name = u"张三";
  SearchLists().Add(nick, name, CPy());
  EXPECT_EQ(nick, u"zhangsan");  // lowered in place for the caller to store
  SearchLists lists = ListsOf({{u"ZhangSan", u"张三"}, {u"Solo", u""}, {u"zs", u"Zhang San"}});
  ASSERT_EQ(lists.Size(), 3u);
  EXPECT_EQ(lists.Display(0), u"zhangsan(张三)");
  EXPECT_EQ(lists.Spell(0), u"zhangsan");
  EXPECT_EQ(lists.Display(1), u"solo");  // no parentheses without a name
  EXPECT_EQ(lists.Name(1), u"");
  EXPECT_EQ(lists.Display(2), u"zs(zhang san)");
  EXPECT_EQ(lists.Name(2), u"zhang san");
  EXPECT_EQ(lists.Spell(2), u"zhang san");
}

TEST(SearchListsTest, PrefixMatchesDisplayNameOrSpellingOnceEach) {
  SearchLists lists = ListsOf({{u"zhangsan", u"张三"},
                               {u"bob", u"张伟"},
                               {u"carol", u"Zhu Li"},
                               {u"dave", u""},
                               {u"zhangsan", u"张三"},  // a second department's row
                               {u"eve", u"王五"}});
  EXPECT_EQ(lists.Search(u"zh"), u"zhangsan(张三);bob(张伟);carol(zhu li);");
  EXPECT_EQ(lists.Search(u"张"), u"zhangsan(张三);bob(张伟);");
  EXPECT_EQ(lists.Search(u"wangwu"), u"eve(王五);");
  EXPECT_EQ(lists.Search(u"ZH"), u"");     // compared as given: callers pass lower case
  EXPECT_EQ(lists.Search(u"davey"), u"");  // longer than every text
  EXPECT_EQ(lists.Search(u"dave"), u"dave;");
  EXPECT_EQ(lists.Search(u"nothing"), u"");
}

TEST(SearchListsTest, AtMostFiftyDistinctDisplays) {
  SearchLists lists;
  const CPy speller;
  for (int i = 0; i < 120; ++i) {
    std::u16string nick = u"user" + FromUtf8(std::to_string(1000 + i).substr(1)), name;
    lists.Add(nick, name, speller);
  }
  auto count = [](const std::u16string& found) {
    return std::count(found.begin(), found.end(), u';');
  };
  const std::u16string all = lists.Search(u"");
  EXPECT_EQ(count(all), 50);
  EXPECT_EQ(all.substr(0, 8), u"user000;");
  EXPECT_EQ(all.substr(all.size() - 8), u"user049;");
  EXPECT_EQ(count(lists.Search(u"user0")), 50);  // 100 rows match, 50 are given
  EXPECT_EQ(count(lists.Search(u"user1")), 20);
}

using UserListSearchTest = UserListFixture;

TEST_F(UserListSearchTest, ReaderBuildsTheListsFromTheDatabase) {
  EXPECT_EQ(Search(u""), u"");
  Add(1, u"Zhao", 1);
  Add(2, u"zhao", 1);
  Add(2, u"qian", 2);
  // Rows added one by one reach the lists with the next reader run, not at once.
  EXPECT_EQ(Search(u"zh"), u"");
  Reopen();
  EXPECT_EQ(Search(u"zh"), u"zhao;");
  EXPECT_EQ(Search(u""), u"zhao;qian;");
  BSTR matches = nullptr;
  EXPECT_EQ(list_->SearchUsers(nullptr, &matches, nullptr), S_OK);  // like the empty prefix
  EXPECT_EQ(std::u16string(matches), u"zhao;qian;");
  SysFreeString(matches);
}

TEST_F(UserListSearchTest, ARunningReaderKeepsTheLibraryLoaded) {
  // A reader lets go of its lock as the very last thing it does, after it has said that it
  // ended: give the one of SetUp that moment.
  auto settled = [] {
    for (int spin = 0; spin < 10'000'000 && ServerLocks() != 0; ++spin) std::this_thread::yield();
    return ServerLocks().load();
  };
  EXPECT_EQ(settled(), 0);
  // Holding the database lock keeps the next reader waiting at its start.
  RecursiveLock& db_lock = list_->SharedState()->DbLock();
  db_lock.Enter();
  ASSERT_EQ(list_->Initialize(path_.c_str(), client_), S_OK);
  EXPECT_EQ(ServerLocks(), 1);  // DllCanUnloadNow answers S_FALSE meanwhile
  db_lock.Leave();
  list_->WaitForReaders();
  EXPECT_EQ(settled(), 0);
}

TEST_F(UserListSearchTest, AListGoneUnaskedStopsItsReaderAnAskedOneDoesNot) {
  Add(1, u"zhao", 1);
  // Each reader waits at its start (the lock is held) until its list is gone.
  for (const bool asked : {false, true}) {
    CUserList* other = new CUserList();
    std::shared_ptr<UserListShared> shared = other->SharedState();
    shared->DbLock().Enter();
    ASSERT_EQ(other->Initialize(path_.c_str(), client_), S_OK);
    BSTR matches = nullptr;
    if (asked) other->SearchUsers(u"zh", &matches, nullptr);
    SysFreeString(matches);
    other->Release();
    shared->DbLock().Leave();
    shared->WaitForReaders();
    EXPECT_EQ(shared->ListSize(), asked ? 1u : 0u) << (asked ? "asked" : "unasked");
    EXPECT_FALSE(shared->DbLock().IsHeld());
  }
}

}  // namespace
}  // namespace vk::test
