#include <gtest/gtest.h>

#include <filesystem>

#include "platform/ComError.h"
#include "platform/Files.h"
#include "platform/SymmetryCipher.h"
#include "platform/Text.h"
#include "storage/EncipheredFile.h"
#include "tests/support/HangGuard.h"
#include "tests/support/TempDataRoot.h"

namespace vk {
namespace {

const char16_t kTemplate[] = u"<?xml version=\"1.0\" encoding=\"GB2312\"?><Root></Root>";
const char16_t kRecords[] =
    u"<?xml version=\"1.0\" encoding=\"GB2312\"?><?WEZ 用户详细资料 ?><Root><ITEM NICK=\"张三\" "
    u"NAME=\"a&amp;b\"/></Root>";
const char16_t kFile[] = u"Accounts/alice/WEZProfile.dat";

FileKey KeyOf(std::string_view name) {
  FileKey key{};
  for (size_t i = 0; i < 16; ++i) key[i] = (i < name.size() ? uint8_t(name[i]) : 0) ^ i;
  return key;
}

TEST(EncipheredFileNames, KeyComesFromTheFolderNameAndCompanionReplacesEveryDat) {
  const std::pair<const char16_t*, FileKey> cases[] = {
      {u"/d/Accounts/alice/WEZProfile.dat", KeyOf("alice")},
      {u"/d/Accounts/ALICE/WEZProfile.dat", KeyOf("alice")},
      {u"/d/Accounts/张三/WEZProfile.dat", KeyOf("\xD5\xC5\xC8\xFD")},  // the ANSI code page
      {u"/d/abcdefghijklmnopqrst/x.dat", KeyOf("abcdefghijklmnop")},    // 16 bytes only
      {u"/x.dat", KeyOf("")},
      {u"x.dat", KeyOf("")},
  };
  for (const auto& [path, key] : cases) EXPECT_EQ(MakeFileKey(path), key) << ToUtf8(path);
  EXPECT_EQ(CompanionPath(u"/d/bob.dat/P.dat"), u"/d/bob.xml/P.xml");
  EXPECT_EQ(CompanionPath(u"/d/a.datum/b.DAT"), u"/d/a.xmlum/b.DAT");
}

class EncipheredFileTest : public testing::Test {
 protected:
  EncipheredFileTest() { std::filesystem::create_directories(root_.NativeFile("Accounts/alice")); }
  // The loaded document's text, or "template".
  std::u16string Load(bool repair = true) {
    DomDocument document, empty;
    EXPECT_EQ(LoadEncipheredDocument(document, root_.File(kFile), kTemplate, repair), S_OK);
    empty.LoadXml(kTemplate);
    return document.Xml() == empty.Xml() ? u"template" : document.Xml();
  }
  void Save(const char16_t* text, const char16_t* file = kFile) {
    DomDocument document;
    ASSERT_TRUE(document.LoadXml(text));
    SaveEncipheredDocument(document, root_.File(file));
  }
  std::string Bytes(std::string_view name = "Accounts/alice/WEZProfile.dat") const {
    return root_.ReadBytes(name).value_or("(none)");
  }
  long DamagedCopies() const {
    long n = 0;
    for (auto& e : std::filesystem::directory_iterator(root_.NativeFile("Accounts/alice"))) {
      n += e.path().filename().string().starts_with("WEZProfile.dat.damaged-") ? 1 : 0;
    }
    return n;
  }
  std::u16string Records() const {
    DomDocument document;
    document.LoadXml(kRecords);
    return document.Xml();
  }

