#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <iterator>
#include <optional>
#include <string>

#include "platform/Files.h"
#include "runtime/FileSystem.h"
#include "tests/support/ErrorDescription.h"
#include "tests/support/ScopedEnv.h"
#include "tests/support/TempDataRoot.h"
#include "vaultkit/vkcom.h"

namespace {

using vk::test::ScopedEnv;

size_t EntriesIn(const std::string& folder) {
  std::error_code none;
  return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(folder, none), {}));
}

TEST(FilesTest, DataRootFollowsTheEnvironmentAndEndsWithSeparator) {
  {
    ScopedEnv root("VAULTKIT_DATA_ROOT", "/srv/vk");
    EXPECT_EQ(GetFileListPath(), u"/srv/vk/");
    // A folder the client sets comes first; a relative one is refused; clearing it lets the
    // environment decide again.
    EXPECT_EQ(VkSetDataRoot("relative/vk"), E_INVALIDARG);
    EXPECT_EQ(VkSetDataRoot("/set/by/client"), S_OK);
    EXPECT_EQ(GetFileListPath(), u"/set/by/client/");
    char small[4];
    EXPECT_EQ(VkGetDataRoot(small, sizeof small), E_INVALIDARG);
    EXPECT_EQ(VkSetDataRoot(nullptr), S_OK);
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
  {
    // Whatever the umask, new files are the owner's alone and new folders too; a save makes
    // a read-only file the owner's to write but never opens it to anyone else.
    const mode_t umask_before = ::umask(0);
    ::chmod(root.NativeFile("f.bin").c_str(), 0440);
    const bool saved = vk::WriteFileAtomically(root.File(u"f.bin"), "third") &&
                       vk::WriteFileAtomically(root.File(u"new.bin"), "x") &&
                       vk::ReplaceFileWithCopy(root.File(u"f.bin"), root.File(u"copy.bin")) &&
                       vk::CreateFolders(root.File(u"p/q"));
    ::umask(umask_before);
    ASSERT_TRUE(saved);
    for (auto [name, mode] : {std::pair{"f.bin", 0640u},
                              {"new.bin", 0600u},
                              {"copy.bin", 0600u},
                              {"p", 0700u},
                              {"p/q", 0700u}}) {
      ASSERT_EQ(::stat(root.NativeFile(name).c_str(), &info), 0);
      EXPECT_EQ(info.st_mode & 0777, mode) << name;
    }
    for (const char* name : {"new.bin", "copy.bin", "p"}) {
      std::filesystem::remove_all(root.NativeFile(name));
    }
  }

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

// Fails the call of the given kind whose turn comes `countdown` calls of that kind from now.
struct FailNth {
  vk::FileSystem::Call call;
  int countdown;
  static vk::FileSystem::Fault Hook(vk::FileSystem::Call call, const std::string&, void* self) {
    auto* fail = static_cast<FailNth*>(self);
    return call == fail->call && fail->countdown-- == 0 ? vk::FileSystem::Fault::kFail
                                                        : vk::FileSystem::Fault::kNone;
  }
};

TEST(FilesTest, FailedStepsOfASaveKeepTheOldFileAndSayWhy) {
  vk::test::TempDataRoot root;
  ASSERT_TRUE(vk::WriteFileAtomically(root.File(u"f.xml"), "old"));
  for (auto call : {vk::FileSystem::Call::kCreate, vk::FileSystem::Call::kWrite,
                    vk::FileSystem::Call::kSync, vk::FileSystem::Call::kRename}) {
    FailNth fail{call, 0};
    vk::FileSystem::SetFaultHook(&FailNth::Hook, &fail);
    EXPECT_FALSE(vk::WriteFileAtomically(root.File(u"f.xml"), "new"));
    EXPECT_EQ(vk::test::TakeErrorDescription(), root.File(u"f.xml") + u": Input/output error");
    fail.countdown = 0;
    EXPECT_FALSE(vk::ReplaceFileWithCopy(root.File(u"f.xml"), root.File(u"g.xml")));
    EXPECT_EQ(vk::test::TakeErrorDescription(), root.File(u"g.xml") + u": Input/output error");
    vk::FileSystem::SetFaultHook(nullptr, nullptr);
    EXPECT_EQ(root.ReadBytes("f.xml"), "old");
    EXPECT_EQ(EntriesIn(root.NativePath()), 1u);  // no copy, no temporary file
  }
  // A crash stops every later change: the old file stays, whatever the caller does next.
  vk::FileSystem::SetFaultHook(
      [](vk::FileSystem::Call, const std::string&, void*) { return vk::FileSystem::Fault::kCrash; },
      nullptr);
  EXPECT_FALSE(vk::WriteFileAtomically(root.File(u"f.xml"), "new"));
  EXPECT_FALSE(vk::RemoveFile(root.File(u"f.xml")));
  vk::FileSystem::SetFaultHook(nullptr, nullptr);
  EXPECT_EQ(root.ReadBytes("f.xml"), "old");
}

TEST(FilesTest, RenameWithoutReplaceNeverOverwrites) {
  vk::test::TempDataRoot root;
  root.WriteBytes("a", "A");
  root.WriteBytes("b", "B");
  EXPECT_FALSE(vk::RenameFile(root.File(u"a"), root.File(u"b"), false));
  EXPECT_EQ(root.ReadBytes("b"), "B");
  EXPECT_TRUE(vk::RenameFile(root.File(u"a"), root.File(u"c"), false));
  EXPECT_EQ(root.ReadBytes("c"), "A");
  EXPECT_FALSE(root.ReadBytes("a").has_value());
  EXPECT_TRUE(vk::RenameFile(root.File(u"c"), root.File(u"b"), true));
  EXPECT_EQ(root.ReadBytes("b"), "A");
  EXPECT_TRUE(vk::RemoveFile(root.File(u"b")));
  EXPECT_TRUE(vk::RemoveFile(root.File(u"b")));  // gone already counts as removed
}

TEST(FilesTest, DamagedFilesAreKeptAsideTheLastThree) {
  vk::test::TempDataRoot root;
  vk::KeepDamagedCopy(root.File(u"missing.xml"));
  root.WriteBytes("empty.xml", "");
  vk::KeepDamagedCopy(root.File(u"empty.xml"));
  EXPECT_EQ(EntriesIn(root.NativePath()), 1u);  // nothing kept of nothing

  for (const char* old : {"20200101000000", "20210101000000", "20220101000000", "x"}) {
    root.WriteBytes(std::string("Grid.xml.damaged-") + old, old);
  }
  root.WriteBytes("Grid.xml", "<Grid broken");
  vk::KeepDamagedCopy(root.File(u"Grid.xml"));
  EXPECT_EQ(root.ReadBytes("Grid.xml"), "<Grid broken");  // the store decides what comes next
  EXPECT_FALSE(root.ReadBytes("Grid.xml.damaged-20200101000000").has_value());
  EXPECT_TRUE(root.ReadBytes("Grid.xml.damaged-20210101000000").has_value());
  EXPECT_TRUE(root.ReadBytes("Grid.xml.damaged-20220101000000").has_value());
  EXPECT_TRUE(root.ReadBytes("Grid.xml.damaged-x").has_value());  // not one of ours
  size_t kept = 0;
  for (const auto& entry : std::filesystem::directory_iterator(root.NativePath())) {
    const std::string name = entry.path().filename().string();
    if (name.starts_with("Grid.xml.damaged-2") && name > "Grid.xml.damaged-2023") {
      EXPECT_EQ(root.ReadBytes(name), "<Grid broken");
      ++kept;
    }
  }
  EXPECT_EQ(kept, 1u);
}

}  // namespace
