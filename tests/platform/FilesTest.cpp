#include <dirent.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <optional>
#include <string>

#include "platform/Files.h"
#include "tests/support/TempDataRoot.h"

namespace {

// Sets or clears an environment variable for one scope.
class ScopedEnv {
 public:
  ScopedEnv(const char* name, const char* value) : name_(name) {
    if (const char* old = ::getenv(name)) old_ = old;
    value ? ::setenv(name, value, 1) : ::unsetenv(name);
  }
  ~ScopedEnv() { old_ ? ::setenv(name_, old_->c_str(), 1) : ::unsetenv(name_); }

 private:
  const char* name_;
  std::optional<std::string> old_;
};

size_t EntriesIn(const std::string& folder) {
  size_t count = 0;
  DIR* dir = ::opendir(folder.c_str());
  while (dirent* entry = dir ? ::readdir(dir) : nullptr) {
    std::string name = entry->d_name;
    count += name != "." && name != ".." ? 1 : 0;
  }
  if (dir) ::closedir(dir);
  return count;
}

TEST(FilesTest, DataRootFollowsTheEnvironmentAndEndsWithSeparator) {
  {
    ScopedEnv root("VAULTKIT_DATA_ROOT", "/srv/vk");
    EXPECT_EQ(GetFileListPath(), u"/srv/vk/");
  }
  ScopedEnv no_root("VAULTKIT_DATA_ROOT", nullptr);
  {
    ScopedEnv xdg("XDG_DATA_HOME", "/data/xdg");
    EXPECT_EQ(GetFileListPath(), u"/data/xdg/vaultkit/");
  }
  ScopedEnv no_xdg("XDG_DATA_HOME", nullptr);
  ScopedEnv home("HOME", "/home/u");
  EXPECT_EQ(GetFileListPath(), u"/home/u/.local/share/vaultkit/");
  ScopedEnv relative("XDG_DATA_HOME", "relative");
  EXPECT_EQ(GetFileListPath(), u"/home/u/.local/share/vaultkit/");
}

TEST(FilesTest, SeparatorsAndSearchPaths) {
  EXPECT_EQ(vk::NormalizeSeparators(u"Accounts\\42\\OffMsgFiles\\"), u"Accounts/42/OffMsgFiles/");
  EXPECT_EQ(LimitFileFind(u"/a//b\\\\c\\*.xml"), u"/a/b/c/*.xml");
  EXPECT_EQ(vk::PathFromNative(vk::PathToNative(u"/帐号/文件.dat")), u"/帐号/文件.dat");
}

TEST(FilesTest, FoldersAttributesAndExistence) {
  vk::test::TempDataRoot root;
  EXPECT_TRUE(IsFileExist(root.Path()));
  EXPECT_FALSE(IsFileExist(root.File(u"a")));
  EXPECT_FALSE(IsFileExist(u""));
  EXPECT_TRUE(vk::CreateFolders(root.File(u"a//b/c/")));
  EXPECT_TRUE(IsFileExist(root.File(u"a/b/c")));
  EXPECT_TRUE(vk::CreateFolder(root.File(u"a/b/c")));  // exists already
  EXPECT_FALSE(vk::CreateFolder(root.File(u"x/y")));   // parent missing

  root.WriteBytes("ro.txt", "data");
  ::chmod(root.NativeFile("ro.txt").c_str(), 0444);
  vk::SetFileAttributesNormal(root.File(u"ro.txt"));
  struct stat info {};
  ASSERT_EQ(::stat(root.NativeFile("ro.txt").c_str(), &info), 0);
  EXPECT_NE(info.st_mode & S_IWUSR, 0u);
  EXPECT_EQ(vk::ReadWholeFile(root.File(u"ro.txt")), "data");
  EXPECT_EQ(vk::ReadWholeFile(root.File(u"a")), std::nullopt);  // a folder
  EXPECT_EQ(vk::ReadWholeFile(root.File(u"none")), std::nullopt);
}

TEST(FilesTest, AtomicWriteReplacesWholeAndLeavesNoTemporaryFiles) {
  vk::test::TempDataRoot root;
  const std::string binary("a\0b\xFF", 4);
  ASSERT_TRUE(vk::WriteFileAtomically(root.File(u"f.bin"), binary));
  EXPECT_EQ(root.ReadBytes("f.bin"), binary);
  ::chmod(root.NativeFile("f.bin").c_str(), 0640);
  ASSERT_TRUE(vk::WriteFileAtomically(root.File(u"f.bin"), "second"));
  EXPECT_EQ(root.ReadBytes("f.bin"), "second");
  struct stat info {};
  ASSERT_EQ(::stat(root.NativeFile("f.bin").c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0640u);  // the replacement keeps the permissions
  EXPECT_EQ(EntriesIn(root.NativePath()), 1u);

  // Failures leave the target as it was and nothing beside it.
  ASSERT_TRUE(vk::CreateFolder(root.File(u"dir")));
  EXPECT_FALSE(vk::WriteFileAtomically(root.File(u"dir"), "x"));
  EXPECT_FALSE(vk::WriteFileAtomically(root.File(u"missing/f.bin"), "x"));
  EXPECT_FALSE(vk::WriteFileAtomically(root.File(u"dir/"), "x"));
  EXPECT_EQ(EntriesIn(root.NativePath()), 2u);
  EXPECT_EQ(EntriesIn(root.NativeFile("dir")), 0u);
  ::chmod(root.NativeFile("dir").c_str(), 0555);
  if (::access(root.NativeFile("dir").c_str(), W_OK) != 0) {  // not when run as root
    EXPECT_FALSE(vk::WriteFileAtomically(root.File(u"dir/f"), "x"));
    EXPECT_EQ(EntriesIn(root.NativeFile("dir")), 0u);
  }
}

TEST(FilesTest, MoveWithoutReplaceNeverOverwritesTheNewName) {
  vk::test::TempDataRoot root;
  root.WriteBytes("a.xml", "old");
  ASSERT_TRUE(vk::MoveFileNoReplace(root.File(u"a.xml"), root.File(u"a.xml.bak")));
  EXPECT_EQ(root.ReadBytes("a.xml"), std::nullopt);
  EXPECT_EQ(root.ReadBytes("a.xml.bak"), "old");

  // An existing new name wins: both files stay as they were.
  root.WriteBytes("a.xml", "new");
  EXPECT_FALSE(vk::MoveFileNoReplace(root.File(u"a.xml"), root.File(u"a.xml.bak")));
  EXPECT_EQ(root.ReadBytes("a.xml"), "new");
  EXPECT_EQ(root.ReadBytes("a.xml.bak"), "old");

  // A folder moves like a file; a missing source or target folder fails.
  ASSERT_TRUE(vk::CreateFolder(root.File(u"d")));
  EXPECT_TRUE(vk::MoveFileNoReplace(root.File(u"d"), root.File(u"d.bak")));
  EXPECT_TRUE(IsFileExist(root.File(u"d.bak")));
  EXPECT_FALSE(vk::MoveFileNoReplace(root.File(u"none"), root.File(u"none.bak")));
  EXPECT_FALSE(vk::MoveFileNoReplace(root.File(u"a.xml"), root.File(u"no/a.xml")));
  EXPECT_EQ(root.ReadBytes("a.xml"), "new");
}

}  // namespace
