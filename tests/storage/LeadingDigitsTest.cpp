#include <gtest/gtest.h>

#include "storage/LeadingDigits.h"

namespace vk {
namespace {

using namespace std::literals;

TEST(LeadingDigitsTest, ReadsSignAndDigitsUpToTheFirstOtherCharacter) {
  EXPECT_EQ(ParseLeadingDigits(u"42"sv), 42);
  EXPECT_EQ(ParseLeadingDigits(u" \t\r\n 17abc"sv), 17);
  EXPECT_EQ(ParseLeadingDigits(u"-8"sv), -8);
  EXPECT_EQ(ParseLeadingDigits(u"+9x"sv), 9);
  EXPECT_EQ(ParseLeadingDigits(u""sv), 0);
  EXPECT_EQ(ParseLeadingDigits(u"abc"sv), 0);
  EXPECT_EQ(ParseLeadingDigits(u"- 5"sv), 0);
  EXPECT_EQ(ParseLeadingDigits(u"1 2"sv), 1);
  EXPECT_EQ(ParseLeadingDigits(std::optional<std::u16string>()), 0);
  // Beyond 32 bits the value wraps, so unsigned ids round-trip.
  EXPECT_EQ(static_cast<ULONG>(ParseLeadingDigits(u"4294967295"sv)), 4294967295u);
  EXPECT_EQ(static_cast<ULONG>(ParseLeadingDigits(u"3000000000"sv)), 3000000000u);
  EXPECT_EQ(ParseLeadingDigits(u"-2147483648"sv), INT32_MIN);
}

}  // namespace
}  // namespace vk
