#include <gtest/gtest.h>
#include <zlib.h>

#include <string>

#include "platform/Compression.h"

namespace {

TEST(CompressionTest, UnCompressReportsZlibStatusAndLength) {
  const std::string text(1000, 'x');
  const std::string packed = vk::Compress(text);
  ASSERT_FALSE(packed.empty());
  auto src = reinterpret_cast<const unsigned char*>(packed.data());
  struct Case {
    unsigned long capacity;
    unsigned long source_length;
    int status;
    unsigned long written;
  } cases[] = {
      {2000, packed.size(), Z_OK, 1000},
      {1000, packed.size(), Z_OK, 1000},
      {999, packed.size(), Z_BUF_ERROR, 999},         // the buffer is full before the end
      {2000, packed.size() - 2, Z_DATA_ERROR, 1000},  // the checksum is cut off
  };
  for (const Case& c : cases) {
    std::string out(c.capacity, '\0');
    unsigned long length = c.capacity;
    EXPECT_EQ(
        vk::UnCompress(reinterpret_cast<unsigned char*>(out.data()), &length, src, c.source_length),
        c.status)
        << c.capacity << " " << c.source_length;
    EXPECT_EQ(length, c.written) << c.capacity;
  }
  unsigned char out[16];
  unsigned long length = sizeof out;
  const unsigned char junk[] = "not zlib";
  EXPECT_NE(vk::UnCompress(out, &length, junk, sizeof junk), Z_OK);
}

}  // namespace
