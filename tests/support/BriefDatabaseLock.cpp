#include "tests/support/BriefDatabaseLock.h"

namespace vk::test {

BriefDatabaseLock::BriefDatabaseLock(const std::u16string& path, std::chrono::milliseconds hold) {
  taken_ = sqlite3_open16(path.c_str(), &db_) == SQLITE_OK &&
           sqlite3_exec(db_, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr) == SQLITE_OK;
  release_ = std::thread([this, hold] {
    std::this_thread::sleep_for(hold);
    sqlite3_exec(db_, "COMMIT", nullptr, nullptr, nullptr);
  });
}

BriefDatabaseLock::~BriefDatabaseLock() {
  release_.join();
  sqlite3_close(db_);
}

}  // namespace vk::test
