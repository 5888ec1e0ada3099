// The hand-over between the organisation import's two halves: the parser thread reads the
// file and makes every member's lowered texts and spelling code, the importing thread writes
// the rows. Batches of entries go through a bounded queue, so the parser runs at most a few
// batches ahead and the memory stays that of a few batches, whatever the file's size.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <vector>

#include "org/SearchLists.h"

namespace vk {

struct ImportBatch {
  enum class Kind : uint8_t { kDepartment, kOtherElement, kMember };
  struct Entry {
    Kind kind;
    int64_t first;   // department id, or member uin
    int64_t second;  // department version, or member gender
  };
  std::vector<Entry> entries;
  // The texts of the batch's member entries, in entry order (nickname and name lowered).
  SearchLists members;
};

class ImportBatchQueue {
 public:
  static constexpr size_t kCapacity = 8;

  // Parser side. Push waits while the queue is full; false when the reader side gave up.
  bool Push(std::unique_ptr<ImportBatch> batch);
  // The file has been read to its end (`failed`: it turned out malformed).
  void Finish(bool failed);

  // Importer side. Null once the file is read and every batch taken.
  std::unique_ptr<ImportBatch> Pop();
  bool Failed();
  // The importer stops early: a waiting or later Push returns false.
  void Abandon();

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::unique_ptr<ImportBatch>> batches_;
  bool finished_ = false;
  bool failed_ = false;
  bool abandoned_ = false;
};

}  // namespace vk
