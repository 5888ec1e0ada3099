#include <gtest/gtest.h>
#include <iconv.h>

#include <optional>
#include <random>
#include <string>

#include "storage/GbkDecoder.h"

namespace vk::test {
namespace {

struct Decoded {
  int result;
  int consumed;
  std::string text;
};

Decoded Decode(const std::string& in, int room) {
  std::string out(static_cast<size_t>(room), '\0');
  int out_length = room;
  int in_length = static_cast<int>(in.size());
  const int result =
      GbkDecoder::Handler()->input(reinterpret_cast<unsigned char*>(out.data()), &out_length,
                                   reinterpret_cast<const unsigned char*>(in.data()), &in_length);
  out.resize(static_cast<size_t>(out_length));
  return {result, in_length, out};
}

// The system converter on the whole input at once: the text, or none at an invalid or
// unfinished sequence.
std::optional<std::string> Iconv(const std::string& in) {
  iconv_t cd = iconv_open("UTF-8", "GBK");
  std::string out(in.size() * 3 + 4, '\0');
  char* source = const_cast<char*>(in.data());
  char* target = out.data();
  size_t source_left = in.size(), target_left = out.size();
  const size_t converted = iconv(cd, &source, &source_left, &target, &target_left);
  iconv_close(cd);
  if (converted == static_cast<size_t>(-1)) return std::nullopt;
  out.resize(out.size() - target_left);
  return out;
}

TEST(GbkDecoderTest, DecodesAsTheSystemConverterDoesAndSaysHowFarItGot) {
  ASSERT_NE(GbkDecoder::Handler(), nullptr);
  struct Case {
    std::string in;
    int room;
    int result, consumed;
    std::string text;
  };
  const Case cases[] = {
      {"<OffMsgRec Title=\"x\"/>", 64, 0, 22, "<OffMsgRec Title=\"x\"/>"},
      {"a\xc4\xe3\xba\xc3z", 64, 0, 6, "a\xe4\xbd\xa0\xe5\xa5\xbdz"},  // 你好
      {"\xa1\xa1"
       "ab",
       64, 0, 4,
       "\xe3\x80\x80"
       "ab"},                       // a trail byte just after the run
      {"ab\xc4", 64, -3, 2, "ab"},  // the input ends inside a character
      {"ab\xc4\xe3\xba", 64, -3, 4, "ab\xe4\xbd\xa0"},
      {"a\xff"
       "b",
       64, -2, 1, "a"},                                  // invalid byte
      {"abcdefghij", 4, -1, 4, "abcd"},                  // the output fills up in ASCII
      {"a\xc4\xe3\xba\xc3", 5, -1, 3, "a\xe4\xbd\xa0"},  // and in a run
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.in);
    const Decoded d = Decode(c.in, c.room);
    EXPECT_EQ(d.result, c.result);
    EXPECT_EQ(d.consumed, c.consumed);
    EXPECT_EQ(d.text, c.text);
  }

  // Random bytes, mostly ASCII with runs of double-byte characters and stray high bytes.
  std::mt19937 random(20261125);
  const unsigned char pool[] = {'a',  '<',  '"',  ' ',  0x40, 0x7e, 0x7f, 0x80,
                                0x81, 0xa1, 0xb0, 0xc4, 0xd7, 0xf7, 0xfe, 0xff};
  for (int round = 0; round < 3000; ++round) {
    std::string in(random() % 40, '\0');
    for (char& b : in) b = static_cast<char>(pool[random() % sizeof pool]);
    SCOPED_TRACE(testing::PrintToString(in));
    const std::optional<std::string> expected = Iconv(in);
    const Decoded d = Decode(in, static_cast<int>(in.size() * 3 + 4));
    if (expected) {
      EXPECT_EQ(d.result, 0);
      EXPECT_EQ(d.text, *expected);
    } else {
      // Refused or left unfinished, and what came before decoded as the converter does.
      EXPECT_TRUE(d.result == -2 || d.result == -3);
      EXPECT_LT(d.consumed, static_cast<int>(in.size()));
      EXPECT_EQ(Iconv(in.substr(0, static_cast<size_t>(d.consumed))), d.text);
    }
  }
}

}  // namespace
}  // namespace vk::test
