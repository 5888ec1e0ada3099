#include <gtest/gtest.h>

#include <vector>

#include "profiles/WEZProfileStore.h"
#include "storage/FixedField.h"
#include "tests/profiles/EncipheredStoreTest.h"
#include "tests/support/Answer.h"

namespace vk::test {
namespace {

ProfileInfo Profile(std::u16string_view nick, LONG uin = 1, std::u16string_view name = u"") {
  ProfileInfo p{};
  FillField(p.nick, nick);
  FillField(p.name, name);
  p.uin = uin;
  return p;
}

class WEZProfileStoreTest : public EncipheredStoreTest<CWEZProfileStore> {
 protected:
  WEZProfileStoreTest() : EncipheredStoreTest("WEZProfile.dat") {}

  std::optional<ProfileInfo> Get(std::u16string_view nick) {
    ProfileInfo p = Profile(nick);
    if (store_->GetProfile(&p) != S_OK) return std::nullopt;
    return p;
  }
  LONG Count() {
    LONG n = -1;
    EXPECT_EQ(store_->GetProfileCount(&n), S_OK);
    return n;
  }
  HRESULT Set(ProfileInfo p) { return store_->SetProfile(&p); }
  void OpenPlain(const std::string& root_element) {
    root_.WriteBytes(Companion(), "<?xml version=\"1.0\" encoding=\"GB2312\"?>" + root_element);
    Reopen();
  }
};

TEST_F(WEZProfileStoreTest, RecordsAreKeyedByNicknameRegardlessOfLetterCase) {
  ProfileInfo full = Profile(u"alice", 1001, u"张三");
  full.gender = 200;
  full.face = -2;
  FillField(full.mobile, u"138");
  FillField(full.email, u"a@b.c");
  FillField(full.phone, u"010");
  full.uright = -1;
  full.version = 7;
  ASSERT_EQ(Set(full), S_OK);
  ASSERT_EQ(Set(Profile(u"Alice", 1002)), S_OK);
  ASSERT_EQ(Set(full), S_OK);
  EXPECT_EQ(Count(), 1);
  std::optional<ProfileInfo> got = Get(u"ALICE");
  ASSERT_TRUE(got.has_value());
  EXPECT_EQ(FieldText(got->nick), u"alice");  // the stored spelling
  EXPECT_EQ(std::vector<LONG>({got->uin, got->gender, got->face, got->uright, got->version}),
            std::vector<LONG>({1001, 200, -2, -1, 7}));
  EXPECT_EQ(FieldText(got->email), u"a@b.c");
  EXPECT_FALSE(Get(u"bob").has_value());

  EXPECT_EQ(FileText(), "(none)");  // nothing is written before Close
  EXPECT_EQ(store_->Close(), S_OK);
  EXPECT_EQ(FileRoot(),
            "<Root><ITEM UIN=\"1001\" NICK=\"alice\" NAME=\"张三\" GENDER=\"200\" FACE=\"-2\" "
            "MOBILE=\"138\" EMAIL=\"a@b.c\" PHONE=\"010\" URIGHT=\"-1\" VERSION=\"7\"/></Root>");
  EXPECT_EQ(store_->DeleteProfile(u"ALICE"), S_OK);
  EXPECT_EQ(store_->DeleteProfile(u"nobody"), S_OK);
  EXPECT_EQ(Count(), 0);
  // Opening a file drops what was not written; releasing the store writes it.
  ASSERT_EQ(store_->Initialize(Path().c_str()), S_OK);
  EXPECT_EQ(Count(), 1);
  EXPECT_EQ(store_->DeleteProfile(u"alice"), S_OK);
  Reopen();
  EXPECT_EQ(Count(), 0);
}

TEST_F(WEZProfileStoreTest, NicknamesAreInsertedIntoTheLookupUnescaped) {
  log_.Clear();
  EXPECT_EQ(Set(Profile(u"o'neil")), S_OK);  // its own deletion fails, the record is added
  EXPECT_EQ(Set(Profile(u"o'neil")), S_OK);
  EXPECT_EQ(Count(), 2);
  EXPECT_FALSE(Get(u"o'neil").has_value());
  EXPECT_EQ(store_->DeleteProfile(u"o'neil"), E_FAIL);
  EXPECT_EQ(Assertions(), 4u);
  EXPECT_TRUE(log_.HasDebugLineContaining("exception (_com_error)"));
  EXPECT_EQ(store_->DeleteProfile(u"x' or 'a'='a"), S_OK);  // matches every record
  EXPECT_EQ(Count(), 0);
}

TEST_F(WEZProfileStoreTest, CountSeesEveryItemTheWalkOnlyDirectChildren) {
  OpenPlain(
      "<Root><ITEM UIN=\"1\" NICK=\"a\"/><Other UIN=\"2\" NICK=\"b\"><ITEM UIN=\"3\" NICK=\"c\"/>"
      "</Other><ITEM UIN=\"4\" NICK=\"d\"/><!--end--><ITEM UIN=\"5\" NICK=\"e\"/></Root>");
  EXPECT_EQ(Count(), 4);
  for (auto [capacity, written] : {std::pair{0, 0}, {2, 2}, {10, 3}, {-1, 0}}) {
    std::vector<ProfileInfo> out(12, Profile(u"untouched", 99));
    LONG count = capacity;
    ASSERT_EQ(store_->GetProfiles(out.data(), &count), S_OK);
    EXPECT_EQ(count, written) << capacity;
    const LONG uins[] = {1, 2, 4};
    for (LONG i = 0; i <= written; ++i)
      EXPECT_EQ(out[i].uin, i < written ? uins[i] : 99) << capacity;
  }
  BSTR nick = nullptr;
  EXPECT_EQ(store_->GetNickByUin(2, &nick), S_OK);
  EXPECT_EQ(std::u16string(nick), u"b");
  SysFreeString(nick);
  for (LONG uin : {3, 5, 0, 77}) EXPECT_EQ(store_->GetNickByUin(uin, &nick), E_FAIL) << uin;
  EXPECT_EQ(store_->GetNickByUin(1, nullptr), E_FAIL);
  // The nested record is found but is no child of Root: deleting it fails.
  EXPECT_EQ(store_->DeleteProfile(u"C"), E_FAIL);
  EXPECT_EQ(Count(), 4);
}

TEST_F(WEZProfileStoreTest, NumbersKeepTheirLowBitsAndFieldsStopShortOfTheirLastUnit) {
  OpenPlain(
      "<Root><ITEM NICK=\"n\" UIN=\" -12abc\" GENDER=\"300\" FACE=\"70000\" URIGHT=\"x\" "
      "VERSION=\"4294967295\" NAME=\"0123456789012345678901234567890123456789\" EMAIL=\"ab\"/>"
      "</Root>");
  ProfileInfo p = Profile(u"N");
  std::fill(std::begin(p.name), std::end(p.name), u'#');
  std::fill(std::begin(p.email), std::end(p.email), u'#');
  ASSERT_EQ(store_->GetProfile(&p), S_OK);
  EXPECT_EQ(std::vector<LONG>({p.uin, p.gender, p.face, p.uright, p.version}),
            std::vector<LONG>({-12, 44, 4464, 0, -1}));
  EXPECT_EQ(std::u16string(p.name, 32), u"0123456789012345678901234567890#");
  EXPECT_EQ(std::u16string(p.email, 3), std::u16string(u"ab\0", 3));  // a shorter text ends
  EXPECT_EQ(p.email[63], u'#');

  // A nickname that fills its whole field is read up to the field's end, not beyond.
  ProfileInfo full = Profile(u"", 8, u"name");
  std::fill(std::begin(full.nick), std::end(full.nick), u'z');
  ASSERT_EQ(Set(full), S_OK);
  ASSERT_EQ(store_->Close(), S_OK);
  EXPECT_NE(FileRoot().find("NICK=\"" + std::string(32, 'z') + "\" NAME=\"name\""),
            std::string::npos);
}

TEST_F(WEZProfileStoreTest, BadArgumentsAreRefusedAndLoseNothing) {
  ASSERT_EQ(Set(Profile(u"eve", 1, u"old")), S_OK);
  log_.Clear();
  EXPECT_EQ(Set(Profile(u"eve", 2, u"a\x01z")), E_FAIL);  // XML cannot hold it
  EXPECT_EQ(FieldText(Get(u"eve").value().name), u"old");
  ProfileInfo p{};
  LONG count = 0;
  ExpectEach(E_INVALIDARG, {store_->SetProfile(nullptr), store_->GetProfile(nullptr),
                            store_->GetProfileCount(nullptr), store_->GetProfiles(nullptr, &count),
                            store_->GetProfiles(&p, nullptr)});
  EXPECT_EQ(Assertions(), 6u);

  // Before the first opening every operation fails through the guard; Close does nothing.
  auto fresh = MakeStore<CWEZProfileStore>();
  BSTR nick = nullptr;
  log_.Clear();
  ExpectEach(E_FAIL, {fresh->GetProfile(&p), fresh->GetProfileCount(&count),
                      fresh->GetProfiles(&p, &count), fresh->GetNickByUin(1, &nick),
                      fresh->DeleteProfile(u"a"), fresh->Initialize(nullptr)});
  EXPECT_EQ(Assertions(), 6u);
  EXPECT_EQ(fresh->Close(), S_OK);
  EXPECT_EQ(fresh->SetUserList(nullptr), S_OK);
}

TEST_F(WEZProfileStoreTest, PlainCompanionIsRepairedReadAndReplacedAtTheFirstSave) {
  OpenPlain("<Root><ITEM UIN=\"9\" NICK=\"old\" NAME=\"a\x01z\"/></Root>");
  EXPECT_EQ(FieldText(Get(u"old").value().name), u"a*z");
  EXPECT_EQ(root_.ReadBytes(Companion()).value().find('\x01'), std::string::npos);
  EXPECT_EQ(store_->Close(), S_OK);  // nothing changed: nothing written
  EXPECT_TRUE(root_.ReadBytes(Companion()).has_value());
  ASSERT_EQ(Set(Profile(u"new", 10)), S_OK);
  EXPECT_EQ(store_->Close(), S_OK);
  EXPECT_FALSE(root_.ReadBytes(Companion()).has_value());
  EXPECT_EQ(FileRoot(),
            "<Root><ITEM UIN=\"9\" NICK=\"old\" NAME=\"a*z\"/><ITEM UIN=\"10\" NICK=\"new\" "
            "NAME=\"\" GENDER=\"0\" FACE=\"0\" MOBILE=\"\" EMAIL=\"\" PHONE=\"\" URIGHT=\"0\" "
            "VERSION=\"0\"/></Root>");
}

}  // namespace
}  // namespace vk::test
