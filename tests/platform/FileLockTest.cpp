#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>

#include "platform/FileLock.h"
#include "tests/support/TempDataRoot.h"

namespace {

using std::chrono::milliseconds;
using vk::FileLock;

// Runs `body` in a child process and gives back its exit status; the child never returns.
template <typename Body>
int InChild(Body&& body) {
  pid_t child = ::fork();
  if (child == 0) ::_exit(body());
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 255;
}

TEST(FileLockTest, OneProcessHoldsALockFileOrAFolderAndNamesItself) {
  vk::test::TempDataRoot root;
  for (const std::string& path : {root.NativeFile("account.lock"), root.NativePath()}) {
    SCOPED_TRACE(path);
    const bool is_file = path.back() != '/';
    EXPECT_EQ(FileLock::Probe(path), is_file ? FileLock::State::kMissing : FileLock::State::kFree);
    FileLock lock;
    ASSERT_TRUE(lock.Take(path, milliseconds(0)));
    if (is_file) {
      ASSERT_TRUE(lock.RecordHolder());
      struct stat info {};
      ASSERT_EQ(::stat(path.c_str(), &info), 0);
      EXPECT_EQ(info.st_mode & 0777, 0600u) << "created private whatever the umask";
      EXPECT_EQ(FileLock::RecordedHolder(path), ::getpid());
    }
    // A second lock of this process shares the first; another process is refused after its
    // wait and sees the lock held.
    FileLock shared;
    EXPECT_TRUE(shared.Take(path, milliseconds(0)));
    EXPECT_EQ(InChild([&] {
                FileLock other;
                bool refused = !other.Take(path, milliseconds(50)) && errno == EWOULDBLOCK;
                return refused && FileLock::Probe(path) == FileLock::State::kHeld ? 0 : 1;
              }),
              0);
    shared.Release();
    EXPECT_EQ(InChild([&] { return FileLock::Probe(path) == FileLock::State::kHeld ? 0 : 1; }), 0)
        << "the first holder still has it";
    lock.Release();
    EXPECT_EQ(FileLock::Probe(path), FileLock::State::kFree);
    if (is_file) {
      EXPECT_EQ(FileLock::RecordedHolder(path), 0) << "a release clears the record";
    }
  }
}

TEST(FileLockTest, AProcessThatDiesReleasesTheLockAndLeavesOnlyItsRecord) {
  vk::test::TempDataRoot root;
  const std::string path = root.NativeFile("account.lock");
  int status = InChild([&] {
    FileLock lock;
    ::_exit(lock.Take(path, milliseconds(0)) && lock.RecordHolder() ? 0 : 1);  // no Release
    return 1;
  });
  ASSERT_EQ(status, 0);
  const pid_t dead = FileLock::RecordedHolder(path);
  EXPECT_GT(dead, 0);
  EXPECT_NE(dead, ::getpid());
  EXPECT_EQ(FileLock::Probe(path), FileLock::State::kFree);
  FileLock lock;
  EXPECT_TRUE(lock.Take(path, milliseconds(0)));
  ASSERT_TRUE(lock.RecordHolder());
  EXPECT_EQ(FileLock::RecordedHolder(path), ::getpid());
}

TEST(FileLockTest, NeitherALinkNorAFifoIsTakenAsTheLockFile) {
  vk::test::TempDataRoot root;
  const std::string fifo = root.NativeFile("fifo.lock"), link = root.NativeFile("link.lock");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  ASSERT_EQ(::symlink(root.NativeFile("elsewhere").c_str(), link.c_str()), 0);
  FileLock lock;
  EXPECT_FALSE(lock.Take(fifo, milliseconds(0)));
  EXPECT_FALSE(lock.Take(link, milliseconds(0)));
  EXPECT_FALSE(root.ReadBytes("elsewhere").has_value()) << "a link never creates its target";
  EXPECT_EQ(FileLock::RecordedHolder(fifo), 0);
}

}  // namespace
