// The hand-over between a thread that reads a file and one that makes something of what was
// read: batches go through a bounded queue, so the reader runs at most a few batches ahead
// and the memory stays that of a few batches, whatever the file's size.
#pragma once

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>

namespace vk {

template <typename Batch>
class BatchQueue {
 public:
  static constexpr size_t kCapacity = 8;

  // Reader side. Push waits while the queue is full; false when the taking side gave up.
  bool Push(std::unique_ptr<Batch> batch) {
    std::unique_lock<std::mutex> hold(mutex_);
    changed_.wait(hold, [this] { return abandoned_ || batches_.size() < kCapacity; });
    if (abandoned_) return false;
    batches_.push_back(std::move(batch));
    changed_.notify_all();
    return true;
  }
  // The file has been read to its end (`failed`: it turned out unreadable or malformed).
  void Finish(bool failed) {
    std::lock_guard<std::mutex> hold(mutex_);
    finished_ = true;
    failed_ = failed;
    changed_.notify_all();
  }

  // Taking side. Null once the file is read and every batch taken.
  std::unique_ptr<Batch> Pop() {
    std::unique_lock<std::mutex> hold(mutex_);
    changed_.wait(hold, [this] { return finished_ || !batches_.empty(); });
    if (batches_.empty()) return nullptr;
    std::unique_ptr<Batch> batch = std::move(batches_.front());
    batches_.pop_front();
    changed_.notify_all();
    return batch;
  }
  // Runs the taking side's `work` while `reader` fills the queue; then, also when `work`
  // throws, lets the reader go on past any batch it still has and waits for it to end.
  template <typename Work>
  auto TakeWhileReading(std::thread& reader, Work&& work) -> decltype(work()) {
    struct Ending {
      BatchQueue& queue;
      std::thread& reader;
      ~Ending() {
        queue.Abandon();
        reader.join();
      }
    } ending{*this, reader};
    return work();
  }
  bool Failed() {
    std::lock_guard<std::mutex> hold(mutex_);
    return failed_;
  }
  // The taking side stops early: a waiting or later Push returns false.
  void Abandon() {
    std::lock_guard<std::mutex> hold(mutex_);
    abandoned_ = true;
    batches_.clear();
    changed_.notify_all();
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::unique_ptr<Batch>> batches_;
  bool finished_ = false;
  bool failed_ = false;
  bool abandoned_ = false;
};

}  // namespace vk
