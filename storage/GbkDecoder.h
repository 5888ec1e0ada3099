// The parser's decoder for the local ANSI code page (GBK) of the offline-message indexes.
// ASCII, most of an index's bytes, is copied as it stands; each run of other characters goes
// to the system's converter in one piece, so what is accepted and what each character
// becomes is the converter's own. Handing every byte to the converter cost a sixth of a
// channel's first read.
#pragma once

#include <libxml/encoding.h>

namespace vk {

class GbkDecoder {
 public:
  // The handler to switch a parser to; null when the system has no GBK converter. It belongs
  // to no parser: freeing one leaves it alone.
  static xmlCharEncodingHandlerPtr Handler();

 private:
  // The parser's conversion call: 0 when all of `in` was converted, -1 when `out` filled up,
  // -2 at an invalid sequence, -3 when `in` ends inside a character; the lengths say how far
  // it got.
  static int Decode(unsigned char* out, int* out_length, const unsigned char* in, int* in_length);
};

}  // namespace vk