  test::TempDataRoot root_;
};

TEST_F(EncipheredFileTest, SavedFileIsTheCipherOfTheUtf16TextAndLoadsBack) {
  Save(kRecords);
  const std::u16string text = Records();
  std::optional<std::string> plain = DecipherFile(Bytes(), root_.File(kFile));
  ASSERT_TRUE(plain.has_value());
  EXPECT_EQ(plain->size(), 2 * text.size());  // no byte-order mark, no terminator
  EXPECT_LE(Bytes().size(), 2 * text.size() + 17);
  EXPECT_EQ(PlainAsUtf16(*plain), text);
  EXPECT_EQ(Load(), text);
}

TEST_F(EncipheredFileTest, UnreadableFilesGiveTheTemplateAndAreLeftAlone) {
  std::filesystem::create_directories(root_.NativeFile("Accounts/bob"));
  Save(kRecords, u"Accounts/bob/WEZProfile.dat");
  const std::string bob = Bytes("Accounts/bob/WEZProfile.dat");
  std::string random(256, '\0');
  for (size_t i = 0; i < random.size(); ++i) random[i] = static_cast<char>(i * 73 % 251);
  const char16_t kEntities[] =
      u"<!DOCTYPE Root [<!ENTITY n \"x\">]><Root><ITEM NICK=\"&n;\"/></Root>";
  for (const std::string& bytes :
       {std::string(), bob.substr(0, bob.size() - 8), bob, random,
        EncipherText(u"not xml", root_.File(kFile)), EncipherText(kEntities, root_.File(kFile))}) {
    root_.WriteBytes("Accounts/alice/WEZProfile.dat", bytes);
    EXPECT_EQ(Load(), u"template") << bytes.size();
    EXPECT_EQ(Bytes(), bytes);
    // What the next save would replace is kept aside (an empty file is not).
    EXPECT_EQ(DamagedCopies() > 0, !bytes.empty()) << bytes.size();
  }
  // Neither a plain companion declaring entities nor a FIFO in either file's place is read
  // (nor waited on).
  root_.WriteBytes("Accounts/alice/WEZProfile.xml", ToUtf8(kEntities));
  EXPECT_EQ(Load(), u"template");
  for (const char* name : {"Accounts/alice/WEZProfile.xml", "Accounts/alice/WEZProfile.dat"}) {
    test::HangGuard guard;
    ASSERT_TRUE(test::MakeFifo(root_.NativeFile(name)));
    EXPECT_EQ(Load(), u"template") << name;
    std::filesystem::remove(root_.NativeFile(name));
  }
  // A plaintext in the ANSI code page is read too.
  const std::string ansi = ToAnsi(kRecords);
  const FileKey key = MakeFileKey(root_.File(kFile));
  std::string out(ansi.size() + 17, '\0');
  int32_t n = static_cast<int32_t>(out.size());
  ASSERT_TRUE(ux_symmetry_encrypt2(reinterpret_cast<const uint8_t*>(ansi.data()),
                                   static_cast<int32_t>(ansi.size()), key.data(),
                                   reinterpret_cast<uint8_t*>(out.data()), &n));
  root_.WriteBytes("Accounts/alice/WEZProfile.dat", out.substr(0, static_cast<size_t>(n)));
  EXPECT_EQ(Load(), Records());
}

// A companion that is a folder hides the data file and cannot be deleted: the data file is
// written all the same and the failure raised. Files that cannot be written raise and leave
// nothing behind.
TEST_F(EncipheredFileTest, WriteAndDeleteFailuresAreRaised) {
  std::filesystem::create_directories(root_.NativeFile("Accounts/alice/WEZProfile.xml"));
  EXPECT_THROW(Save(kRecords), ComError);
  EXPECT_EQ(Load(), u"template");
  std::filesystem::remove(root_.NativeFile("Accounts/alice/WEZProfile.xml"));
  EXPECT_EQ(Load(), Records());

  std::filesystem::create_directories(root_.NativeFile("Accounts/alice/dir.dat"));
  EXPECT_THROW(Save(kRecords, u"Accounts/missing/WEZProfile.dat"), ComError);
  EXPECT_THROW(Save(kRecords, u"Accounts/alice/dir.dat"), ComError);
  auto entries = std::distance(std::filesystem::directory_iterator(root_.NativeFile("Accounts")),
                               std::filesystem::directory_iterator());
  EXPECT_EQ(entries, 1);
  EXPECT_TRUE(std::filesystem::is_empty(root_.NativeFile("Accounts/alice/dir.dat")));
}

TEST(RepairXmlFile, ReplacesControlBytesOtherThanTabAndLineBreaks) {
  test::TempDataRoot root;
  const std::pair<std::string, std::string> cases[] = {
      {std::string("a\x01z\tc\nd\re\x1f\x7f", 10), std::string("a*z\tc\nd\re*\x7f", 10)},
      {std::string("zero\0kept", 9), std::string("zero\0kept", 9)},
      {"\xD5\xC5\xC8\xFD", "\xD5\xC5\xC8\xFD"},
  };
  for (const auto& [in, out] : cases) {
    root.WriteBytes("f.xml", in);
    EXPECT_TRUE(RepairXmlFile(root.File(u"f.xml")));
    EXPECT_EQ(root.ReadBytes("f.xml"), out);
  }
  EXPECT_FALSE(RepairXmlFile(root.File(u"missing.xml")));
  EXPECT_FALSE(RepairXmlFile(root.Path()));
}

}  // namespace
}  // namespace vk
