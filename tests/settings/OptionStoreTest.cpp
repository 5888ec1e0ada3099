#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>

#include "runtime/ComPtr.h"
#include "settings/OptionStore.h"
#include "tests/support/Answer.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TempDataRoot.h"
#include "tests/support/Utf16Le.h"

namespace {

using vk::test::AnswerOver;
using vk::test::ExpectEach;
using vk::test::Utf16Le;

class OptionStoreTest : public ::testing::Test {
 protected:
  OptionStoreTest() {
    root.WriteBytes("User.cfg", "\xFF\xFE");  // as the module creates it
  }

  std::u16string Path() const { return root.File(u"User.cfg"); }
  std::string FileBytes() const { return root.ReadBytes("User.cfg").value_or("<missing>"); }

  vk::test::TempDataRoot root;
  vk::test::LogCapture log;
  vk::ComPtr<IOptionStore> store{new COptionStore()};
};

TEST_F(OptionStoreTest, RoundTripsEveryTypeInSectionDefault) {
  ASSERT_EQ(store->Open(Path().c_str()), S_OK);
  EXPECT_EQ(FileBytes(), "\xFF\xFE");  // Open leaves the file alone
  EXPECT_EQ(store->SetInt(u"Count", INT_MIN), S_OK);
  EXPECT_EQ(store->SetString(u"Name", u"张三 x"), S_OK);
  const unsigned char data[] = {0x10, 0xFE, 0x00};
  EXPECT_EQ(store->SetStruct(u"Blob", data, sizeof data), S_OK);
  EXPECT_EQ(FileBytes(), "\xFF\xFE" + Utf16Le(u"[Default]\r\nCount=-2147483648\r\n"
                                              u"Name=张三 x\r\nBlob=10FE000E\r\n"));

  EXPECT_EQ(AnswerOver(5, store, &IOptionStore::GetInt, u"count"), "S_OK -2147483648");
  EXPECT_EQ(AnswerOver(5, store, &IOptionStore::GetInt, u"missing"), "S_OK 0");
  OLECHAR text[16] = {};
  EXPECT_EQ(store->GetString(u"NAME", text, sizeof text), S_OK);
  EXPECT_EQ(std::u16string(text), u"张三 x");
  unsigned char back[3] = {};
  EXPECT_EQ(store->GetStruct(u"Blob", back, sizeof back), S_OK);
  EXPECT_EQ(std::memcmp(back, data, sizeof data), 0);
  EXPECT_EQ(store->GetStruct(u"Blob", back, 2), E_FAIL);
  EXPECT_EQ(store->GetStruct(u"missing", back, 3), E_FAIL);
  EXPECT_TRUE(log.Records().empty());
}

TEST_F(OptionStoreTest, GetStringCopiesABoundedCountWithoutTerminator) {
  ASSERT_EQ(store->Open(Path().c_str()), S_OK);
  ASSERT_EQ(store->SetString(u"k", u"abcdef"), S_OK);
  // {buffer size in bytes, the buffer afterwards}: (size / 2) - 1 characters at most, the
  // rest of them zero when the value is shorter, and nothing at all without room.
  const std::pair<UINT, std::u16string> cases[] = {
      {8, u"abc#####"}, {14, u"abcdef##"}, {16, std::u16string(u"abcdef\0#", 8)}, {1, u"########"}};
  for (const auto& [bytes, expected] : cases) {
    OLECHAR buffer[8];
    std::fill(std::begin(buffer), std::end(buffer), u'#');
    EXPECT_EQ(store->GetString(u"k", buffer, bytes), S_OK) << bytes;
    EXPECT_EQ(std::u16string(buffer, 8), expected) << bytes;
  }

  // The local buffer holds 255 characters.
  const std::u16string long_value(300, u'v');
  ASSERT_EQ(store->SetString(u"long", long_value.c_str()), S_OK);
  std::u16string out(400, u'#');
  EXPECT_EQ(store->GetString(u"long", out.data(), 800), S_OK);
  EXPECT_EQ(out.substr(0, 256), std::u16string(255, u'v') + u'\0');
}

TEST_F(OptionStoreTest, CallsBeforeOpen) {
  const unsigned char data[] = {1};
  ExpectEach(S_FALSE, {store->SetInt(u"k", 1), store->SetString(u"k", u"v"),
                       store->SetStruct(u"k", data, 1)});
  EXPECT_EQ(AnswerOver(9, store, &IOptionStore::GetInt, u"k"), "S_FALSE 9");
  EXPECT_EQ(log.CountLevel(u"important"), 4u);
  EXPECT_EQ(FileBytes(), "\xFF\xFE");

  // The readers go to the empty path and find nothing.
  OLECHAR text[4] = {u'#', u'#', u'#', u'#'};
  EXPECT_EQ(store->GetString(u"k", text, sizeof text), S_OK);
  EXPECT_EQ(std::u16string(text, 4), std::u16string(u"\0\0\0#", 4));
  unsigned char back[1] = {7};
  EXPECT_EQ(store->GetStruct(u"k", back, 1), E_FAIL);
  EXPECT_EQ(back[0], 7);
  EXPECT_EQ(log.CountLevel(u"important"), 4u);
}

TEST_F(OptionStoreTest, FailuresAndReopening) {
  log.Clear();
  EXPECT_EQ(store->Open(nullptr), E_FAIL);
  EXPECT_EQ(log.CountLevel(u"important"), 1u);

  ASSERT_EQ(store->Open(root.File(u"no/such/User.cfg").c_str()), S_OK);
  EXPECT_EQ(store->SetInt(u"k", 1), E_FAIL);
  EXPECT_EQ(store->SetString(u"bad=key", u"v"), E_FAIL);

  ASSERT_EQ(store->Open(root.File(u"wez.cfg").c_str()), S_OK);
  EXPECT_EQ(store->SetInt(u"k", 12), S_OK);  // a missing file is created in UTF-16
  EXPECT_EQ(root.ReadBytes("wez.cfg"), "\xFF\xFE" + Utf16Le(u"[Default]\r\nk=12\r\n"));
  ASSERT_EQ(store->Open(Path().c_str()), S_OK);
  EXPECT_EQ(AnswerOver(3, store, &IOptionStore::GetInt, u"k"), "S_OK 0");
  EXPECT_EQ(log.CountLevel(u"important"), 1u);
}

}  // namespace
