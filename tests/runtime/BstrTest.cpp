#include <gtest/gtest.h>

#include <cstring>

#include "vaultkit/vkcom.h"

namespace {

uint32_t StoredPrefix(BSTR text) {
  uint32_t length;
  std::memcpy(&length, reinterpret_cast<char*>(text) - sizeof length, sizeof length);
  return length;
}

TEST(Bstr, LengthsArePrefixedAndTextIsTerminated) {
  BSTR text = SysAllocString(u"abc");
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(SysStringLen(text), 3u);
  EXPECT_EQ(SysStringByteLen(text), 6u);
  EXPECT_EQ(StoredPrefix(text), 6u);
  EXPECT_EQ(std::u16string(text), u"abc");
  SysFreeString(text);

  BSTR empty = SysAllocString(u"");
  ASSERT_NE(empty, nullptr);
  EXPECT_EQ(SysStringLen(empty), 0u);
  EXPECT_EQ(empty[0], u'\0');
  SysFreeString(empty);

  // An odd byte length keeps its bytes and is still followed by a wide NUL.
  BSTR bytes = SysAllocStringByteLen("xyz", 3);
  ASSERT_NE(bytes, nullptr);
  EXPECT_EQ(SysStringByteLen(bytes), 3u);
  EXPECT_EQ(SysStringLen(bytes), 1u);
  EXPECT_EQ(std::memcmp(bytes, "xyz\0\0", 5), 0);
  SysFreeString(bytes);
}

TEST(Bstr, EmbeddedNulsCountTowardsTheLength) {
  const char16_t source[] = {u'a', 0, u'b', 0, u'c'};
  BSTR text = SysAllocStringLen(source, 5);
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(SysStringLen(text), 5u);
  EXPECT_EQ(std::u16string(text, 5), std::u16string(source, 5));
  EXPECT_EQ(text[5], u'\0');
  SysFreeString(text);

  // No source gives a zero-filled string of the asked length.
  BSTR blank = SysAllocStringLen(nullptr, 4);
  ASSERT_NE(blank, nullptr);
  EXPECT_EQ(SysStringLen(blank), 4u);
  for (int i = 0; i <= 4; ++i) EXPECT_EQ(blank[i], u'\0');
  SysFreeString(blank);
}

TEST(Bstr, NullStringsAreEmpty) {
  EXPECT_EQ(SysAllocString(nullptr), nullptr);
  EXPECT_EQ(SysStringLen(nullptr), 0u);
  EXPECT_EQ(SysStringByteLen(nullptr), 0u);
  SysFreeString(nullptr);

  BSTR text = SysAllocString(u"old");
  EXPECT_TRUE(SysReAllocString(&text, u"newer"));
  EXPECT_EQ(std::u16string(text), u"newer");
  EXPECT_TRUE(SysReAllocString(&text, nullptr));
  EXPECT_EQ(text, nullptr);
  EXPECT_FALSE(SysReAllocString(nullptr, u"x"));
}

}  // namespace
