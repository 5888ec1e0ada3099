// The client's symmetric cipher: TEA (16 rounds) in a padded chaining mode. The enciphered
// form is one header byte whose low three bits give the pad count p, p + 2 random filler
// bytes, the plaintext, and seven zero bytes, n + 10 + p bytes in all (a multiple of eight);
// each block is chained to the previous one in both directions, so a changed byte spoils
// the rest of the text and a wrong key is caught by the zero tail.
#pragma once

#include <cstdint>
#include <functional>

// Enciphers `length` bytes with a 16-byte key. *out_length: in, the size of `out`; out, the
// bytes written (at most length + 17). False, with nothing written and *out_length 0, when
// an argument is missing or the buffer is too small.
bool ux_symmetry_encrypt2(const uint8_t* plain, int32_t length, const uint8_t* key, uint8_t* out,
                          int32_t* out_length);
// Deciphers what ux_symmetry_encrypt2 wrote (at most length - 10 bytes). False, with nothing
// written and *out_length 0, when the input is damaged (bad length, non-zero tail), was
// enciphered with another key, or the buffer is too small.
bool ux_symmetry_decrypt2(const uint8_t* enciphered, int32_t length, const uint8_t* key,
                          uint8_t* out, int32_t* out_length);

namespace vk {

// ux_symmetry_encrypt2 with the header and filler bytes drawn from `random` (the header's
// byte first), so that a ciphertext can be reproduced.
bool SymmetryEncrypt(const uint8_t* plain, int32_t length, const uint8_t* key, uint8_t* out,
                     int32_t* out_length, const std::function<uint8_t()>& random);

}  // namespace vk
