#include <gtest/gtest.h>

#include <ctime>

#include "platform/Files.h"
#include "storage/FileCreationTime.h"
#include "tests/support/TempDataRoot.h"

namespace vk {
namespace {

TEST(FileCreationTimeTest, RecordSurvivesAtomicRewritesAndCanBeBackdated) {
  test::TempDataRoot root;
  std::u16string path = root.File(u"Leader.xml");
  EXPECT_FALSE(GetFileCreationTime(path).has_value());
  EXPECT_FALSE(SetFileCreationTime(path, 100));  // only for an existing file
  EXPECT_FALSE(root.ReadBytes("Leader.xml.created").has_value());

  ASSERT_TRUE(WriteFileAtomically(path, "one"));
  // Without a record: the file system's own time, which is about now.
  std::optional<int64_t> fallback = GetFileCreationTime(path);
  ASSERT_TRUE(fallback.has_value());
  EXPECT_LE(std::llabs(*fallback - static_cast<int64_t>(std::time(nullptr))), 600);

  ASSERT_TRUE(SetFileCreationTime(path, 1'000'000'000));
  ASSERT_TRUE(WriteFileAtomically(path, "two"));  // a save replaces the file
  EXPECT_EQ(GetFileCreationTime(path), 1'000'000'000);
  EXPECT_EQ(root.ReadBytes("Leader.xml.created"), "1000000000\n");

  root.WriteBytes("Leader.xml.created", "garbage");
  EXPECT_NE(GetFileCreationTime(path), 1'000'000'000);  // a damaged record is ignored
}

}  // namespace
}  // namespace vk
