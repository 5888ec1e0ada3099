// SQLite's own writes do not pass through the platform's file layer. While an object of this
// class lives, the default SQLite file system is one that wraps the previous default and asks
// the armed FaultPlan before each write, flush, truncation and deletion of a database or its
// journal: a fault fails the call with SQLite's I/O error, and after a crash no further change
// reaches the files. It also keeps the bytes of each file the engine deletes without flushing
// its folder, so that a test can cut the power and lose those deletions as a disk would.
#pragma once

#include <sqlite3.h>

namespace vk::test {

class FaultVfs {
 public:
  FaultVfs();
  ~FaultVfs();
  FaultVfs(const FaultVfs&) = delete;
  FaultVfs& operator=(const FaultVfs&) = delete;

  // Forgets the deletions seen so far: they count as having reached the disk.
  static void ForgetDeletions();
  // The power fails: each deletion since ForgetDeletions that no flush of its folder has made
  // lasting is undone (the file comes back with the bytes it had), unless a file has been made
  // at that name since.
  static void CutPower();

 private:
  sqlite3_vfs vfs_{};
};

}  // namespace vk::test
