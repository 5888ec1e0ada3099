#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "platform/SymmetryCipher.h"

namespace {

using Bytes = std::vector<uint8_t>;

const uint8_t kKey[16] = {'a', 'm', 'k', '`', 'a', 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};

Bytes Encrypt(const Bytes& plain, const uint8_t* key = kKey) {
  Bytes out(plain.size() + 17, 0xEE);
  int32_t length = static_cast<int32_t>(out.size());
  EXPECT_TRUE(ux_symmetry_encrypt2(plain.data(), static_cast<int32_t>(plain.size()), key,
                                   out.data(), &length));
  out.resize(static_cast<size_t>(length));
  return out;
}

// The deciphered bytes, or nothing when the cipher refuses them.
std::optional<Bytes> Decrypt(const Bytes& enciphered, const uint8_t* key = kKey) {
  Bytes out(enciphered.size() + 1, 0xEE);
  int32_t length = static_cast<int32_t>(out.size());
  if (!ux_symmetry_decrypt2(enciphered.data(), static_cast<int32_t>(enciphered.size()), key,
                            out.data(), &length)) {
    EXPECT_EQ(length, 0);
    // A refusal writes nothing.
    EXPECT_EQ(out, Bytes(enciphered.size() + 1, 0xEE));
    return std::nullopt;
  }
  out.resize(static_cast<size_t>(length));
  return out;
}

Bytes Pattern(size_t n) {
  Bytes b(n);
  for (size_t i = 0; i < n; ++i) b[i] = static_cast<uint8_t>(i * 31 + 7);
  return b;
}

TEST(SymmetryCipher, RoundTripsEveryLengthWithinTheSizeBound) {
  std::vector<size_t> lengths;
  for (size_t n = 0; n <= 64; ++n) lengths.push_back(n);
  lengths.push_back(300001);
  for (size_t n : lengths) {
    Bytes plain = Pattern(n);
    Bytes enciphered = Encrypt(plain);
    EXPECT_EQ(enciphered.size() % 8, 0u) << n;
    EXPECT_GE(enciphered.size(), n + 10) << n;
    EXPECT_LE(enciphered.size(), n + 17) << n;
    EXPECT_EQ(Decrypt(enciphered), plain) << n;
  }
}

// Computed with an independent transcription of the format (TEA checked first against the
// published 32-round vector 41ea3a0a94baa940 for a zero key and block), filler bytes taken
// from the counter 0xA0, 0xA7, 0xAE, ...
TEST(SymmetryCipher, FixedVectorKeepsTheFormat) {
  const std::u16string text = u"<Root/>";
  Bytes plain;
  for (char16_t c : text) {
    plain.push_back(static_cast<uint8_t>(c & 0xFF));
    plain.push_back(static_cast<uint8_t>(c >> 8));
  }
  const Bytes expected = {0x32, 0xab, 0x02, 0x67, 0x26, 0x72, 0x09, 0x88, 0x50, 0x76, 0x3e, 0x50,
                          0x7d, 0x2b, 0x46, 0xc2, 0x94, 0x5c, 0xe5, 0x73, 0xf9, 0xa5, 0x4d, 0x95};
  uint8_t next = 0xA0;
  auto counter = [&next] {
    uint8_t value = next;
    next = static_cast<uint8_t>(next + 7);
    return value;
  };
  Bytes out(plain.size() + 17);
  int32_t length = static_cast<int32_t>(out.size());
  ASSERT_TRUE(vk::SymmetryEncrypt(plain.data(), static_cast<int32_t>(plain.size()), kKey,
                                  out.data(), &length, counter));
  out.resize(static_cast<size_t>(length));
  EXPECT_EQ(out, expected);
  EXPECT_EQ(Decrypt(expected), plain);
}

TEST(SymmetryCipher, RefusesDamagedInputWrongKeysAndShortBuffers) {
  const Bytes plain = Pattern(40);
  const Bytes good = Encrypt(plain);

  for (size_t at = 0; at < good.size(); ++at) {
    Bytes flipped = good;
    flipped[at] ^= 0x01;
    EXPECT_FALSE(Decrypt(flipped).has_value()) << "flipped byte " << at;
  }
  for (size_t cut = 1; cut <= 16; ++cut) {
    Bytes truncated(good.begin(), good.end() - static_cast<long>(cut));
    EXPECT_FALSE(Decrypt(truncated).has_value()) << "truncated by " << cut;
  }
  uint8_t other[16];
  std::copy(std::begin(kKey), std::end(kKey), other);
  other[15] ^= 0x80;
  EXPECT_FALSE(Decrypt(good, other).has_value());
  EXPECT_FALSE(Decrypt(Bytes{}).has_value());
  EXPECT_FALSE(Decrypt(Bytes(8, 0)).has_value());

  // Buffers one byte too small are refused in both directions.
  Bytes out(good.size());
  int32_t length = static_cast<int32_t>(good.size()) - 1;
  EXPECT_FALSE(ux_symmetry_encrypt2(plain.data(), 40, kKey, out.data(), &length));
  EXPECT_EQ(length, 0);
  length = 39;
  EXPECT_FALSE(ux_symmetry_decrypt2(good.data(), static_cast<int32_t>(good.size()), kKey,
                                    out.data(), &length));
  EXPECT_EQ(length, 0);
  length = 40;
  EXPECT_TRUE(ux_symmetry_decrypt2(good.data(), static_cast<int32_t>(good.size()), kKey, out.data(),
                                   &length));
  EXPECT_EQ(length, 40);
  length = 64;
  EXPECT_FALSE(ux_symmetry_encrypt2(nullptr, 4, kKey, out.data(), &length));
  EXPECT_FALSE(ux_symmetry_decrypt2(good.data(), -8, kKey, out.data(), &length));
}

}  // namespace
