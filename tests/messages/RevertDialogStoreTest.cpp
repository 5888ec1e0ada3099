#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "client/ClientRoot.h"
#include "messages/RevertDialogStore.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "runtime/ComPtr.h"
#include "tests/support/HangGuard.h"
#include "tests/support/TempDataRoot.h"

namespace vk::test {
namespace {

const std::string kHeader = "<?xml version=\"1.0\" encoding=\"gb2312\"?>\r\n";
const std::string kNewFile =
    kHeader +
    "<Dialogroot RevertOpenConfig=\"1\" IsNeedtoRevert=\"0\" Revertalready=\"0\" "
    "RCARight=\"0\" OfflineToOnline=\"0\"><im/></Dialogroot>\n";
constexpr char kFile[] = "Accounts/alice/RevertDialog.xml";

std::string Switches(const char* config, const char* need, const char* already, const char* rca,
                     const char* offline) {
  return kHeader + "<Dialogroot RevertOpenConfig=\"" + config + "\" IsNeedtoRevert=\"" + need +
         "\" Revertalready=\"" + already + "\" RCARight=\"" + rca + "\" OfflineToOnline=\"" +
         offline + "\"><im><Dialog SessionID=\"s1\"/></im></Dialogroot>\n";
}

class RevertDialogStoreTest : public ::testing::Test {
 protected:
  RevertDialogStoreTest() {
    client_->SetAccount(u"alice");
    CreateFolders(data_.File(u"Accounts/alice"));
    Initialize();
  }
  void Initialize() {
    // The module passes the path in the stored format, with backslashes.
    BSTR path = SysAllocString((data_.Path() + u"Accounts\\alice\\RevertDialog.xml").c_str());
    EXPECT_EQ(store_->Initialize(path, static_cast<IClientRoot*>(client_.get())), S_OK);
    SysFreeString(path);
  }
  std::string File() const { return data_.ReadBytes(kFile).value_or("<none>"); }
  std::u16string Attrib(const char16_t* key, const char16_t* name, HRESULT expected = S_OK) {
    BSTR value = nullptr;
    EXPECT_EQ(store_->GetDialogAttrib(key, name, &value), expected) << ToUtf8(name);
    std::u16string text = value != nullptr ? value : u"<null>";
    SysFreeString(value);
    return text;
  }
  LONG Count(LONG start = 0) {
    EXPECT_EQ(store_->GetDialogCount(&start), S_OK);
    return start;
  }

