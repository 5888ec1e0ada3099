#include "org/ImportBatchQueue.h"

namespace vk {

bool ImportBatchQueue::Push(std::unique_ptr<ImportBatch> batch) {
  std::unique_lock<std::mutex> hold(mutex_);
  changed_.wait(hold, [this] { return abandoned_ || batches_.size() < kCapacity; });
  if (abandoned_) return false;
  batches_.push_back(std::move(batch));
  changed_.notify_all();
  return true;
}

void ImportBatchQueue::Finish(bool failed) {
  std::lock_guard<std::mutex> hold(mutex_);
  finished_ = true;
  failed_ = failed;
  changed_.notify_all();
}

std::unique_ptr<ImportBatch> ImportBatchQueue::Pop() {
  std::unique_lock<std::mutex> hold(mutex_);
  changed_.wait(hold, [this] { return finished_ || !batches_.empty(); });
  if (batches_.empty()) return nullptr;
  std::unique_ptr<ImportBatch> batch = std::move(batches_.front());
  batches_.pop_front();
  changed_.notify_all();
  return batch;
}

bool ImportBatchQueue::Failed() {
  std::lock_guard<std::mutex> hold(mutex_);
  return failed_;
}

void ImportBatchQueue::Abandon() {
  std::lock_guard<std::mutex> hold(mutex_);
  abandoned_ = true;
  batches_.clear();
  changed_.notify_all();
}

}  // namespace vk
