#include "platform/SymmetryCipher.h"

#include <cstring>
#include <random>
#include <vector>

namespace vk {
namespace {

constexpr uint32_t kDelta = 0x9E3779B9u;
constexpr int kRounds = 16;
constexpr int32_t kOverhead = 10;  // header, two filler bytes, seven zero bytes
constexpr int32_t kZeroTail = 7;

struct Key {
  uint32_t k[4];
};

uint32_t ReadBigEndian(const uint8_t* p) {
  return (uint32_t{p[0]} << 24) | (uint32_t{p[1]} << 16) | (uint32_t{p[2]} << 8) | p[3];
}

void WriteBigEndian(uint32_t v, uint8_t* p) {
  p[0] = static_cast<uint8_t>(v >> 24);
  p[1] = static_cast<uint8_t>(v >> 16);
  p[2] = static_cast<uint8_t>(v >> 8);
  p[3] = static_cast<uint8_t>(v);
}

Key ReadKey(const uint8_t* key) {
  return {{ReadBigEndian(key), ReadBigEndian(key + 4), ReadBigEndian(key + 8),
           ReadBigEndian(key + 12)}};
}

void EncipherBlock(const Key& key, const uint8_t* in, uint8_t* out) {
  uint32_t y = ReadBigEndian(in), z = ReadBigEndian(in + 4), sum = 0;
  for (int i = 0; i < kRounds; ++i) {
    sum += kDelta;
    y += ((z << 4) + key.k[0]) ^ (z + sum) ^ ((z >> 5) + key.k[1]);
    z += ((y << 4) + key.k[2]) ^ (y + sum) ^ ((y >> 5) + key.k[3]);
  }
  WriteBigEndian(y, out);
  WriteBigEndian(z, out + 4);
}

void DecipherBlock(const Key& key, const uint8_t* in, uint8_t* out) {
  uint32_t y = ReadBigEndian(in), z = ReadBigEndian(in + 4);
  uint32_t sum = kDelta * static_cast<uint32_t>(kRounds);
  for (int i = 0; i < kRounds; ++i) {
    z -= ((y << 4) + key.k[2]) ^ (y + sum) ^ ((y >> 5) + key.k[3]);
    y -= ((z << 4) + key.k[0]) ^ (z + sum) ^ ((z >> 5) + key.k[1]);
    sum -= kDelta;
  }
  WriteBigEndian(y, out);
  WriteBigEndian(z, out + 4);
}

void Xor8(uint8_t* target, const uint8_t* with) {
  for (int i = 0; i < 8; ++i) target[i] ^= with[i];
}

bool Refuse(int32_t* out_length) {
  if (out_length != nullptr) *out_length = 0;
  return false;
}

uint8_t SystemRandomByte() {
  thread_local std::mt19937 random{std::random_device{}()};
  return static_cast<uint8_t>(random());
}

}  // namespace

bool SymmetryEncrypt(const uint8_t* plain, int32_t length, const uint8_t* key, uint8_t* out,
                     int32_t* out_length, const std::function<uint8_t()>& random) {
  if ((plain == nullptr && length != 0) || length < 0 || key == nullptr || out == nullptr ||
      out_length == nullptr || length > INT32_MAX - kOverhead - 7) {
    return Refuse(out_length);
  }
  const int32_t pad = (8 - (length + kOverhead) % 8) % 8;
  const int32_t total = length + kOverhead + pad;
  if (*out_length < total) return Refuse(out_length);

  // The whole padded text: header, filler, plaintext, zero tail.
  std::vector<uint8_t> text(static_cast<size_t>(total), 0);
  text[0] = static_cast<uint8_t>((random() & 0xF8) | pad);
  for (int32_t i = 1; i <= pad + 2; ++i) text[static_cast<size_t>(i)] = random();
  if (length > 0) std::memcpy(text.data() + 1 + pad + 2, plain, static_cast<size_t>(length));

  const Key k = ReadKey(key);
  uint8_t previous_cipher[8] = {};
  uint8_t previous_input[8] = {};
  for (int32_t at = 0; at < total; at += 8) {
    uint8_t input[8];
    std::memcpy(input, text.data() + at, 8);
    Xor8(input, previous_cipher);
    EncipherBlock(k, input, out + at);
    Xor8(out + at, previous_input);
    std::memcpy(previous_cipher, out + at, 8);
    std::memcpy(previous_input, input, 8);
  }
  *out_length = total;
  return true;
}

}  // namespace vk

bool ux_symmetry_encrypt2(const uint8_t* plain, int32_t length, const uint8_t* key, uint8_t* out,
                          int32_t* out_length) {
  return vk::SymmetryEncrypt(plain, length, key, out, out_length, vk::SystemRandomByte);
}

bool ux_symmetry_decrypt2(const uint8_t* enciphered, int32_t length, const uint8_t* key,
                          uint8_t* out, int32_t* out_length) {
  using namespace vk;
  if (enciphered == nullptr || key == nullptr || out == nullptr || out_length == nullptr ||
      length < 16 || length % 8 != 0) {
    return Refuse(out_length);
  }
  const Key k = ReadKey(key);
  std::vector<uint8_t> text(static_cast<size_t>(length));
  uint8_t previous_cipher[8] = {};
  uint8_t previous_input[8] = {};
  for (int32_t at = 0; at < length; at += 8) {
    uint8_t input[8];
    std::memcpy(input, enciphered + at, 8);
    Xor8(input, previous_input);
    DecipherBlock(k, input, input);
    std::memcpy(text.data() + at, input, 8);
    Xor8(text.data() + at, previous_cipher);
    std::memcpy(previous_cipher, enciphered + at, 8);
    std::memcpy(previous_input, input, 8);
  }
  const int32_t pad = text[0] & 7;
  const int32_t plain_length = length - kOverhead - pad;
  if (plain_length < 0) return Refuse(out_length);
  for (int32_t i = length - kZeroTail; i < length; ++i) {
    if (text[static_cast<size_t>(i)] != 0) return Refuse(out_length);
  }
  if (*out_length < plain_length) return Refuse(out_length);
  if (plain_length > 0) {
    std::memcpy(out, text.data() + 1 + pad + 2, static_cast<size_t>(plain_length));
  }
  *out_length = plain_length;
  return true;
}
