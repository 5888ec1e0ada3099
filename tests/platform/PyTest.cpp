#include <gtest/gtest.h>

#include <string>

#include "platform/Py.h"

namespace {

std::u16string Spell(const std::u16string& name, unsigned flag = CPy::kFullSpell) {
  return CPy().MakeSpellCode(name, flag);
}

TEST(PyTest, HanNamesBecomeTonelessLowerCasePinyinWithoutSeparators) {
  EXPECT_EQ(Spell(u"张三"), u"zhangsan");
  EXPECT_EQ(Spell(u"王小明"), u"wangxiaoming");
  EXPECT_EQ(Spell(u"李"), u"li");
  // u with diaeresis is typed "v"; a reading without a vowel mark keeps its letters.
  EXPECT_EQ(Spell(u"吕"), u"lv");
  EXPECT_EQ(Spell(u"女"), u"nv");
  EXPECT_EQ(Spell(u"欧阳"), u"ouyang");
}

TEST(PyTest, OtherCharactersAreKeptAndLatinIsLowerCased) {
  EXPECT_EQ(Spell(u"John Smith"), u"john smith");
  EXPECT_EQ(Spell(u"ALICE"), u"alice");
  EXPECT_EQ(Spell(u"张Wei 3号"), u"zhangwei 3hao");
  EXPECT_EQ(Spell(u"(张)"), u"(zhang)");
  EXPECT_EQ(Spell(u"Ünal"), u"ünal");
  EXPECT_EQ(Spell(u""), u"");
  // Kana and Hangul have no Mandarin reading and stay as they are.
  EXPECT_EQ(Spell(u"さくら"), u"さくら");
  EXPECT_EQ(Spell(u"김"), u"김");
}

TEST(PyTest, SupplementaryCharactersAndLoneSurrogates) {
  // U+20000 (an extension-B character with a Mandarin reading) as a surrogate pair.
  const std::u16string ext_b = u"\U00020000";
  EXPECT_EQ(Spell(ext_b), u"he");
  EXPECT_EQ(std::string(vk::PinyinSyllable(0x20000)), "he");
  // A supplementary character without a reading is kept whole.
  EXPECT_EQ(Spell(u"a\U0001F600b"), u"a\U0001F600b");
  // Lone surrogates are not paired with their neighbours and are kept.
  std::u16string lone = u"x";
  lone.push_back(char16_t(0xD800));
  lone += u"张";
  lone.push_back(char16_t(0xDC00));
  std::u16string expected = u"x";
  expected.push_back(char16_t(0xD800));
  expected += u"zhang";
  expected.push_back(char16_t(0xDC00));
  EXPECT_EQ(Spell(lone), expected);
}

TEST(PyTest, TableLookupBoundaries) {
  EXPECT_EQ(vk::PinyinSyllable(0), nullptr);
  EXPECT_EQ(vk::PinyinSyllable(u'A'), nullptr);
  EXPECT_EQ(std::string(vk::PinyinSyllable(0x3400)), "qiu");  // first table entry
  EXPECT_EQ(vk::PinyinSyllable(0x3402), nullptr);             // a gap inside the block
  EXPECT_EQ(vk::PinyinSyllable(0x10FFFF), nullptr);
  EXPECT_EQ(vk::PinyinSyllable(0x7FFFFFFF), nullptr);
  EXPECT_EQ(std::string(vk::PinyinSyllable(0x4E00)), "yi");  // 一
}

TEST(PyTest, OtherFlagsGiveInitials) {
  EXPECT_EQ(Spell(u"张三", 0), u"zs");
  EXPECT_EQ(Spell(u"王小明", 1), u"wxm");
  EXPECT_EQ(Spell(u"Bob王", 0), u"bobw");
}

}  // namespace
