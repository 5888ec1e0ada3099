#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "vaultkit/vkcom.h"

namespace {

uint32_t StoredPrefix(BSTR text) {
  uint32_t length;
  std::memcpy(&length, reinterpret_cast<char*>(text) - sizeof length, sizeof length);
  return length;
}

// The bytes of a wide text and its terminating wide NUL.
std::string Wide(const std::u16string& text) {
  return std::string(reinterpret_cast<const char*>(text.c_str()), 2 * (text.size() + 1));
}

// Each way of making a string: the length prefix counts bytes, embedded NULs count, an odd
// byte length keeps its bytes, no source gives zeros, and a wide NUL always follows.
TEST(Bstr, LengthsArePrefixedAndTextIsTerminated) {
  const char16_t embedded[] = {u'a', 0, u'b', 0, u'c'};
  struct Case {
    const char* name;
    BSTR text;
    UINT length, bytes;
    std::string stored;  // the text's bytes and what follows them
  };
  const std::vector<Case> cases = {
      {"text", SysAllocString(u"abc"), 3, 6, Wide(u"abc")},
      {"empty", SysAllocString(u""), 0, 0, Wide(u"")},
      {"odd bytes", SysAllocStringByteLen("xyz", 3), 1, 3, std::string("xyz\0\0", 5)},
      {"embedded NULs", SysAllocStringLen(embedded, 5), 5, 10, Wide(std::u16string(embedded, 5))},
      {"no source", SysAllocStringLen(nullptr, 4), 4, 8, std::string(10, '\0')},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    ASSERT_NE(c.text, nullptr);
    EXPECT_EQ(SysStringLen(c.text), c.length);
    EXPECT_EQ(SysStringByteLen(c.text), c.bytes);
    EXPECT_EQ(StoredPrefix(c.text), c.bytes);
    EXPECT_EQ(std::memcmp(c.text, c.stored.data(), c.stored.size()), 0);
    SysFreeString(c.text);
  }
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
