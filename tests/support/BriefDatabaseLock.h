// Another connection holds a database's exclusive lock for a moment, as another process's
// commit does: neither reads nor writes of other connections get through until it lets go.
#pragma once

#include <sqlite3.h>

#include <chrono>
#include <string>
#include <thread>

namespace vk::test {

class BriefDatabaseLock {
 public:
  // Takes the lock on the (existing) database at once and lets go after `hold`.
  explicit BriefDatabaseLock(const std::u16string& path,
                             std::chrono::milliseconds hold = std::chrono::milliseconds(300));
  ~BriefDatabaseLock();
  BriefDatabaseLock(const BriefDatabaseLock&) = delete;
  BriefDatabaseLock& operator=(const BriefDatabaseLock&) = delete;

  bool taken() const { return taken_; }

 private:
  sqlite3* db_ = nullptr;
  bool taken_ = false;
  std::thread release_;
};

}  // namespace vk::test
