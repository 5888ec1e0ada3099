// A critical section: recursive, and it may stay held by a thread that has ended (then no
// other thread can enter it until it is left). std::recursive_mutex does not allow that.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

namespace vk {

class RecursiveLock {
 public:
  void Enter();
  bool TryEnter();
  void Leave();
  bool IsHeld() const;

 private:
  mutable std::mutex mutex_;
  std::condition_variable released_;
  // A per-thread number that is never reused: a std::thread::id can be handed to a new
  // thread once its holder has ended, which would let that thread walk into the lock.
  uint64_t owner_ = 0;
  int depth_ = 0;
};

class LockGuard {
 public:
  explicit LockGuard(RecursiveLock& lock) : lock_(lock) { lock_.Enter(); }
  ~LockGuard() { lock_.Leave(); }
  LockGuard(const LockGuard&) = delete;
  LockGuard& operator=(const LockGuard&) = delete;

 private:
  RecursiveLock& lock_;
};

}  // namespace vk
