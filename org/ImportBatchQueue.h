// The hand-over between the organisation import's two halves: the parser thread reads the
// file and makes every member's lowered texts and spelling code, the importing thread writes
// the rows, batch by batch.
#pragma once

#include <cstdint>
#include <vector>

#include "org/SearchLists.h"
#include "platform/BatchQueue.h"

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

using ImportBatchQueue = BatchQueue<ImportBatch>;

}  // namespace vk
