#include "messages/OffMsgIndexView.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <functional>
#include <memory>
#include <system_error>
#include <thread>

#include "platform/BatchQueue.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "storage/LeadingDigits.h"
#include "storage/OffMsgIndexScan.h"

namespace vk {

// Records as the parser hands them on: their texts raw and back to back, so that the parser
// spends no time making strings.
struct OffMsgRecordBatch {
  enum Field { kMsgId, kSender, kReceivers, kType, kSessionDesc, kTitle, kFields };
  static constexpr std::string_view kNames[kFields] = {"MsgID", "Sender",      "Recievers",
                                                       "Type",  "SessionDesc", "Title"};
  static constexpr size_t kRecords = 2048;
  struct Record {
    LONG create_time, addr, len;
    std::array<size_t, kFields + 1> at;  // where each text starts in `bytes`, then the end
  };

  // One pass over the record's attributes: a name seen twice makes the file malformed, so the
  // first of each is the one.
  void Append(const OffMsgAttributes& a) {
    std::array<std::string_view, kFields> texts{};
    std::string_view created, addr, len;
    a.ForEach([&](std::string_view name, std::string_view value) {
      if (name == "CreateTime") {
        created = value;
      } else if (name == "Addr") {
        addr = value;
      } else if (name == "Len") {
        len = value;
      } else {
        for (size_t field = 0; field < kFields; ++field) {
          if (name == kNames[field]) texts[field] = value;
        }
      }
    });
    Record record{
        ParseLeadingDigits(created), ParseLeadingDigits(addr), ParseLeadingDigits(len), {}};
    for (size_t field = 0; field < kFields; ++field) {
      record.at[field] = bytes.size();
      bytes.append(texts[field]);
    }
    record.at[kFields] = bytes.size();
    records.push_back(record);
  }
  // A text as UTF-8; absent reads as empty.
  std::string Text(const Record& record, Field field) const {
    return OffMsgAttributes::Unescape(
        std::string_view(bytes).substr(record.at[field], record.at[field + 1] - record.at[field]));
  }
  bool Full() const { return records.size() == kRecords; }

