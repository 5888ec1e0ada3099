// What the operations that only read an index take from it, gathered in one pass over the
// file: its DataSum, its records grouped by conversation, the records of each message id with
// the place of their bodies, and the latest record.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "messages/OffMsgConversations.h"
#include "storage/OffMsgIndexScan.h"
#include "vaultkit/vkcom.h"

namespace vk {

class ReadableFile;
struct OffMsgRecordBatch;

// One record of a message id: where its body lies and what the fetched item shows (texts in
// UTF-8, made only for the message fetched).
struct OffMsgBody {
  LONG create_time = 0, addr = 0, len = 0;
  std::string sender, receivers, type;
};

class OffMsgIndexView {
 public:
  // A conversation of the listing and its MsgID as the store compares it (lower-cased).
  struct Listed {
    const OffMsgConversation* conversation;
    std::u16string_view key;
  };

  OffMsgIndexView() = default;
  // The listing points into the view: it moves with it and is never copied.
  OffMsgIndexView(OffMsgIndexView&&) = default;
  OffMsgIndexView& operator=(OffMsgIndexView&&) = default;
  OffMsgIndexView(const OffMsgIndexView&) = delete;
  OffMsgIndexView& operator=(const OffMsgIndexView&) = delete;

  // Reads the index through; a large one in two halves, the first on a thread of its own (see
  // OffMsgIndexScan::Split). A file that does not read to its end (missing, damaged, cut
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
  const std::vector<Listed>& Conversations() const { return listing_; }
  // The records whose MsgID equals the id regardless of case, in file order.
  std::vector<OffMsgBody> BodiesOf(std::u16string_view id) const;
  // The largest CreateTime from 0 up and the Addr of its record; 0 and 0 without records.
  LONG LatestTime() const { return latest_time_; }
  LONG LatestAddr() const { return latest_addr_; }

 private:
  static constexpr size_t kNone = SIZE_MAX;
  // A record as kept: a few words, its texts in `texts_` (a body's texts are made only when
  // its message is fetched), and the next record of its message id.
  struct Record {
    LONG create_time, addr, len;
    size_t texts;  // Sender, Recievers and Type as read, each ended by a zero byte
    size_t next = kNone;
  };
  struct Message {
    OffMsgConversation conversation;      // its first record, and how many there are
    size_t first = 0, last = 0;           // its first and last records (the last one's position
                                          // in the file places it in the listing)
    const std::u16string* key = nullptr;  // in by_id_
  };

  // Takes a batch of records in file order.
  void Add(const OffMsgRecordBatch& batch);
  // Read the records and the sum into this empty view: true when the file reads through.
  bool ReadWhole(ReadableFile& file);
  // The same on two threads; none when the first part does not read, and the view must be
  // emptied and the file read whole.
  std::optional<bool> ReadInTwo(ReadableFile& file, const OffMsgIndexScan::Split& split);
  // The listing, once every record is in.
  void List();

  bool readable_ = false;
  LONG sum_ = -1;
  std::vector<Record> records_;
  std::string texts_;
  std::vector<Message> messages_;                     // in the order of their first records
  std::unordered_map<std::u16string, size_t> by_id_;  // lower-cased MsgID -> messages_
  std::vector<Listed> listing_;
  LONG latest_time_ = 0, latest_addr_ = 0;
};

}  // namespace vk
