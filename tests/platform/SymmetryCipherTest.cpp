#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "platform/SymmetryCipher.h"

namespace {

using Bytes = std::vector<uint8_t>;
const uint8_t kKey[16] = {'a', 'm', 'k', '`', 'a', 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};

Bytes Encrypt(const Bytes& plain) {
  Bytes out(plain.size() + 17);
  int32_t length = static_cast<int32_t>(out.size());
  EXPECT_TRUE(ux_symmetry_encrypt2(plain.data(), static_cast<int32_t>(plain.size()), kKey,
                                   out.data(), &length));
  out.resize(static_cast<size_t>(length));
  return out;
}

// The deciphered bytes, or nothing when refused; a refusal writes nothing.
std::optional<Bytes> Decrypt(const Bytes& in, const uint8_t* key = kKey, size_t room = 0) {
  Bytes out(room != 0 ? room : in.size(), 0xEE);
  int32_t length = static_cast<int32_t>(out.size());
  if (ux_symmetry_decrypt2(in.data(), static_cast<int32_t>(in.size()), key, out.data(), &length)) {
    out.resize(static_cast<size_t>(length));
    return out;
  }
  EXPECT_EQ(length, 0);
  EXPECT_EQ(out, Bytes(out.size(), 0xEE));
  return std::nullopt;
}

TEST(SymmetryCipher, RoundTripsEveryLengthWithinTheSizeBound) {
  for (size_t n = 0; n <= 65; ++n) {
    if (n == 65) n = 300001;
    Bytes plain(n);
    for (size_t i = 0; i < n; ++i) plain[i] = static_cast<uint8_t>(i * 31 + 7);
    Bytes enciphered = Encrypt(plain);
    EXPECT_EQ(enciphered.size() % 8, 0u) << n;
    EXPECT_TRUE(enciphered.size() >= n + 10 && enciphered.size() <= n + 17) << n;
    EXPECT_EQ(Decrypt(enciphered), plain) << n;
  }
}

// From an independent transcription of the format (its TEA checked first against the
// published 32-round vector 41ea3a0a94baa940), filler bytes 0xA0, 0xA7, 0xAE, ...
TEST(SymmetryCipher, FixedVectorKeepsTheFormat) {
  const Bytes plain = {'<', 0, 'R', 0, 'o', 0, 'o', 0, 't', 0, '/', 0, '>', 0};
  const Bytes expected = {0x32, 0xab, 0x02, 0x67, 0x26, 0x72, 0x09, 0x88, 0x50, 0x76, 0x3e, 0x50,
                          0x7d, 0x2b, 0x46, 0xc2, 0x94, 0x5c, 0xe5, 0x73, 0xf9, 0xa5, 0x4d, 0x95};
  uint8_t next = 0xA0;
  Bytes out(plain.size() + 17);
  int32_t length = static_cast<int32_t>(out.size());
  ASSERT_TRUE(vk::SymmetryEncrypt(plain.data(), 14, kKey, out.data(), &length,
                                  [&next] { return std::exchange(next, next + 7); }));
  out.resize(static_cast<size_t>(length));
  EXPECT_EQ(out, expected);
  EXPECT_EQ(Decrypt(expected), plain);
}

TEST(SymmetryCipher, RefusesDamagedInputWrongKeysAndShortBuffers) {
  const Bytes good = Encrypt(Bytes(40, 'x'));
  for (size_t at = 0; at < good.size(); ++at) {
    Bytes flipped = good;
    flipped[at] ^= 0x01;
    EXPECT_FALSE(Decrypt(flipped)) << "flipped byte " << at;
  }
  for (size_t cut = 1; cut <= 16; ++cut) {
    EXPECT_FALSE(Decrypt(Bytes(good.begin(), good.end() - static_cast<long>(cut)))) << cut;
  }
  uint8_t other[16];
  std::copy(std::begin(kKey), std::end(kKey), other);
  other[15] ^= 0x80;
  EXPECT_FALSE(Decrypt(good, other));
  EXPECT_FALSE(Decrypt(Bytes(8, 0)));
  EXPECT_FALSE(Decrypt(good, kKey, 39));
  EXPECT_EQ(Decrypt(good, kKey, 40), Bytes(40, 'x'));

  Bytes out(good.size());
  int32_t length = static_cast<int32_t>(good.size()) - 1;
  EXPECT_FALSE(ux_symmetry_encrypt2(good.data(), 40, kKey, out.data(), &length));
  EXPECT_EQ(length, 0);
  length = 64;
  EXPECT_FALSE(ux_symmetry_encrypt2(nullptr, 4, kKey, out.data(), &length));
}

}  // namespace
