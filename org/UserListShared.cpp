#include "org/UserListShared.h"

namespace vk {

void UserListShared::ReplaceLists(std::unique_ptr<SearchLists> lists) {
  std::unique_ptr<SearchLists> replaced;
  {
    LockGuard hold(list_lock_);
    replaced = std::move(current_);
    current_ = lists ? std::move(lists) : std::make_unique<SearchLists>();
  }
}

std::u16string UserListShared::Search(std::u16string_view prefix) {
  wanted_.store(true);
  LockGuard hold(list_lock_);
  return current_->Search(prefix);
}

size_t UserListShared::ListSize() {
  LockGuard hold(list_lock_);
  return current_->Size();
}

void UserListShared::ReaderStarted() {
  std::lock_guard<std::mutex> hold(readers_mutex_);
  ++readers_running_;
}

void UserListShared::ReaderEnded() {
  std::lock_guard<std::mutex> hold(readers_mutex_);
  if (--readers_running_ == 0) readers_done_.notify_all();
}

void UserListShared::WaitForReaders() {
  wanted_.store(true);
  std::unique_lock<std::mutex> hold(readers_mutex_);
  readers_done_.wait(hold, [this] { return readers_running_ == 0; });
}

}  // namespace vk

namespace vk {

void UserListShared::StopUnwantedReaders() {
  if (!wanted_.load()) stop_.store(true);
}

}  // namespace vk