  TempDataRoot data_;
  ComPtr<ClientRoot> client_{new ClientRoot()};
  ComPtr<CRevertDialogStore> store_{new CRevertDialogStore()};
};

TEST_F(RevertDialogStoreTest, FreshAccountGetsTheInitialSwitches) {
  EXPECT_EQ(File(), kNewFile);
  int16_t flag = -1;
  EXPECT_EQ(store_->RevertFileExists(&flag), S_OK);
  EXPECT_EQ(flag, 1);
  // The reported flag is the inverse of the stored "0".
  EXPECT_EQ(store_->GetIsNeedtoRevert(&flag), S_OK);
  EXPECT_EQ(flag, 1);
  EXPECT_EQ(store_->SetNeedtoRevert(), S_OK);
  EXPECT_EQ(store_->GetIsNeedtoRevert(&flag), S_FALSE);
  EXPECT_EQ(flag, 0);
  EXPECT_EQ(store_->ClearNeedtoRevert(), S_OK);
  EXPECT_EQ(store_->GetIsNeedtoRevert(&flag), S_OK);

  EXPECT_EQ(store_->GetRevertalready(&flag), S_FALSE);
  EXPECT_EQ(flag, 0);
  EXPECT_EQ(store_->SetRevertalready(), S_OK);
  EXPECT_EQ(store_->GetRevertalready(&flag), S_OK);
  EXPECT_EQ(flag, 1);
  EXPECT_EQ(store_->ClearRevertalready(), S_OK);
  EXPECT_EQ(store_->GetRevertalready(&flag), S_FALSE);

  // Number switches: the setter's argument as stored, and read back by its leading digits.
  struct NumberCase {
    HRESULT (CRevertDialogStore::*set)(int16_t);
    HRESULT (CRevertDialogStore::*get)(LONG*);
    int16_t written;
    LONG read;
  } numbers[] = {
      {&CRevertDialogStore::SetRCARight, &CRevertDialogStore::GetRCARight, 1, 1},
      {&CRevertDialogStore::SetRCARight, &CRevertDialogStore::GetRCARight, 2, 0},
      {&CRevertDialogStore::SetOfflineToOnline, &CRevertDialogStore::GetOfflineToOnline, 1, 1},
      {&CRevertDialogStore::SetOfflineToOnline, &CRevertDialogStore::GetOfflineToOnline, -1, 0}};
  for (const NumberCase& c : numbers) {
    EXPECT_EQ((store_.get()->*c.set)(c.written), S_OK);
    LONG value = -5;
    EXPECT_EQ((store_.get()->*c.get)(&value), S_OK);
    EXPECT_EQ(value, c.read) << c.written;
  }
  LONG config = 0;
  EXPECT_EQ(store_->GetRevertOpenConfig(&config), S_OK);
  EXPECT_EQ(config, 1);
  EXPECT_EQ(store_->SetRevertOpenConfig(2), S_OK);
  EXPECT_EQ(store_->GetRevertOpenConfig(&config), S_OK);
  EXPECT_EQ(config, 2);

  BSTR text = nullptr;
  EXPECT_EQ(store_->GetFilePath(&text), S_OK);
  EXPECT_EQ(std::u16string(text), data_.File(u"Accounts/alice/RevertDialog.xml"));
  SysFreeString(text);
  EXPECT_EQ(store_->GetStartTime(&text), S_OK);
  std::u16string start(text);
  SysFreeString(text);
  EXPECT_EQ(start.size(), 14u);
  EXPECT_EQ(start.find_first_not_of(u"0123456789"), std::u16string::npos);
  EXPECT_EQ(start.substr(0, 2), u"20");
  EXPECT_EQ(store_->GetFilePath(nullptr), S_FALSE);
  EXPECT_EQ(store_->GetStartTime(nullptr), S_FALSE);
}

TEST_F(RevertDialogStoreTest, InitializeKeepsValidFilesAndReplacesTheOthers) {
  struct Case {
    std::string bytes;
    bool kept;
  } cases[] = {
      {Switches("2", "1", "1", "1", "1"), true},
      {Switches("0", "0", "0", "0", "0"), true},
      {Switches("3", "0", "0", "0", "0"), false},
      {Switches("01", "0", "0", "0", "0"), false},
      {Switches("1", "2", "0", "0", "0"), false},
      {Switches("1", "0", "yes", "0", "0"), false},
      {Switches("1", "0", "0", "", "0"), false},
      {Switches("1", "0", "0", "0", "-1"), false},
      {kHeader + "<Dialogroot RevertOpenConfig=\"1\" IsNeedtoRevert=\"0\" Revertalready=\"0\" "
                 "RCARight=\"0\"><im/></Dialogroot>",
       false},
      {kHeader + "<Dialogroot RevertOpenConfig=\"1\"", false},
      {"", false},
      {"\xFF\xFE garbage", false},
      // Without a Dialogroot the file is kept as it stands.
      {kHeader + "<Other><im/></Other>\n", true},
  };
  for (const Case& c : cases) {
    data_.WriteBytes(kFile, c.bytes);
    Initialize();
    if (c.kept && c.bytes.find("Dialogroot") != std::string::npos) {
      // OfflineToOnline is reset to "0" at every start; the rest stays.
      std::string expected = c.bytes;
      size_t at = expected.find("OfflineToOnline=\"") + 17;
      expected[at] = '0';
      EXPECT_EQ(File(), expected) << c.bytes;
    } else {
      EXPECT_EQ(File(), c.kept ? c.bytes : kNewFile) << c.bytes;
    }
  }
  // What a reset replaced is kept beside the file.
  bool kept_copy = false;
  for (const FolderEntry& e : ListFolder(data_.File(u"Accounts/alice"))) {
    kept_copy = kept_copy || e.name.starts_with(u"RevertDialog.xml.damaged-");
  }
  EXPECT_TRUE(kept_copy);
  // A config out of range is accepted by the setter and judged at the next start.
  ASSERT_EQ(store_->ResetFile(), S_OK);
  ASSERT_EQ(store_->SetRevertOpenConfig(5), S_OK);
  ASSERT_EQ(store_->AddDialog(u"s", u"p", u"m", u"t"), S_OK);
  Initialize();
  EXPECT_EQ(File(), kNewFile);
}

TEST_F(RevertDialogStoreTest, DialogsMatchBySessionThenReceiverRegardlessOfCase) {
  EXPECT_EQ(store_->AddDialog(u"A", u"p1", u"m1", u"t1"), S_OK);
  EXPECT_EQ(store_->AddDialogWithReceiver(u"B", u"p2", u"m2", u"t2", u"a"), S_OK);
  EXPECT_EQ(store_->AddDialogWithReceiver(u"C", u"p3", u"m3", u"t3", u"Zed"), S_OK);
  EXPECT_EQ(store_->AddDialog(u"C", u"dup", u"", u""), S_OK);  // no duplicate check
  EXPECT_EQ(Count(5), 9);                                      // added to the caller's count
  EXPECT_EQ(File(), kHeader +
                        "<Dialogroot RevertOpenConfig=\"1\" IsNeedtoRevert=\"0\" "
                        "Revertalready=\"0\" RCARight=\"0\" OfflineToOnline=\"0\"><im>"
                        "<Dialog SessionID=\"A\" Parameter=\"p1\" Mode=\"m1\" Time=\"t1\"/>"
                        "<Dialog SessionID=\"B\" Parameter=\"p2\" Mode=\"m2\" Time=\"t2\" "
                        "Receiver=\"a\"/>"
                        "<Dialog SessionID=\"C\" Parameter=\"p3\" Mode=\"m3\" Time=\"t3\" "
                        "Receiver=\"Zed\"/>"
                        "<Dialog SessionID=\"C\" Parameter=\"dup\" Mode=\"\" Time=\"\"/>"
                        "</im></Dialogroot>\n");

  struct Lookup {
    const char16_t* key;
    HRESULT found;
    const char16_t* parameter;
  } lookups[] = {// an empty key matches the first dialog without a Receiver{u"b", S_OK, u"p2"},
                 // {u"zED", S_OK, u"p3"},   {u"c", S_OK, u"p3"},
                 {u"a", S_OK, u"p1"},
                 {u"", S_OK, u"p1"},
                 {u"nobody", S_FALSE, nullptr}};
  for (const Lookup& l : lookups) {
    int16_t flag = -1;
    EXPECT_EQ(store_->FindDialog(l.key, &flag), l.found) << ToUtf8(l.key);
    EXPECT_EQ(flag, l.found == S_OK ? 1 : 0);
    if (l.parameter != nullptr) {
      EXPECT_EQ(Attrib(l.key, u"Parameter"), l.parameter);
    }
  }
  EXPECT_EQ(Attrib(u"nobody", u"Parameter", S_FALSE), u"<null>");
  EXPECT_EQ(Attrib(u"A", u"Receiver"), u"");  // absent attribute
  EXPECT_EQ(store_->GetDialogAttrib(u"A", u"Mode", nullptr), S_FALSE);

  // "a" matches A's SessionID before B's Receiver.
  EXPECT_EQ(store_->RemoveDialog(u"a"), S_OK);
  EXPECT_EQ(Attrib(u"a", u"SessionID"), u"B");
  EXPECT_EQ(store_->SetDialogAttrib(u"zed", u"Extra", u"x"), S_OK);
  EXPECT_EQ(store_->SetDialogAttrib(u"C", u"Mode", u"changed"), S_OK);
  EXPECT_EQ(Attrib(u"C", u"Extra"), u"x");
  EXPECT_EQ(Attrib(u"C", u"Mode"), u"changed");
  const std::string before = File();
  EXPECT_EQ(store_->SetDialogAttrib(u"nobody", u"Mode", u"x"), S_FALSE);
  EXPECT_EQ(store_->RemoveDialog(u"nobody"), S_FALSE);
  EXPECT_EQ(File(), before);

  int16_t flag = 0;
  EXPECT_EQ(store_->HasDialogs(&flag), S_OK);
  EXPECT_EQ(flag, 1);
  EXPECT_EQ(store_->RemoveAllDialogs(), S_OK);
  EXPECT_EQ(store_->HasDialogs(&flag), S_FALSE);
  EXPECT_EQ(flag, 0);
  EXPECT_EQ(Count(3), 3);
  EXPECT_EQ(File(), kNewFile);
}

TEST_F(RevertDialogStoreTest, GetDialogsCopiesBoundedFieldsAndNeverTheLastCharacter) {
  const std::u16string long_id(80, u'S');
  const std::u16string long_receiver = u"R" + std::u16string(40, u'r');
  ASSERT_EQ(store_->AddDialogWithReceiver(long_id.c_str(), u"p", u"m", u"t", long_receiver.c_str()),
            S_OK);
  ASSERT_EQ(store_->AddDialog(u"two", u"p2", u"m2", u"t2"), S_OK);
  ASSERT_EQ(store_->AddDialog(u"three", u"", u"", u""), S_OK);

  RevertDialogInfo records[3];
  std::memset(records, 0x41, sizeof records);  // 'A' (0x4141) everywhere
  EXPECT_EQ(store_->GetDialogs(records, 2), S_OK);
  EXPECT_EQ(std::u16string(records[0].SessionID, 70), long_id.substr(0, 70));
  EXPECT_EQ(records[0].SessionID[70], 0x4141);  // never written
  EXPECT_EQ(std::u16string(records[0].Receiver, 31), long_receiver.substr(0, 31));
  EXPECT_EQ(records[0].Receiver[31], 0x4141);
  EXPECT_EQ(std::u16string(records[0].Parameter), u"p");
  // A shorter value is zero-filled up to the bound.
  EXPECT_EQ(records[1].Mode[2], 0);
  EXPECT_EQ(records[1].Mode[30], 0);
  EXPECT_EQ(records[1].Mode[31], 0x4141);
  EXPECT_EQ(std::u16string(records[1].SessionID), u"two");
  EXPECT_EQ(records[1].Receiver[0], 0);        // absent reads as empty
  EXPECT_EQ(records[2].SessionID[0], 0x4141);  // beyond n: untouched

  EXPECT_EQ(store_->GetDialogs(records, 0), S_FALSE);
  // A missing file: the list operations succeed and write nothing.
  ASSERT_TRUE(RemoveFile(data_.File(u"Accounts/alice/RevertDialog.xml")));
  std::memset(records, 0x41, sizeof records);
  EXPECT_EQ(store_->GetDialogs(records, 3), S_OK);
  EXPECT_EQ(records[0].SessionID[0], 0x4141);
  EXPECT_EQ(Count(4), 4);
}

TEST_F(RevertDialogStoreTest, UnusableFilesAnswerSFalseAndAreNotWritten) {
  struct Case {
    const char* name;
    std::string bytes;  // empty: no file
    HRESULT list_result;
    HRESULT switch_set;  // switches need Dialogroot only
  } cases[] = {
      {"missing", "", S_OK, S_FALSE},
      {"broken", "<Dialogroot", S_OK, S_FALSE},
      {"entities",
       kHeader + "<!DOCTYPE Dialogroot [<!ENTITY n \"x\">]><Dialogroot IsNeedtoRevert=\"0\">"
                 "<im><Dialog SessionID=\"&n;\"/></im></Dialogroot>\n",
       S_OK, S_FALSE},
      {"fifo", "", S_OK, S_FALSE},  // nobody writes to it: never waited on
      {"no root", kHeader + "<Other/>\n", S_FALSE, S_FALSE},
      {"no im",
       kHeader + "<Dialogroot IsNeedtoRevert=\"0\"><Dialog SessionID=\"x\"/></Dialogroot>\n",
       S_FALSE, S_OK},
  };
  for (const Case& c : cases) {
    const bool fifo = std::string(c.name) == "fifo";
    HangGuard guard;
    if (c.bytes.empty()) {
      RemoveFile(data_.File(u"Accounts/alice/RevertDialog.xml"));
      if (fifo) {
        ASSERT_TRUE(MakeFifo(data_.NativeFile(kFile)));
      }
    } else {
      data_.WriteBytes(kFile, c.bytes);
    }
    int16_t flag = 7;
    LONG count = 2;
    RevertDialogInfo info{};
    EXPECT_EQ(store_->HasDialogs(&flag), S_FALSE) << c.name;
    EXPECT_EQ(store_->FindDialog(u"x", &flag), S_FALSE) << c.name;
    EXPECT_EQ(flag, 7) << c.name;
    EXPECT_EQ(store_->AddDialog(u"x", u"", u"", u""), S_FALSE) << c.name;
    EXPECT_EQ(store_->RemoveDialog(u"x"), S_FALSE) << c.name;
    EXPECT_EQ(store_->RemoveAllDialogs(), S_FALSE) << c.name;
    EXPECT_EQ(store_->SetDialogAttrib(u"x", u"Mode", u"m"), S_FALSE) << c.name;
    EXPECT_EQ(store_->GetDialogCount(&count), c.list_result) << c.name;
    EXPECT_EQ(store_->GetDialogs(&info, 1), c.list_result) << c.name;
    EXPECT_EQ(count, 2) << c.name;
    EXPECT_EQ(info.SessionID[0], 0) << c.name;
    EXPECT_EQ(store_->GetIsNeedtoRevert(&flag), c.switch_set == S_OK ? S_OK : S_FALSE) << c.name;
    if (c.switch_set != S_OK) {
      EXPECT_EQ(store_->SetNeedtoRevert(), S_FALSE) << c.name;
      EXPECT_EQ(store_->SetRCARight(1), S_FALSE) << c.name;
      if (!fifo) {
        EXPECT_EQ(data_.ReadBytes(kFile).value_or(""), c.bytes) << c.name;
      }
    } else {
      EXPECT_EQ(store_->SetRCARight(1), S_OK) << c.name;
      EXPECT_NE(File().find("RCARight=\"1\""), std::string::npos) << c.name;
    }
    if (fifo) RemoveFile(data_.File(u"Accounts/alice/RevertDialog.xml"));
  }
  // ResetFile brings back a usable file whatever lay there.
  EXPECT_EQ(store_->ResetFile(), S_OK);
  EXPECT_EQ(File(), kNewFile);
}

TEST_F(RevertDialogStoreTest, ExistenceIsCheckedInTheAccountFolder) {
  // A path elsewhere: the account folder has no file, so Initialize writes the path anew.
  data_.WriteBytes("elsewhere.xml", Switches("2", "0", "0", "0", "0"));
  BSTR path = SysAllocString(data_.File(u"elsewhere.xml").c_str());
  RemoveFile(data_.File(u"Accounts/alice/RevertDialog.xml"));
  EXPECT_EQ(store_->Initialize(path, static_cast<IClientRoot*>(client_.get())), S_OK);
  SysFreeString(path);
  EXPECT_EQ(data_.ReadBytes("elsewhere.xml"), kNewFile);
  int16_t flag = 5;
  EXPECT_EQ(store_->RevertFileExists(&flag), S_FALSE);
  EXPECT_EQ(flag, 0);
  // An account name that would leave Accounts is not followed out of it: the kept path is
  // checked instead, so its dialogs survive.
  data_.WriteBytes("Accounts/alice/RevertDialog.xml", Switches("2", "0", "0", "0", "0"));
  client_->SetAccount(u"../outside");
  Initialize();
  EXPECT_EQ(File(), Switches("2", "0", "0", "0", "0"));
  client_->SetAccount(u"alice");
  // Without a client root the account is empty; Initialize still succeeds.
  path = SysAllocString(data_.File(u"x.xml").c_str());
  EXPECT_EQ(store_->Initialize(path, nullptr), S_OK);
  SysFreeString(path);
  EXPECT_EQ(data_.ReadBytes("x.xml"), kNewFile);
}

}  // namespace
}  // namespace vk::test
