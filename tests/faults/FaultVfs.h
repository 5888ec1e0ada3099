// SQLite's own writes do not pass through the platform's file layer. While an object of this
// class lives, the default SQLite file system is one that wraps the previous default and asks
// the armed FaultPlan before each write, flush, truncation and deletion of a database or its
// journal: a fault fails the call with SQLite's I/O error, and after a crash no further change
// reaches the files.
#pragma once

#include <sqlite3.h>

namespace vk::test {

class FaultVfs {
 public:
  FaultVfs();
  ~FaultVfs();
  FaultVfs(const FaultVfs&) = delete;
  FaultVfs& operator=(const FaultVfs&) = delete;

 private:
  sqlite3_vfs vfs_{};
};

}  // namespace vk::test
