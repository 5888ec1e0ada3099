// What a user list shares with its search-list readers: the DB lock, the list lock, the
// current search lists and the count of running readers. A reader holds this state until it
// ends, so destroying the user list while a reader runs never touches freed memory.
#pragma once

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>

#include "org/SearchLists.h"
#include "platform/RecursiveLock.h"

namespace vk {

class UserListShared {
 public:
  explicit UserListShared(std::shared_ptr<RecursiveLock> db_lock) : db_lock_(std::move(db_lock)) {}

  RecursiveLock& DbLock() { return *db_lock_; }
  RecursiveLock& ListLock() { return list_lock_; }

  // Makes `lists` current under the list lock; the replaced generation is freed.
  void ReplaceLists(std::unique_ptr<SearchLists> lists);
  std::u16string Search(std::u16string_view prefix);
  size_t ListSize();

  void ReaderStarted();
  void ReaderEnded();
  // Blocks until no reader of this state runs (a reader that ended while holding the DB
  // lock has ended too). The lists are then wanted: readers are no longer stopped.
  void WaitForReaders();

  // Called when the user list goes: readers still building lists that no search and no
  // wait has asked for stop at their next row, as nobody could read what they build.
  void StopUnwantedReaders();
  bool StopRequested() const { return stop_.load(std::memory_order_relaxed); }

 private:
  std::shared_ptr<RecursiveLock> db_lock_;
  RecursiveLock list_lock_;
  std::unique_ptr<SearchLists> current_ = std::make_unique<SearchLists>();
  std::mutex readers_mutex_;
  std::condition_variable readers_done_;
  int readers_running_ = 0;
  std::atomic<bool> wanted_{false};  // a search or a wait asked for the lists
  std::atomic<bool> stop_{false};
};

}  // namespace vk
