#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/ReadableFile.h"
#include "storage/OffMsgIndexScan.h"
#include "tests/support/TempDataRoot.h"

namespace vk::test {
namespace {

constexpr int kRecords = 20000;

std::string Record(int i) {
  return "<OffMsgRec MsgID=\"id" + std::to_string(i) + "\" CreateTime=\"" + std::to_string(i) +
         "\" Title=\"\xCF\xFB\xCF\xA2\"/>\r\n";
}

// An index whose records, from about the middle of the file, are wrapped in `open` and
// `close` (a comment, a section, an element); the root start tag carries `root_extra`.
std::string Index(const std::string& open = "", const std::string& close = "",
                  const std::string& root_extra = "") {
  std::string bytes = "<?xml version=\"1.0\" encoding=\"GBK\"?>\r\n<OffMsgIndexData" + root_extra +
                      " DataSum=\"" + std::to_string(kRecords) + "\">\r\n";
  for (int i = 0; i < kRecords; ++i) {
    if (i == kRecords * 2 / 5) bytes += open;
    bytes += Record(i);
    if (i == kRecords * 3 / 5) bytes += close;
  }
  return bytes + "</OffMsgIndexData>\r\n";
}

struct Scanned {
  bool ok = false;
  std::string sum;
  std::vector<std::string> ids;
};

Scanned ScanPart(ReadableFile& file, const OffMsgIndexScan::Part& part) {
  Scanned s;
  s.ok = OffMsgIndexScan::Scan(
      file, part, [&](const OffMsgAttributes& a) { s.sum = a.Utf8("DataSum").value_or(""); },
      [&](const OffMsgAttributes& a) { s.ids.push_back(a.Utf8("MsgID").value_or("")); });
  return s;
}

TEST(OffMsgIndexScanTest, TwoPartsReadAsTheWholeFileOrTheSplitIsRefused) {
  TempDataRoot root;
  root.WriteBytes("plain.xml", Index());
  ReadableFile plain(root.File(u"plain.xml"));
  const Scanned whole = ScanPart(plain, {});
  ASSERT_TRUE(whole.ok);
  ASSERT_EQ(whole.ids.size(), size_t{kRecords});
  std::optional<OffMsgIndexScan::Split> split = OffMsgIndexScan::FindSplit(plain, 0.45);
  ASSERT_TRUE(split.has_value());
  EXPECT_GE(split->at, plain.Size() * 45 / 100);
  EXPECT_LT(split->at, plain.Size() / 2);
  const Scanned first = ScanPart(plain, split->First());
  const Scanned second = ScanPart(plain, split->Second());
  ASSERT_TRUE(first.ok && second.ok);
  EXPECT_EQ(first.sum, std::to_string(kRecords));
  std::vector<std::string> ids = first.ids;
  ids.insert(ids.end(), second.ids.begin(), second.ids.end());
  EXPECT_EQ(ids, whole.ids);

  // Where the tag found at the split is not a child of the root, the first part does not
  // read; a '>' inside the root's start tag is not taken for its end.
  struct Case {
    const char *name, *open, *close, *root_extra;
    bool finds_split;
    size_t records;  // read by the whole scan
  };
  const Case cases[] = {
      {"comment", "<!--", "-->", "", true, kRecords - kRecords / 5 - 1},
      {"cdata", "<![CDATA[", "]]>", "", true, kRecords - kRecords / 5 - 1},
      {"nested", "<Held>", "</Held>", "", true, kRecords - kRecords / 5 - 1},
      {"root attribute", "", "", " Note=\"a>b\"", false, kRecords},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    root.WriteBytes("trap.xml", Index(c.open, c.close, c.root_extra));
    ReadableFile trap(root.File(u"trap.xml"));
    const Scanned all = ScanPart(trap, {});
    EXPECT_TRUE(all.ok);
    EXPECT_EQ(all.ids.size(), c.records);
    split = OffMsgIndexScan::FindSplit(trap, 0.45);
    ASSERT_EQ(split.has_value(), c.finds_split);
    if (split) {
      EXPECT_FALSE(ScanPart(trap, split->First()).ok);
    }
  }
}

}  // namespace
}  // namespace vk::test
