#include "platform/RecursiveLock.h"

#include <atomic>

namespace vk {
namespace {

uint64_t CurrentThreadNumber() {
  static std::atomic<uint64_t> next{1};
  thread_local const uint64_t number = next.fetch_add(1);
  return number;
}

}  // namespace

void RecursiveLock::Enter() {
  const uint64_t self = CurrentThreadNumber();
  std::unique_lock<std::mutex> hold(mutex_);
  if (depth_ > 0 && owner_ == self) {
    ++depth_;
    return;
  }
  released_.wait(hold, [this] { return depth_ == 0; });
  owner_ = self;
  depth_ = 1;
}

bool RecursiveLock::TryEnter() {
  const uint64_t self = CurrentThreadNumber();
  std::lock_guard<std::mutex> hold(mutex_);
  if (depth_ > 0 && owner_ != self) return false;
  owner_ = self;
  ++depth_;
  return true;
}

void RecursiveLock::Leave() {
  const uint64_t self = CurrentThreadNumber();
  std::lock_guard<std::mutex> hold(mutex_);
  // Leaving a section this thread does not hold is a caller error; it must not release
  // another thread's hold.
  if (depth_ == 0 || owner_ != self) return;
  if (--depth_ == 0) {
    owner_ = 0;
    released_.notify_one();
  }
}

bool RecursiveLock::IsHeld() const {
  std::lock_guard<std::mutex> hold(mutex_);
  return depth_ > 0;
}

}  // namespace vk
