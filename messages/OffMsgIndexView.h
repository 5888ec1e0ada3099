// What the operations that only read an index take from it, gathered in one pass over the
// file: its DataSum, its records grouped by conversation, the records of each message id with
// the place of their bodies, and the latest record.
#pragma once

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "messages/OffMsgConversations.h"
#include "vaultkit/vkcom.h"

namespace vk {

struct OffMsgRecordBatch;

// One record of a message id: where its body lies and what the fetched item shows (texts in
// UTF-8 as read, turned into the client's text only for the message fetched).
struct OffMsgBody {
  LONG create_time = 0, addr = 0, len = 0;
  std::string sender, receivers, type;
};

class OffMsgIndexView {
 public:
  // Reads the index through; a large one is parsed on a thread of its own while this one
  // groups the records. A file that does not read to its end (missing, damaged, cut
  // short, its root not OffMsgIndexData) gives a view that is not readable and holds nothing.
  static OffMsgIndexView Read(std::u16string_view path);
  // The DataSum alone, from a pass that reads the file through without keeping the records;
  // none when it does not read to its end.
  static std::optional<LONG> ReadSum(std::u16string_view path);
  // The DataSum from the root's start tag when the file ends by closing the root; none when
  // that cannot tell (see OffMsgIndexScan::ScanRoot), and ReadSum must read the file through.
  static std::optional<LONG> ReadRootSum(std::u16string_view path);

  bool Readable() const { return readable_; }
  // DataSum of the root; -1 when not readable.
  LONG Sum() const { return sum_; }
  // The records grouped within this file, in the order the client's list takes them.
  std::vector<const OffMsgConversation*> Conversations() const;
  // The records whose MsgID equals the id regardless of case, in file order.
  const std::vector<OffMsgBody>& BodiesOf(std::u16string_view id) const;
  // The largest CreateTime from 0 up and the Addr of its record; 0 and 0 without records.
  LONG LatestTime() const { return latest_time_; }
  LONG LatestAddr() const { return latest_addr_; }

 private:
  struct Message {
    OffMsgConversation conversation;  // its first record, and how many there are
    size_t last = 0;                  // the position of its last record in the file
    std::vector<OffMsgBody> bodies;
  };

  // Takes a batch of records in file order.
  void Add(const OffMsgRecordBatch& batch);

  bool readable_ = false;
  size_t records_ = 0;  // taken so far
  LONG sum_ = -1;
  std::vector<Message> messages_;                     // in the order of their first records
  std::unordered_map<std::u16string, size_t> by_id_;  // lower-cased MsgID -> messages_
  LONG latest_time_ = 0, latest_addr_ = 0;
};

}  // namespace vk
