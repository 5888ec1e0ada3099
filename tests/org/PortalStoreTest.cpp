#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <vector>

#include "org/PortalStore.h"
#include "platform/Text.h"
#include "tests/org/FakeClientRoot.h"
#include "tests/org/XmlStoreTest.h"
#include "tests/support/LogCapture.h"
#include "tests/support/MakeStore.h"
#include "tests/support/TempDataRoot.h"

namespace vk::test {
namespace {

std::string Tip(const std::string& name, const std::string& link, const std::string& note_cn,
                const std::string& note_en) {
  return "<Tip Name=\"" + name + "\"><Link>" + link + "</Link><NoteCN>" + note_cn +
         "</NoteCN><NoteEN>" + note_en + "</NoteEN></Tip>";
}

const std::string kPublished =
    kHeader +
    ToAnsi(
        u"<PORTAL ver=\"6\">\n"
        u"  <DeptPortal><Inner Enable=\"false\"/><NoteCN>部门门户</NoteCN>"
        u"<NoteEN>Dept portal</NoteEN><NoteTW>部門入口</NoteTW>"
        u"<DeptUrl>http://portal/dept</DeptUrl></DeptPortal>\n"
        u"  <UserPortal Enable=\"0\"><LinkTextCN>链接</LinkTextCN><LinkTextEN>Link</LinkTextEN>"
        u"<LinkTextTW>鏈接</LinkTextTW><UserUrl>http://portal/user</UserUrl></UserPortal>\n"
        u"  <UserTips Enable=\"\" State=\"Busy\">") +
    Tip("first", "http://tip/1", ToAnsi(u"提示一"), "Tip one") + Tip("second", "", "", "") +
    "</UserTips>\n  <Depts><Dept ID=\"11\"/><Dept ID=\"22\"/><Dept ID=\"33\"/>"
    "<Dept ID=\"44\"/><Dept ID=\"55\"/></Depts>\n</PORTAL>\n";

class PortalStoreTest : public testing::Test {
 protected:
  void Open(LONG language = 0) {
    client_->SetLanguage(language);
    store_ = MakeStore<CPortalStore>();
    ASSERT_EQ(store_->Initialize(Path().c_str(), client_.get()), S_OK);
  }
  void Publish(const std::string& bytes) {
    std::filesystem::create_directories(root_.NativeFile("PortalIcon"));
    root_.WriteBytes("PortalIcon/EPortal.xml", bytes);
  }
  std::u16string Path() const { return root_.File(u"PortalIcon/EPortal.xml"); }
  std::string File() const {
    return root_.ReadBytes("PortalIcon/EPortal.xml").value_or("<missing>");
  }
  // Status and value of a getter; a flag or a count starts at 7 to show when it is left alone.
  template <typename Getter>
  std::string Get(Getter getter) {
    return AnswerOver(7, store_, getter);
  }

