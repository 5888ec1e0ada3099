#include <gtest/gtest.h>

#include <vector>

#include "profiles/WEZProfileProStore.h"
#include "storage/FixedField.h"
#include "tests/profiles/EncipheredStoreTest.h"
#include "tests/support/Answer.h"

namespace vk::test {
namespace {

BuddyField Field(std::u16string_view name, std::u16string_view value) {
  BuddyField f{};
  FillField(f.name, name);
  FillField(f.value, value);
  return f;
}

using Pairs = std::vector<std::u16string>;

class WEZProfileProStoreTest : public EncipheredStoreTest<CWEZProfileProStore> {
 protected:
  WEZProfileProStoreTest() : EncipheredStoreTest("WEZProfilePro.dat") {}

  HRESULT Set(const char16_t* account, std::vector<BuddyField> fields) {
    return store_->SetBuddyFields(account, fields.data(), static_cast<LONG>(fields.size()));
  }
  // "name=value" for each field of the buddy, or nothing when the buddy is unknown.
  std::optional<Pairs> Fields(const char16_t* account) {
    LONG count = -1;
    if (store_->GetBuddyFieldCount(account, &count) != S_OK) return std::nullopt;
    std::vector<BuddyField> out(static_cast<size_t>(count) + 1);
    EXPECT_EQ(store_->GetBuddyFields(account, out.data()), S_OK);
    EXPECT_EQ(out[static_cast<size_t>(count)].name[0], 0);  // nothing past the count
    Pairs pairs;
    for (LONG i = 0; i < count; ++i) {
      pairs.push_back(std::u16string(FieldText(out[i].name)) + u"=" +
                      std::u16string(FieldText(out[i].value)));
    }
    return pairs;
  }
  // The value GetBuddyField gives: its text, "(null)", or "(fail)".
  std::u16string Value(const char16_t* account, const char16_t* name) {
    VARIANT v;
    if (store_->GetBuddyField(account, name, &v) != S_OK) return u"(fail)";
    std::u16string text = v.vt == VT_BSTR ? std::u16string(v.u.bstrVal) : u"(null)";
    VariantClear(&v);
    return text;
  }
  HRESULT SetOne(const char16_t* account, const char16_t* name, const char16_t* value) {
    VARIANT v;
    v.vt = VT_BSTR;
    v.u.bstrVal = SysAllocString(value);
    HRESULT hr = store_->SetBuddyField(account, name, v);
    VariantClear(&v);
    return hr;
  }
};

TEST_F(WEZProfileProStoreTest, BulkWritesCreateOrMoveFieldsAndBuddiesToTheEnd) {
  ASSERT_EQ(Set(u"Bob", {Field(u"A", u"1"), Field(u"B", u"2")}), S_OK);
  ASSERT_EQ(Set(u"carol", {Field(u"X", u"x"), Field(u"X", u"again")}), S_OK);
  ASSERT_EQ(Set(u"BOB", {Field(u"A", u"3")}), S_OK);
  EXPECT_EQ(Fields(u"BoB"), (Pairs{u"B=2", u"A=3"}));
  EXPECT_EQ(Fields(u"carol"), (Pairs{u"X=x", u"X=again"}));  // a new buddy's are all new
  EXPECT_EQ(Value(u"Bob", u"A"), u"3");
  EXPECT_EQ(Value(u"bob", u"a"), u"(fail)");  // field names keep their case
  EXPECT_FALSE(Fields(u"dave").has_value());

  EXPECT_EQ(FileText(), "(none)");
  EXPECT_EQ(store_->Close(), S_OK);
  EXPECT_EQ(FileRoot(),
            "<Root><WEZBuddyPro Account=\"carol\"><Field Name=\"X\" Value=\"x\"/>"
            "<Field Name=\"X\" Value=\"again\"/></WEZBuddyPro><WEZBuddyPro Account=\"bob\">"
            "<Field Name=\"B\" Value=\"2\"/><Field Name=\"A\" Value=\"3\"/></WEZBuddyPro></Root>");
  EXPECT_NE(FileText().find("encoding=\"gb2312\"?>"), std::string::npos);

  EXPECT_EQ(store_->DeleteBuddy(u"Bob"), E_FAIL);  // matched exactly as given
  EXPECT_EQ(store_->DeleteBuddy(u"bob"), S_OK);
  Reopen();  // the deletion is written when the store goes
  EXPECT_FALSE(Fields(u"bob").has_value());
  EXPECT_TRUE(Fields(u"carol").has_value());
}

TEST_F(WEZProfileProStoreTest, SingleFieldWriterStoresNoValueAndCannotUpdate) {
  log_.Clear();
  EXPECT_EQ(SetOne(u"Eve", u"note", u"hello"), S_OK);
  EXPECT_EQ(Fields(u"eve"), (Pairs{u"note="}));
  EXPECT_EQ(Value(u"eve", u"note"), u"(null)");
  EXPECT_EQ(Assertions(), 0u);
  EXPECT_EQ(SetOne(u"eve", u"note", u"again"), E_FAIL);
  EXPECT_EQ(Assertions(), 1u);
  ASSERT_EQ(Set(u"eve", {Field(u"note", u"kept")}), S_OK);
  EXPECT_EQ(SetOne(u"EVE", u"other", u"v"), S_OK);
  EXPECT_EQ(Fields(u"eve"), (Pairs{u"note=kept", u"other="}));
}

TEST_F(WEZProfileProStoreTest, TextsFillingTheirFieldsAreNeitherOverreadNorTerminated) {
  ASSERT_EQ(Set(u"f", {Field(u"n", std::u16string(300, u'v'))}), S_OK);
  BuddyField out;
  std::fill(std::begin(out.value), std::end(out.value), u'#');
  ASSERT_EQ(store_->GetBuddyFields(u"f", &out), S_OK);
  EXPECT_EQ(std::u16string(out.value, 256), std::u16string(255, u'v') + u"#");

  BuddyField full = Field(u"", u"v");
  std::fill(std::begin(full.name), std::end(full.name), u'n');
  ASSERT_EQ(store_->SetBuddyFields(u"g", &full, 1), S_OK);
  EXPECT_EQ(Value(u"g", std::u16string(256, u'n').c_str()), u"v");
}

TEST_F(WEZProfileProStoreTest, BadArgumentsAndMissingDocumentFailWithoutLosingData) {
  ASSERT_EQ(Set(u"bob", {Field(u"A", u"1")}), S_OK);
  log_.Clear();
  // Quotes make the expressions invalid; control characters cannot be stored.
  ExpectEach(E_FAIL, {Set(u"b\"ob", {Field(u"A", u"2")}), Set(u"bob", {Field(u"A\"", u"2")}),
                      Set(u"bob", {Field(u"A", u"\x02")}), store_->DeleteBuddy(u"\"")});
  EXPECT_EQ(Assertions(), 4u);
  EXPECT_EQ(Fields(u"bob"), (Pairs{u"A=1"}));
  EXPECT_EQ(store_->SetBuddyFields(u"bob", nullptr, 1), E_FAIL);
  ExpectEach(E_INVALIDARG,
             {store_->GetBuddyFieldCount(u"bob", nullptr), store_->GetBuddyFields(u"bob", nullptr),
              store_->GetBuddyField(u"bob", u"A", nullptr)});

  // Before the first opening every operation but Close fails, silently.
  auto fresh = MakeStore<CWEZProfileProStore>();
  BuddyField f = Field(u"A", u"1");
  LONG count = 0;
  VARIANT v;
  VariantInit(&v);
  log_.Clear();
  ExpectEach(E_FAIL, {fresh->SetBuddyFields(u"a", &f, 1), fresh->DeleteBuddy(u"a"),
                      fresh->GetBuddyFieldCount(u"a", &count), fresh->GetBuddyFields(u"a", &f),
                      fresh->GetBuddyField(u"a", u"A", &v), fresh->SetBuddyField(u"a", u"A", v)});
  EXPECT_EQ(fresh->Close(), S_OK);
  EXPECT_EQ(Assertions(), 0u);
}

TEST_F(WEZProfileProStoreTest, PlainCompanionIsReadButNeverRepaired) {
  const std::string plain =
      "<?xml version=\"1.0\" encoding=\"gb2312\"?><Root><WEZBuddyPro Account=\"bob\">"
      "<Field Name=\"A\" Value=\"1\"/></WEZBuddyPro></Root>";
  root_.WriteBytes(Companion(), plain);
  Reopen();
  EXPECT_EQ(Fields(u"bob"), (Pairs{u"A=1"}));
  std::string damaged = plain;
  damaged.insert(damaged.find("Value=\"1") + 7, "\x01");
  root_.WriteBytes(Companion(), damaged);
  Reopen();
  EXPECT_FALSE(Fields(u"bob").has_value());
  EXPECT_EQ(root_.ReadBytes(Companion()), damaged);
  ASSERT_EQ(Set(u"new", {}), S_OK);
  EXPECT_EQ(store_->Close(), S_OK);
  EXPECT_FALSE(root_.ReadBytes(Companion()).has_value());
  EXPECT_EQ(FileRoot(), "<Root><WEZBuddyPro Account=\"new\"/></Root>");
}

}  // namespace
}  // namespace vk::test
