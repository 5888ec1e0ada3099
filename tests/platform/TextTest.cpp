#include <gtest/gtest.h>

#include <climits>

#include "platform/Text.h"

namespace {

TEST(TextTest, LowerCasingIsUnicodeSimpleMappingPerUnit) {
  // Simple mappings only: İ (U+0130) becomes a plain i, Ǆ its lower-case digraph.
  EXPECT_EQ(vk::WideToLower(u"ABC xyz ÀÉ ΣΑ АБВ Ǆ İ 中文"), u"abc xyz àé σα абв ǆ i 中文");
  EXPECT_EQ(vk::WideToLower(u'Z'), u'z');
  EXPECT_EQ(vk::WideToLower(u'\xD801'), u'\xD801');  // a lone surrogate stays as it is
}

TEST(TextTest, GbkRoundTripAndReplacement) {
  const std::u16string text = u"用户详细资料 ABC 123 €";
  const std::string gbk = vk::ToAnsi(text);
  // 用 is D3 C3 in code page 936; ASCII stays single bytes; the euro sign is 0x80.
  ASSERT_GE(gbk.size(), 2u);
  EXPECT_EQ(gbk.substr(0, 2), "\xD3\xC3");
  EXPECT_EQ(gbk.back(), '\x80');
  EXPECT_EQ(vk::FromAnsi(gbk), text);
  EXPECT_EQ(vk::ToAnsi(u"a😀b"), "a?b");
  EXPECT_EQ(vk::FromAnsi("abc"), u"abc");
  EXPECT_EQ(vk::ToAnsi(u""), "");
}

TEST(TextTest, Utf8RoundTripAndBrokenInput) {
  const std::u16string text = u"中文 😀 x";
  EXPECT_EQ(vk::FromUtf8(vk::ToUtf8(text)), text);
  EXPECT_EQ(vk::ToUtf8(u"a\xD800z"), "a\xEF\xBF\xBDz");
  EXPECT_EQ(vk::FromUtf8("a\xFFz"), u"a\xFFFDz");
}

TEST(TextTest, FormatWide) {
  EXPECT_EQ(vk::FormatWide(u"%d|%u|%ld|%lu|%x|%X|%c|%%", INT_MIN, 4294967295u, -7L, 8UL, 255u,
                           0xABCDu, u'中'),
            u"-2147483648|4294967295|-7|8|ff|ABCD|中|%");
  EXPECT_EQ(vk::FormatWide(u"[%5d][%-5d][%05d][%.3d][%08X][%+d]", 42, 42, -42, 7, 0xBEEFu, 3),
            u"[   42][42   ][-0042][007][0000BEEF][+3]");
  EXPECT_EQ(vk::FormatWide(u"[%6s][%-4S][%.2s][%*d]", u"ab", "x", u"abcdef", 4, 9),
            u"[    ab][x   ][ab][   9]");
  EXPECT_EQ(vk::FormatWide(u"%s %S", nullptr, static_cast<const char*>(nullptr)), u"(null) (null)");
  EXPECT_EQ(vk::FormatWide(u"%q %"), u"%q %");
}

}  // namespace