  TempDataRoot root_;
  ComPtr<FakeClientRoot> client_{new FakeClientRoot()};
  ComPtr<CPortalStore> store_;
};

TEST_F(PortalStoreTest, TemplateFileAnswersNotFoundEverywhere) {
  Open();  // the PortalIcon folder does not exist yet: the first save creates it
  EXPECT_EQ(File(), kHeader + "<Portal ProVer=\"0\"/>\n");
  for (auto getter : {&CPortalStore::GetDeptPortalNote, &CPortalStore::GetDeptPortalUrl,
                      &CPortalStore::GetUserPortalLinkText, &CPortalStore::GetUserPortalUrl,
                      &CPortalStore::GetUserTipsState}) {
    EXPECT_EQ(Get(getter), "S_OK <null>");
  }
  for (auto getter : {&CPortalStore::GetDeptPortalEnable, &CPortalStore::GetUserPortalEnable,
                      &CPortalStore::GetUserTipsEnable}) {
    EXPECT_EQ(Get(getter), "S_OK 0");
  }
  EXPECT_EQ(Get(&CPortalStore::GetPortalDeptCount), "S_OK 0");
  EXPECT_EQ(Get(&CPortalStore::GetUserTipsCount), "S_OK 7");  // not found: left alone
  EXPECT_EQ(Get(&CPortalStore::GetVersion), "E_FAIL 0");
  EXPECT_EQ(store_->SetVersion(3), S_OK);
  EXPECT_EQ(store_->Close(), S_OK);
  EXPECT_EQ(File(), kHeader + "<Portal ProVer=\"0\" ver=\"3\"/>\n");
}

TEST_F(PortalStoreTest, PublishedDocumentIsReadInTheClientsLanguage) {
  Publish(kPublished);
  Open(0);
  EXPECT_EQ(Get(&CPortalStore::GetDeptPortalUrl), "S_OK http://portal/dept");
  EXPECT_EQ(Get(&CPortalStore::GetUserPortalUrl), "S_OK http://portal/user");
  EXPECT_EQ(Get(&CPortalStore::GetUserTipsState), "S_OK Busy");
  // {language, department note, link text}; an unknown language makes the expression end in
  // "/", and it fails.
  for (auto [language, note, link] : {std::tuple{0, "S_OK 部门门户", "S_OK 链接"},
                                      {1, "S_OK Dept portal", "S_OK Link"},
                                      {2, "S_OK 部門入口", "S_OK 鏈接"},
                                      {3, "E_FAIL <null>", "E_FAIL <null>"}}) {
    client_->SetLanguage(language);
    EXPECT_EQ(Get(&CPortalStore::GetDeptPortalNote), note) << language;
    EXPECT_EQ(Get(&CPortalStore::GetUserPortalLinkText), link) << language;
  }
  EXPECT_EQ(Get(&CPortalStore::GetDeptPortalUrl), "S_OK http://portal/dept");

  // "false" and "" switch on, "0" switches off.
  EXPECT_EQ(Get(&CPortalStore::GetDeptPortalEnable), "S_OK 1");
  EXPECT_EQ(Get(&CPortalStore::GetUserPortalEnable), "S_OK 0");
  EXPECT_EQ(Get(&CPortalStore::GetUserTipsEnable), "S_OK 1");
  EXPECT_EQ(Get(&CPortalStore::GetVersion), "S_OK 6");
  EXPECT_EQ(AnswerOver(7, store_, &CPortalStore::IsPortalDept, 33), "S_OK 1");
  EXPECT_EQ(AnswerOver(7, store_, &CPortalStore::IsPortalDept, 34), "S_OK 0");

  // Without a client there is no language: its queries fail, the others still answer.
  store_ = MakeStore<CPortalStore>();
  ASSERT_EQ(store_->Initialize(Path().c_str(), nullptr), S_OK);
  EXPECT_EQ(Get(&CPortalStore::GetDeptPortalNote), "E_FAIL <null>");
  EXPECT_EQ(Get(&CPortalStore::GetDeptPortalUrl), "S_OK http://portal/dept");
  PortalTipInfo tip{};
  EXPECT_EQ(store_->GetUserTips(&tip, 1), E_FAIL);
}

TEST_F(PortalStoreTest, DepartmentListWritesOneEntryPastTheLength) {
  Publish(kPublished);
  Open();
  EXPECT_EQ(Get(&CPortalStore::GetPortalDeptCount), "S_OK 5");
  std::vector<LONG> ids(8, -1);
  EXPECT_EQ(store_->GetPortalDepts(ids.data(), 3), S_OK);
  EXPECT_EQ(ids, (std::vector<LONG>{11, 22, 33, 44, -1, -1, -1, -1}));
  ids.assign(8, -1);
  EXPECT_EQ(store_->GetPortalDepts(ids.data(), 7), S_OK);
  EXPECT_EQ(ids, (std::vector<LONG>{11, 22, 33, 44, 55, 0, 0, -1}));
  EXPECT_EQ(store_->GetPortalDepts(nullptr, 3), E_FAIL);
  EXPECT_EQ(store_->GetPortalDepts(ids.data(), 0), E_FAIL);
  EXPECT_EQ(store_->GetPortalDeptCount(nullptr), E_FAIL);
}

TEST_F(PortalStoreTest, TipsFillTheCallersRecords) {
  std::string tips;
  for (int i = 0; i < 10; ++i)
    tips += Tip(std::string("t").append(std::to_string(i)), "l", "cn", "en");
  tips += Tip(std::string(300, 'n'), std::string(1024, 'L'), std::string(256, 'c'), "");
  tips += Tip(std::string(256, 'm'), std::string(1500, 'K'), std::string(257, 'd'), "");
  Publish(kHeader + "<PORTAL><UserTips>" + tips + "</UserTips></PORTAL>\n");
  Open(0);
  EXPECT_EQ(Get(&CPortalStore::GetUserTipsCount), "S_OK 9");  // capped

  std::vector<PortalTipInfo> records(13);
  std::memset(records.data(), 0x55, sizeof(PortalTipInfo) * records.size());
  EXPECT_EQ(store_->GetUserTips(records.data(), 12), S_OK);
  EXPECT_EQ(std::u16string(records[0].name), u"t0");
  EXPECT_EQ(std::u16string(records[0].link), u"l");
  EXPECT_EQ(std::u16string(records[0].note), u"cn");
  EXPECT_EQ(records[0].reserved[0], 0);
  EXPECT_EQ(std::u16string(records[9].name), u"t9");
  // A 300-character name arrives as its first 255, terminated; a 1024-character link and a
  // 256-character note fill their fields without a terminator.
  EXPECT_EQ(std::u16string(records[10].name), std::u16string(255, u'n'));
  EXPECT_EQ(std::u16string(records[10].link, 1024), std::u16string(1024, u'L'));
  EXPECT_EQ(std::u16string(records[10].note, 256), std::u16string(256, u'c'));
  EXPECT_EQ(std::u16string(records[11].name, 256), std::u16string(256, u'm'));
  EXPECT_EQ(std::u16string(records[11].link), std::u16string(1023, u'K'));
  EXPECT_EQ(std::u16string(records[11].note), std::u16string(255, u'd'));
  EXPECT_EQ(records[12].name[0], 0x5555);  // beyond n: untouched

  client_->SetLanguage(3);  // unknown: the Chinese note
  EXPECT_EQ(store_->GetUserTips(records.data(), 1), S_OK);
  EXPECT_EQ(std::u16string(records[0].note), u"cn");
  client_->SetLanguage(1);
  EXPECT_EQ(store_->GetUserTips(records.data(), 1), S_OK);
  EXPECT_EQ(std::u16string(records[0].note), u"en");
  EXPECT_EQ(records[1].name[0], u't');  // only n records are zeroed and written
  EXPECT_EQ(store_->GetUserTips(nullptr, 1), E_FAIL);
  EXPECT_EQ(store_->GetUserTips(records.data(), 0), E_FAIL);
}

TEST_F(PortalStoreTest, WalksStopAtTheFirstNonElement) {
  Publish(kHeader +
          "<PORTAL><UserTips><Tip Name=\"a\"/>text<Tip Name=\"b\"/></UserTips>"
          "<Depts><Dept ID=\"1\"/><!--c--><Dept ID=\"2\"/></Depts></PORTAL>\n");
  Open();
  std::vector<PortalTipInfo> records(3);
  EXPECT_EQ(store_->GetUserTips(records.data(), 3), S_OK);
  EXPECT_EQ(std::u16string(records[0].name), u"a");
  EXPECT_EQ(records[1].name[0], 0);
  std::vector<LONG> ids(4, -1);
  EXPECT_EQ(store_->GetPortalDepts(ids.data(), 3), S_OK);
  EXPECT_EQ(ids, (std::vector<LONG>{1, 0, 0, -1}));
  EXPECT_EQ(Get(&CPortalStore::GetPortalDeptCount), "S_OK 3");  // every child node counts
}

TEST_F(PortalStoreTest, TenThousandEntriesAreWalkedWithinTheCallersBounds) {
  std::string depts, tips;
  for (int i = 0; i < 10000; ++i) {
    depts += "<Dept ID=\"" + std::to_string(i + 1) + "\"/>";
    tips += "<Tip Name=\"" + std::to_string(i) + "\"/>";
  }
  Publish(kHeader + "<PORTAL><UserTips>" + tips + "</UserTips><Depts>" + depts +
          "</Depts></PORTAL>\n");
  Open();
  EXPECT_EQ(Get(&CPortalStore::GetPortalDeptCount), "S_OK 10000");
  std::vector<LONG> ids(102, -1);
  EXPECT_EQ(store_->GetPortalDepts(ids.data(), 100), S_OK);
  EXPECT_EQ(ids[100], 101);
  EXPECT_EQ(ids[101], -1);
  std::vector<PortalTipInfo> records(51);
  records[50].name[0] = u'!';
  EXPECT_EQ(store_->GetUserTips(records.data(), 50), S_OK);
  EXPECT_EQ(std::u16string(records[49].name), u"49");
  EXPECT_EQ(records[50].name[0], u'!');
  EXPECT_EQ(Get(&CPortalStore::GetUserTipsCount), "S_OK 9");
}

TEST_F(PortalStoreTest, ClosedStoreReportsAndLeavesOutArgumentsAlone) {
  LogCapture log;
  store_ = MakeStore<CPortalStore>();
  EXPECT_EQ(AnswerOver(reinterpret_cast<BSTR>(0x1), store_, &CPortalStore::GetDeptPortalNote),
            "S_FALSE <untouched>");
  EXPECT_EQ(Get(&CPortalStore::GetUserTipsEnable), "S_FALSE 7");
  EXPECT_EQ(AnswerOver(7, store_, &CPortalStore::IsPortalDept, 1), "S_FALSE 7");
  EXPECT_EQ(Get(&CPortalStore::GetPortalDeptCount), "S_FALSE 7");
  EXPECT_EQ(Get(&CPortalStore::GetUserTipsCount), "S_FALSE 7");
  LONG ids[2] = {7, 7};
  EXPECT_EQ(store_->GetPortalDepts(ids, 1), S_FALSE);
  EXPECT_EQ(ids[0], 7);
  PortalTipInfo tip{};
  EXPECT_EQ(store_->GetUserTips(&tip, 1), S_FALSE);
  EXPECT_EQ(log.CountLevel(u"important"), 7u);
  // Version operations fail silently, and Close has nothing to write.
  EXPECT_EQ(store_->GetVersion(ids), E_FAIL);
  EXPECT_EQ(store_->SetVersion(1), E_FAIL);
  EXPECT_EQ(store_->Close(), S_OK);
  store_.reset();
  EXPECT_EQ(log.CountLevel(u"important"), 7u);
  EXPECT_FALSE(root_.ReadBytes("PortalIcon/EPortal.xml").has_value());
}

TEST_F(PortalStoreTest, CloseRewritesTheFileEveryTime) {
  Publish(kHeader + "<PORTAL ver=\"2\">\n  <Depts>\n    <Dept ID=\"1\"/>\n  </Depts>\n</PORTAL>\n");
  Open();
  EXPECT_EQ(store_->Close(), S_OK);  // nothing changed, yet written in the library's form
  EXPECT_EQ(File(), kHeader + "<PORTAL ver=\"2\"><Depts><Dept ID=\"1\"/></Depts></PORTAL>\n");
  root_.WriteBytes("PortalIcon/EPortal.xml", "replaced");
  store_.reset();  // destruction writes too
  EXPECT_EQ(File(), kHeader + "<PORTAL ver=\"2\"><Depts><Dept ID=\"1\"/></Depts></PORTAL>\n");
}

}  // namespace
}  // namespace vk::test
