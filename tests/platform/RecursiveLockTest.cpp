#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "platform/RecursiveLock.h"

namespace {

TEST(RecursiveLockTest, RecursiveForItsOwnerAndClosedToOthers) {
  vk::RecursiveLock lock;
  EXPECT_FALSE(lock.IsHeld());
  lock.Enter();
  EXPECT_TRUE(lock.TryEnter());
  {
    vk::LockGuard again(lock);
    bool other = true;
    std::thread([&] { other = lock.TryEnter(); }).join();
    EXPECT_FALSE(other);
  }
  lock.Leave();
  EXPECT_TRUE(lock.IsHeld());
  lock.Leave();
  EXPECT_FALSE(lock.IsHeld());
  bool other = false;
  std::thread([&] {
    other = lock.TryEnter();
    lock.Leave();
  }).join();
  EXPECT_TRUE(other);
  EXPECT_FALSE(lock.IsHeld());
}

TEST(RecursiveLockTest, StaysHeldByAThreadThatEnded) {
  vk::RecursiveLock lock;
  std::thread([&] { lock.Enter(); }).join();
  EXPECT_TRUE(lock.IsHeld());
  EXPECT_FALSE(lock.TryEnter());
  lock.Leave();  // not the holder: no effect
  EXPECT_TRUE(lock.IsHeld());
  // Threads started later (which may reuse the ended thread's id) stay out as well.
  for (int i = 0; i < 8; ++i) {
    bool entered = true;
    std::thread([&] { entered = lock.TryEnter(); }).join();
    EXPECT_FALSE(entered);
  }
}

TEST(RecursiveLockTest, EnterWaitsForTheHolderToLeave) {
  vk::RecursiveLock lock;
  lock.Enter();
  std::atomic<bool> entered{false};
  std::thread waiter([&] {
    lock.Enter();
    entered = true;
    lock.Leave();
  });
  EXPECT_FALSE(entered);
  lock.Leave();
  waiter.join();
  EXPECT_TRUE(entered);
  EXPECT_FALSE(lock.IsHeld());
}

}  // namespace
