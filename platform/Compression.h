// The client's compression library as the offline message store calls it: zlib's format,
// 0 for success and zlib's status otherwise.
#pragma once

#include <string>
#include <string_view>

namespace vk {

// Decompresses `source` into `dest`, whose size `*dest_length` gives on entry; on return it
// holds the number of bytes written.
int UnCompress(unsigned char* dest, unsigned long* dest_length, const unsigned char* source,
               unsigned long source_length);
// The zlib stream of `bytes`, as the client writes message bodies.
std::string Compress(std::string_view bytes);

}  // namespace vk
