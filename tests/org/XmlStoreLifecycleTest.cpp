// What the four versioned XML stores share: opening or replacing their file, writing it
// back, and failing cleanly.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <set>
#include <string>

#include "org/DeptLeader.h"
#include "org/KeyDepts.h"
#include "org/PortalStore.h"
#include "org/UserGrid.h"
#include "platform/Text.h"
#include "tests/org/FakeClientRoot.h"
#include "tests/org/XmlStoreTest.h"
#include "tests/support/HangGuard.h"
#include "tests/support/LogCapture.h"
#include "tests/support/MakeStore.h"
#include "tests/support/TempDataRoot.h"

namespace vk::test {
namespace {

// An object that answers for IUnknown only.
class NotAClientRoot : public ComObject<IUnknown> {};

class XmlStoreLifecycleTest : public testing::Test {
 protected:
  std::string File(const char* name) const { return root_.ReadBytes(name).value_or("<missing>"); }
  // A new store opened on `name` in the data root, without a client.
  template <typename Store>
  ComPtr<Store> Open(const char* name, HRESULT expected = S_OK) {
    auto store = MakeStore<Store>();
    EXPECT_EQ(store->Initialize(root_.File(FromUtf8(name)).c_str(), nullptr), expected) << name;
    return store;
  }
  TempDataRoot root_;
};

TEST_F(XmlStoreLifecycleTest, EachStoreWritesItsTemplateForAMissingFile) {
  auto grid = Open<CUserGrid>("UserGrid.xml");
  auto keys = Open<CKeyDepts>("KeyDepts.xml");
  auto leader = Open<CDeptLeader>("Leader.xml");
  auto portal = Open<CPortalStore>("PortalIcon/EPortal.xml");
  EXPECT_EQ(File("UserGrid.xml"), kHeader + "<UserGrid ProVer=\"0\"/>\n");
  EXPECT_EQ(File("KeyDepts.xml"), kHeader + "<KeyDepts ProVer=\"0\"/>\n");
  EXPECT_EQ(File("Leader.xml"), kHeader + "<Leader ProVer=\"0\"/>\n");
  EXPECT_EQ(File("PortalIcon/EPortal.xml"), kHeader + "<Portal ProVer=\"0\"/>\n");
  EXPECT_EQ(AnswerOver(-1, grid, &CUserGrid::GetVersion), "S_OK 0");
  EXPECT_EQ(AnswerOver(-1, keys, &CKeyDepts::GetVersion), "S_OK 0");
}

TEST_F(XmlStoreLifecycleTest, UnreadableFilesAreReplacedByTheTemplate) {
  LogCapture log;
  const std::string broken[] = {
      "",
      kHeader + "<UserGrid ProVer=\"4\"><User Grid=\"1\" Ni",
      "\xff\xfe<\0U\0",
      "not xml at all",
      "<?xml version=\"1.0\" encoding=\"x-unknown\"?><UserGrid ProVer=\"4\"/>",
      kHeader +
          "<!DOCTYPE UserGrid [<!ENTITY n \"zhangsan\">]><UserGrid ProVer=\"4\">"
          "<User Nick=\"&n;\" Grid=\"1\"/></UserGrid>",
  };
  for (const std::string& bytes : broken) {
    root_.WriteBytes("UserGrid.xml", bytes);
    Open<CUserGrid>("UserGrid.xml");
    EXPECT_EQ(File("UserGrid.xml"), kHeader + "<UserGrid ProVer=\"0\"/>\n") << bytes;
  }
  EXPECT_TRUE(log.Records().empty());
  // Damaged bytes are kept beside the file, one copy per second (the first of that second),
  // so a run that crosses a second boundary keeps more than one; an empty file holds nothing.
  std::set<std::string> kept;
  for (const auto& entry : std::filesystem::directory_iterator(root_.NativePath())) {
    if (entry.path().filename().string().starts_with("UserGrid.xml.damaged-")) {
      kept.insert(File(entry.path().filename().c_str()));
    }
  }
  EXPECT_GE(kept.size(), 1u);
  EXPECT_LE(kept.size(), 3u);
  for (const std::string& bytes : kept) {
    EXPECT_NE(std::find(std::begin(broken) + 1, std::end(broken), bytes), std::end(broken));
  }

  // A FIFO in the file's place, which nobody writes to, can be neither read nor replaced:
  // the opening fails at once instead of waiting for a writer.
  ASSERT_TRUE(MakeFifo(root_.NativeFile("UserGrid.xml")));
  HangGuard guard;
  auto grid = Open<CUserGrid>("UserGrid.xml", E_FAIL);
  EXPECT_EQ(grid->SetGrid(u"a", 1), E_FAIL);
}

TEST_F(XmlStoreLifecycleTest, ReadOnlyFileIsMadeWritableByTheFirstSave) {
  root_.WriteBytes("UserGrid.xml", kHeader + "<UserGrid ProVer=\"1\"/>\n");
  ASSERT_EQ(::chmod(root_.NativeFile("UserGrid.xml").c_str(), 0444), 0);
  auto grid = Open<CUserGrid>("UserGrid.xml");
  ASSERT_EQ(grid->SetGrid(u"a", 1), S_OK);
  EXPECT_EQ(grid->Close(), S_OK);
  struct stat info {};
  ASSERT_EQ(::stat(root_.NativeFile("UserGrid.xml").c_str(), &info), 0);
  EXPECT_TRUE(info.st_mode & S_IWUSR);
  EXPECT_NE(File("UserGrid.xml").find("Nick=\"a\""), std::string::npos);
}

TEST_F(XmlStoreLifecycleTest, FailedSaveIsReportedButCloseSucceeds) {
  std::filesystem::create_directories(root_.NativeFile("acct"));
  auto grid = Open<CUserGrid>("acct/UserGrid.xml");
  ASSERT_EQ(grid->SetGrid(u"a", 5), S_OK);
  std::filesystem::remove_all(root_.NativeFile("acct"));  // nowhere to write
  LogCapture log;
  EXPECT_EQ(grid->Close(), S_OK);
  EXPECT_GE(log.CountLevel(u"important"), 1u);
  EXPECT_NE(log.Records().front().text.find(u"ASSERT HAPPENS!"), std::u16string::npos);
  EXPECT_EQ(Answer(grid, &CUserGrid::GetGrid, u"a"), "S_OK 5");  // the change stays in memory
  EXPECT_FALSE(std::filesystem::exists(root_.NativeFile("acct")));

  // A folder that does not exist cannot take the template either.
  log.Clear();
  auto other = Open<CUserGrid>("none/UserGrid.xml", E_FAIL);
  EXPECT_GE(log.CountLevel(u"important"), 1u);
  EXPECT_EQ(other->SetGrid(u"a", 1), E_FAIL);  // stays uninitialised
}

TEST_F(XmlStoreLifecycleTest, NullPathFailsWithAReport) {
  LogCapture log;
  auto keys = MakeStore<CKeyDepts>();
  EXPECT_EQ(keys->Initialize(nullptr, nullptr), E_FAIL);
  EXPECT_EQ(log.CountLevel(u"important"), 1u);
  ULONG ids[1] = {0};
  LONG count = 1;
  EXPECT_EQ(keys->GetKeyDepts(u"a", ids, &count), E_FAIL);
}

TEST_F(XmlStoreLifecycleTest, OperationsBeforeInitializeFailWithoutLogging) {
  LogCapture log;
  auto grid = MakeStore<CUserGrid>();
  auto keys = MakeStore<CKeyDepts>();
  auto leader = MakeStore<CDeptLeader>();
  EXPECT_EQ(AnswerOver(4, grid, &CUserGrid::GetVersion), "E_FAIL 0");
  LONG value = 4;
  ULONG ids[2] = {1, 2};
  LONG count = 2;
  ExpectEach(E_FAIL, {grid->SetVersion(1), grid->GetGrid(u"a", &value), grid->SetGrid(u"a", 1),
                      grid->Clear(), keys->GetVersion(&value), keys->SetVersion(1),
                      keys->GetKeyDepts(u"a", ids, &count), keys->SetKeyDepts(u"a", ids, &count),
                      keys->ResetIfExpired(), leader->GetVersion(&value), leader->SetVersion(1),
                      leader->GetLeader(1, &value), leader->SetLeader(1, 1, 1),
                      leader->DeleteDept(1), leader->ResetIfExpired()});
  ExpectEach(S_OK, {grid->Close(), keys->Close(), leader->Close()});
  grid.reset();
  keys.reset();
  leader.reset();
  EXPECT_TRUE(log.Records().empty());
  EXPECT_TRUE(log.DebugLines().empty());
}

TEST_F(XmlStoreLifecycleTest, InitializeAgainStartsOverOnTheNewFile) {
  auto grid = Open<CUserGrid>("one.xml");
  ASSERT_EQ(grid->SetGrid(u"a", 1), S_OK);
  ASSERT_EQ(grid->Close(), S_OK);
  ASSERT_EQ(grid->SetGrid(u"a", 2), S_OK);  // not flushed: lost at the account change
  // A client that is not a client root is kept as no client, without error.
  auto not_a_root = MakeStore<NotAClientRoot>();
  ASSERT_EQ(grid->Initialize(root_.File(u"two.xml").c_str(), not_a_root.get()), S_OK);
  EXPECT_EQ(AnswerOver(-1, grid, &CUserGrid::GetGrid, u"a"), "S_OK 0");
  EXPECT_EQ(grid->Close(), S_OK);
  EXPECT_EQ(File("two.xml"), kHeader + "<UserGrid ProVer=\"0\"/>\n");
  EXPECT_NE(File("one.xml").find("Grid=\"1\""), std::string::npos);
  // The client root is held while kept and released with the store.
  auto client = ComPtr<FakeClientRoot>(new FakeClientRoot());
  ASSERT_EQ(grid->Initialize(root_.File(u"two.xml").c_str(), client.get()), S_OK);
  EXPECT_EQ(client->RefCount(), 2);
  grid.reset();
  EXPECT_EQ(client->RefCount(), 1);
}

}  // namespace
}  // namespace vk::test
