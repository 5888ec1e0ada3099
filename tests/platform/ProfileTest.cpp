#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "platform/Files.h"
#include "platform/Profile.h"
#include "platform/Text.h"
#include "tests/support/TempDataRoot.h"
#include "tests/support/Utf16Le.h"

namespace {

using vk::test::Utf16Le;

using namespace std::literals;

const std::string kBom = "\xFF\xFE";

class ProfileTest : public ::testing::Test {
 protected:
  std::u16string Path() const { return root.File(u"opt.cfg"); }
  void WriteFile(std::u16string_view text) const {
    root.WriteBytes("opt.cfg", kBom + Utf16Le(text));
  }
  std::string FileBytes() const { return root.ReadBytes("opt.cfg").value_or("<missing>"); }
  std::u16string Read(const char16_t* section, const char16_t* key, uint32_t size = 300) const {
    std::u16string out(size, u'#');
    uint32_t n = GetPrivateProfileStringW(section, key, u"dflt", out.data(), size, Path().c_str());
    EXPECT_EQ(out[n], u'\0');
    return out.substr(0, n);
  }

  vk::test::TempDataRoot root;
};

TEST_F(ProfileTest, NewFileIsUtf16WithMarkAndCrLf) {
  ASSERT_TRUE(WritePrivateProfileStringW(u"Default", u"Name", u"值 v", Path().c_str()));
  ASSERT_TRUE(WritePrivateProfileStringW(u"Default", u"Age", u"7", Path().c_str()));
  EXPECT_EQ(FileBytes(), kBom + Utf16Le(u"[Default]\r\nName=值 v\r\nAge=7\r\n"));
  EXPECT_EQ(Read(u"Default", u"Name"), u"值 v");
}

TEST_F(ProfileTest, MatchesSectionAndKeyWithoutCaseAndLeavesOtherLinesAlone) {
  const std::u16string original =
      u"; comment\r\n[Other]\r\nname=other\r\n\r\n[DEFAULT]\r\n  NAME = \"quoted\"  \r\nx=1\r\n"
      u"\r\n[Last]\nodd line without equals\ny=2";
  WriteFile(original);
  EXPECT_EQ(Read(u"default", u"name"), u"quoted");
  EXPECT_EQ(Read(u"other", u"NAME"), u"other");
  EXPECT_EQ(Read(u"Default", u"missing"), u"dflt");
  EXPECT_EQ(Read(u"Nowhere", u"name"), u"dflt");

  ASSERT_TRUE(WritePrivateProfileStringW(u"default", u"name", u"new", Path().c_str()));
  ASSERT_TRUE(WritePrivateProfileStringW(u"Default", u"added", u"a", Path().c_str()));
  ASSERT_TRUE(WritePrivateProfileStringW(u"last", u"z", u"3", Path().c_str()));
  ASSERT_TRUE(WritePrivateProfileStringW(u"Fresh", u"k", u"v", Path().c_str()));
  // The key keeps its spelling, a new key follows the section's last line, a new section
  // goes to the end; every other byte stays, the LF-only lines included.
  EXPECT_EQ(FileBytes(),
            kBom + Utf16Le(u"; comment\r\n[Other]\r\nname=other\r\n\r\n[DEFAULT]\r\nNAME=new\r\n"
                           u"x=1\r\nadded=a\r\n\r\n[Last]\nodd line without equals\ny=2\r\n"
                           u"z=3\r\n[Fresh]\r\nk=v\r\n"));

  ASSERT_TRUE(WritePrivateProfileStringW(u"DEFAULT", u"X", nullptr, Path().c_str()));
  EXPECT_EQ(Read(u"Default", u"x"), u"dflt");
  EXPECT_EQ(Read(u"Default", u"added"), u"a");
}

TEST_F(ProfileTest, IntegersReadByLeadingDigits) {
  WriteFile(u"[S]\r\na=42\r\nb=  -17xyz\r\nc=abc\r\nd=\r\ne=\"12\"\r\nf=-2147483648\r\n");
  auto get = [&](const char16_t* key) {
    return static_cast<int32_t>(GetPrivateProfileIntW(u"S", key, -5, Path().c_str()));
  };
  EXPECT_EQ(get(u"a"), 42);
  EXPECT_EQ(get(u"b"), -17);
  EXPECT_EQ(get(u"c"), 0);
  EXPECT_EQ(get(u"d"), -5);  // an empty value reads as absent
  EXPECT_EQ(get(u"e"), 12);
  EXPECT_EQ(get(u"f"), INT32_MIN);
  EXPECT_EQ(get(u"missing"), -5);
}

TEST_F(ProfileTest, LongValuesAreCutToTheBuffer) {
  std::u16string value(300, u'x');
  value[299] = u'z';
  ASSERT_TRUE(WritePrivateProfileStringW(u"S", u"long", value.c_str(), Path().c_str()));
  EXPECT_EQ(Read(u"S", u"long", 400), value);
  EXPECT_EQ(Read(u"S", u"long", 256), value.substr(0, 255));
  EXPECT_EQ(Read(u"S", u"long", 1), u"");
  char16_t untouched = u'#';
  EXPECT_EQ(GetPrivateProfileStringW(u"S", u"long", u"", &untouched, 0, Path().c_str()), 0u);
  EXPECT_EQ(untouched, u'#');
}

TEST_F(ProfileTest, StructuresCarryUpperCaseHexAndChecksum) {
  const unsigned char data[] = {0x01, 0xAB, 0xFF, 0x00, 0x7E};
  ASSERT_TRUE(WritePrivateProfileStructW(u"S", u"blob", data, sizeof data, Path().c_str()));
  // Checksum: (0x01 + 0xAB + 0xFF + 0x00 + 0x7E) & 0xFF = 0x29.
  EXPECT_EQ(FileBytes(), kBom + Utf16Le(u"[S]\r\nblob=01ABFF007E29\r\n"));

  unsigned char back[5] = {};
  ASSERT_TRUE(GetPrivateProfileStructW(u"S", u"blob", back, sizeof back, Path().c_str()));
  EXPECT_EQ(std::memcmp(back, data, sizeof data), 0);

  unsigned char other[5] = {9, 9, 9, 9, 9};
  EXPECT_FALSE(GetPrivateProfileStructW(u"S", u"blob", other, 4, Path().c_str()));
  EXPECT_FALSE(GetPrivateProfileStructW(u"S", u"missing", other, 5, Path().c_str()));
  ASSERT_TRUE(WritePrivateProfileStringW(u"S", u"blob", u"01ABFF007E28", Path().c_str()));
  EXPECT_FALSE(GetPrivateProfileStructW(u"S", u"blob", other, 5, Path().c_str()));
  ASSERT_TRUE(WritePrivateProfileStringW(u"S", u"blob", u"01ABFF007G29", Path().c_str()));
  EXPECT_FALSE(GetPrivateProfileStructW(u"S", u"blob", other, 5, Path().c_str()));
  EXPECT_EQ(other[0], 9);  // a rejected value leaves the caller's memory alone
  ASSERT_TRUE(WritePrivateProfileStringW(u"S", u"blob", u"01abff007e29", Path().c_str()));
  EXPECT_TRUE(GetPrivateProfileStructW(u"S", u"blob", other, 5, Path().c_str()));
}

TEST_F(ProfileTest, MarkOnlyMissingAndDamagedFiles) {
  root.WriteBytes("opt.cfg", kBom);
  EXPECT_EQ(Read(u"S", u"k"), u"dflt");
  EXPECT_EQ(FileBytes(), kBom);  // reading never rewrites
  ASSERT_TRUE(WritePrivateProfileStringW(u"S", u"k", u"v", Path().c_str()));
  EXPECT_EQ(FileBytes(), kBom + Utf16Le(u"[S]\r\nk=v\r\n"));

  std::u16string missing = root.File(u"none.cfg");
  EXPECT_EQ(GetPrivateProfileIntW(u"S", u"k", 3, missing.c_str()), 3u);
  EXPECT_FALSE(IsFileExist(missing));
  EXPECT_FALSE(WritePrivateProfileStringW(u"S", u"k", u"v", root.File(u"no/dir.cfg").c_str()));
  EXPECT_FALSE(WritePrivateProfileStringW(u"S", u"k", u"v", u""));

  // Odd length, stray NULs and unpaired surrogates: readable, and kept on rewrite.
  const std::string damaged = kBom + Utf16Le(u"[S]\r\nk=\xD800v\0w\r\n"sv) + "\x41";
  root.WriteBytes("opt.cfg", damaged);
  EXPECT_EQ(Read(u"S", u"k"), u"\xD800v\0w"sv);
  ASSERT_TRUE(WritePrivateProfileStringW(u"S", u"n", u"1", Path().c_str()));
  EXPECT_EQ(FileBytes(), damaged.substr(0, damaged.size() - 1) + Utf16Le(u"n=1\r\n"));

  // Bytes without the mark read as ANSI (GBK) text and keep that form when written.
  root.WriteBytes("opt.cfg", "\x80\xFF\x01garbage\r\n[S]\r\nk=" + vk::ToAnsi(u"中文") + "\r\n");
  EXPECT_EQ(Read(u"S", u"k"), u"中文");
  ASSERT_TRUE(WritePrivateProfileStringW(u"S", u"k", u"汉", Path().c_str()));
  EXPECT_EQ(FileBytes(), "\x80\xFF\x01garbage\r\n[S]\r\nk=" + vk::ToAnsi(u"汉") + "\r\n");
}

TEST_F(ProfileTest, RefusesWritesThatWouldBreakTheFile) {
  WriteFile(u"[S]\r\nk=v\r\n");
  const std::string before = FileBytes();
  EXPECT_FALSE(WritePrivateProfileStringW(u"S", u"k", u"a\r\nb=c", Path().c_str()));
  EXPECT_FALSE(WritePrivateProfileStringW(u"S", u"a=b", u"v", Path().c_str()));
  EXPECT_FALSE(WritePrivateProfileStringW(u"S]", u"k", u"v", Path().c_str()));
  EXPECT_FALSE(WritePrivateProfileStringW(u"S", nullptr, u"v", Path().c_str()));
  ::chmod(root.NativeFile("opt.cfg").c_str(), 0444);
  if (::access(root.NativeFile("opt.cfg").c_str(), W_OK) != 0) {  // not when run as root
    EXPECT_FALSE(WritePrivateProfileStringW(u"S", u"k", u"w", Path().c_str()));
  }
  EXPECT_EQ(FileBytes(), before);
}

}  // namespace
