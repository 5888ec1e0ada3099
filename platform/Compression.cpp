#include "platform/Compression.h"

#include <zlib.h>

namespace vk {

int UnCompress(unsigned char* dest, unsigned long* dest_length, const unsigned char* source,
               unsigned long source_length) {
  uLongf length = *dest_length;
  int status = ::uncompress(dest, &length, source, source_length);
  *dest_length = length;
  return status;
}

std::string Compress(std::string_view bytes) {
  uLongf length = ::compressBound(bytes.size());
  std::string out(length, '\0');
  if (::compress(reinterpret_cast<Bytef*>(out.data()), &length,
                 reinterpret_cast<const Bytef*>(bytes.data()), bytes.size()) != Z_OK) {
    return std::string();
  }
  out.resize(length);
  return out;
}

}  // namespace vk
