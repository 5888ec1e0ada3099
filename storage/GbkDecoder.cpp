#include "storage/GbkDecoder.h"

#include <iconv.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>

namespace vk {
namespace {

// One conversion state per thread: the parser's call carries no context of its own.
class Converter {
 public:
  Converter() : handle_(iconv_open("UTF-8", "GBK")) {}
  ~Converter() {
    if (Usable()) iconv_close(handle_);
  }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;
  bool Usable() const { return handle_ != reinterpret_cast<iconv_t>(-1); }
  iconv_t Handle() const { return handle_; }

 private:
  iconv_t handle_;
};

Converter& ThreadConverter() {
  thread_local Converter converter;
  return converter;
}

// How many bytes from `from` on are ASCII, eight at a time where it can.
size_t AsciiRun(const unsigned char* from, const unsigned char* end) {
  const unsigned char* at = from;
  constexpr uint64_t kHighBits = 0x8080808080808080ULL;
  while (end - at >= 8) {
    uint64_t word;
    std::memcpy(&word, at, sizeof word);
    if ((word & kHighBits) != 0) break;
    at += 8;
  }
  while (at < end && *at < 0x80) ++at;
  return static_cast<size_t>(at - from);
}

}  // namespace

xmlCharEncodingHandlerPtr GbkDecoder::Handler() {
  static xmlCharEncodingHandler handler = [] {
    xmlCharEncodingHandler h{};
    h.name = const_cast<char*>("GBK");
    h.input = &GbkDecoder::Decode;
    return h;
  }();
  return ThreadConverter().Usable() ? &handler : nullptr;
}

int GbkDecoder::Decode(unsigned char* out, int* out_length, const unsigned char* in,
                       int* in_length) {
  const unsigned char* from = in;
  const unsigned char* const in_end = in + *in_length;
  unsigned char* to = out;
  unsigned char* const out_end = out + *out_length;
  int result = 0;
  while (from < in_end && result == 0) {
    const size_t ascii = std::min(AsciiRun(from, in_end), static_cast<size_t>(out_end - to));
    std::memcpy(to, from, ascii);
    from += ascii;
    to += ascii;
    if (from == in_end) break;
    if (*from < 0x80) {
      result = -1;  // the output is full
      break;
    }
    // A run of other characters: a lead byte 0x81-0xFE takes the byte after it along.
    const unsigned char* run_end = from;
    while (run_end < in_end && *run_end >= 0x80)
      run_end += *run_end > 0x80 && *run_end < 0xFF ? 2 : 1;
    const bool cut = run_end > in_end;  // the last character's second byte is still to come
    if (cut) run_end -= 2;
    if (run_end > from) {
      auto* source = reinterpret_cast<char*>(const_cast<unsigned char*>(from));
      auto* target = reinterpret_cast<char*>(to);
      size_t source_left = static_cast<size_t>(run_end - from);
      size_t target_left = static_cast<size_t>(out_end - to);
      const size_t converted =
          iconv(ThreadConverter().Handle(), &source, &source_left, &target, &target_left);
      from = reinterpret_cast<const unsigned char*>(source);
      to = reinterpret_cast<unsigned char*>(target);
      if (converted == static_cast<size_t>(-1)) {
        result = errno == E2BIG ? -1 : -2;
        break;
      }
    }
    if (cut) result = -3;
  }
  *in_length = static_cast<int>(from - in);
  *out_length = static_cast<int>(to - out);
  return result;
}

}  // namespace vk
