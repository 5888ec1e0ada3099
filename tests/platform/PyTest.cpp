#include <gtest/gtest.h>

#include <string>

#include "platform/Py.h"
#include "platform/Text.h"

namespace {

TEST(PyTest, SpellCodes) {
  const struct {
    std::u16string name;
    unsigned flag;
    std::u16string spelled;
  } cases[] = {
      // Han names become toneless lower-case pinyin without separators.
      {u"张三", CPy::kFullSpell, u"zhangsan"},
      {u"王小明", CPy::kFullSpell, u"wangxiaoming"},
      {u"李", CPy::kFullSpell, u"li"},
      // u with diaeresis is typed "v"; a reading without a vowel mark keeps its letters.
      {u"吕", CPy::kFullSpell, u"lv"},
      {u"女", CPy::kFullSpell, u"nv"},
      {u"欧阳", CPy::kFullSpell, u"ouyang"},
      // Other characters are kept and Latin is lower-cased.
      {u"John Smith", CPy::kFullSpell, u"john smith"},
      {u"ALICE", CPy::kFullSpell, u"alice"},
      {u"张Wei 3号", CPy::kFullSpell, u"zhangwei 3hao"},
      {u"(张)", CPy::kFullSpell, u"(zhang)"},
      {u"Ünal", CPy::kFullSpell, u"ünal"},
      {u"", CPy::kFullSpell, u""},
      // Kana and Hangul have no Mandarin reading and stay as they are.
      {u"さくら", CPy::kFullSpell, u"さくら"},
      {u"김", CPy::kFullSpell, u"김"},
      // U+20000 (an extension-B character with a Mandarin reading) as a surrogate pair.
      {u"\U00020000", CPy::kFullSpell, u"he"},
      // A supplementary character without a reading is kept whole.
      {u"a\U0001F600b", CPy::kFullSpell, u"a\U0001F600b"},
      // Lone surrogates are not paired with their neighbours and are kept.
      {u"x\xD800张\xDC00", CPy::kFullSpell, u"x\xD800zhang\xDC00"},
      // Other flags give initials.
      {u"张三", 0, u"zs"},
      {u"王小明", 1, u"wxm"},
      {u"Bob王", 0, u"bobw"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(vk::ToUtf8(c.name) + " flag " + std::to_string(c.flag));
    EXPECT_EQ(CPy().MakeSpellCode(c.name, c.flag), c.spelled);
  }
}

TEST(PyTest, TableLookupBoundaries) {
  EXPECT_EQ(vk::PinyinSyllable(0), nullptr);
  EXPECT_EQ(vk::PinyinSyllable(u'A'), nullptr);
  EXPECT_EQ(std::string(vk::PinyinSyllable(0x3400)), "qiu");  // first table entry
  EXPECT_EQ(vk::PinyinSyllable(0x3402), nullptr);             // a gap inside the block
  EXPECT_EQ(vk::PinyinSyllable(0x10FFFF), nullptr);
  EXPECT_EQ(vk::PinyinSyllable(0x7FFFFFFF), nullptr);
  EXPECT_EQ(std::string(vk::PinyinSyllable(0x4E00)), "yi");   // 一
  EXPECT_EQ(std::string(vk::PinyinSyllable(0x20000)), "he");  // beyond the BMP
}

}  // namespace