  std::string bytes;
  std::vector<Record> records;
};

namespace {

// Below this size an index is read on the calling thread: a second thread would cost more
// than it saves.
constexpr uintmax_t kThreadedFrom = 1 << 20;

// The id as the store compares it: lower-cased unit by unit. Most ids are ASCII, which
// folds without a table.
std::u16string LowerKey(const std::string& utf8) {
  if (std::all_of(utf8.begin(), utf8.end(), [](char c) { return (c & 0x80) == 0; })) {
    std::u16string key(utf8.size(), u'\0');
    for (size_t i = 0; i < utf8.size(); ++i) {
      char c = utf8[i];
      key[i] = static_cast<char16_t>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    }
    return key;
  }
  return WideToLower(FromUtf8(utf8));
}

}  // namespace

void OffMsgIndexView::Add(const OffMsgRecordBatch& batch) {
  using Batch = OffMsgRecordBatch;
  for (const Batch::Record& record : batch.records) {
    const std::string id = batch.Text(record, Batch::kMsgId);
    const LONG created = record.create_time;
    OffMsgBody body{created,
                    record.addr,
                    record.len,
                    batch.Text(record, Batch::kSender),
                    batch.Text(record, Batch::kReceivers),
                    batch.Text(record, Batch::kType)};
    if (created >= latest_time_) {  // ties go to the later record
      latest_time_ = created;
      latest_addr_ = body.addr;
    }
    auto [found, added] = by_id_.try_emplace(LowerKey(id), messages_.size());
    if (added) {
      // The conversation shows its first record's texts; only those are turned into text.
      Message message;
      message.conversation = {.msg_id = FromUtf8(id),
                              .create_time = created,
                              .session_desc = FromUtf8(batch.Text(record, Batch::kSessionDesc)),
                              .actor = FromUtf8(body.receivers),
                              .title = FromUtf8(batch.Text(record, Batch::kTitle)),
                              .type = FromUtf8(body.type)};
      messages_.push_back(std::move(message));
    } else {
      ++messages_[found->second].conversation.count;
    }
    Message& message = messages_[found->second];
    message.last = records_++;
    message.bodies.push_back(std::move(body));
  }
}

OffMsgIndexView OffMsgIndexView::Read(std::u16string_view path) {
  OffMsgIndexView view;
  LONG sum = -1;
  auto root = [&](const OffMsgAttributes& a) { sum = a.Int("DataSum"); };
  BatchQueue<OffMsgRecordBatch> queue;
  std::error_code ec;
  const uintmax_t size = std::filesystem::file_size(PathToNative(path), ec);
  bool threaded = !ec && size >= kThreadedFrom;
  auto batch = std::make_unique<OffMsgRecordBatch>();
  // A full batch goes to the grouping side: the other thread, or this one when there is none.
  // A batch the grouping side no longer takes is dropped with the queue.
  auto hand_on = [&] {
    if (threaded) {
      queue.Push(std::move(batch));
    } else {
      view.Add(*batch);
    }
    batch = std::make_unique<OffMsgRecordBatch>();
  };
  auto record = [&](const OffMsgAttributes& a) {
    batch->Append(a);
    if (batch->Full()) hand_on();
  };
  auto scan = [&] {
    bool read = OffMsgIndexScan::Scan(path, root, record);
    if (read) hand_on();
    return read;
  };
  std::thread parser;
  if (threaded) {
    try {
      parser = std::thread([&] {
        bool read = false;
        try {
          read = scan();
        } catch (const std::bad_alloc&) {
          // Out of memory: the file reads as unreadable.
        }
        queue.Finish(!read);
      });
    } catch (const std::system_error&) {
      threaded = false;  // no thread to be had: the file is read on this one
    }
  }
  bool read = false;
  if (threaded) {
    queue.TakeWhileReading(parser, [&] {
      while (std::unique_ptr<OffMsgRecordBatch> taken = queue.Pop()) view.Add(*taken);
    });
    read = !queue.Failed();
  } else {
    read = scan();
  }
  if (!read) return OffMsgIndexView();
  view.sum_ = sum;
  view.readable_ = true;
  return view;
}

std::optional<LONG> OffMsgIndexView::ReadSum(std::u16string_view path) {
  LONG sum = -1;
  if (!OffMsgIndexScan::Scan(
          path, [&](const OffMsgAttributes& a) { sum = a.Int("DataSum"); },
          [](const OffMsgAttributes&) {})) {
    return std::nullopt;
  }
  return sum;
}

std::optional<LONG> OffMsgIndexView::ReadRootSum(std::u16string_view path) {
  LONG sum = -1;
  if (!OffMsgIndexScan::ScanRoot(path, [&](const OffMsgAttributes& a) { sum = a.Int("DataSum"); }))
    return std::nullopt;
  return sum;
}

std::vector<const OffMsgConversation*> OffMsgIndexView::Conversations() const {
  // A conversation goes to the end of the list with each of its records: the list follows
  // the conversations' last records.
  std::vector<const Message*> by_last;
  by_last.reserve(messages_.size());
  for (const Message& m : messages_) by_last.push_back(&m);
  std::sort(by_last.begin(), by_last.end(),
            [](const Message* a, const Message* b) { return a->last < b->last; });
  std::vector<const OffMsgConversation*> order;
  order.reserve(by_last.size());
  for (const Message* m : by_last) order.push_back(&m->conversation);
  return order;
}

const std::vector<OffMsgBody>& OffMsgIndexView::BodiesOf(std::u16string_view id) const {
  static const std::vector<OffMsgBody> kNone;
  auto found = by_id_.find(WideToLower(id));
  return found != by_id_.end() ? messages_[found->second].bodies : kNone;
}

}  // namespace vk
