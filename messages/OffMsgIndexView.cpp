#include "messages/OffMsgIndexView.h"

#include <algorithm>
#include <array>
#include <memory>
#include <system_error>
#include <thread>

#include "platform/ReadableFile.h"
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
  // A text as it stands in the file (escaped ampersands left in); absent reads as empty.
  std::string_view Raw(const Record& record, Field field) const {
    return std::string_view(bytes).substr(record.at[field],
                                          record.at[field + 1] - record.at[field]);
  }
  // The same as UTF-8 text.
  std::string Text(const Record& record, Field field) const {
    return OffMsgAttributes::Unescape(Raw(record, field));
  }
  bool Full() const { return records.size() == kRecords; }

  std::string bytes;
  std::vector<Record> records;
};

namespace {

// Below this size an index is read on the calling thread alone: a second thread would cost
// more than it saves.
constexpr int64_t kSplitFrom = 1 << 20;

// The id as the store compares it, lower-cased unit by unit, into `key`. Most ids are ASCII,
// which folds without a table or a copy.
void LowerKey(std::string_view raw, std::u16string& key) {
  const bool plain = std::all_of(raw.begin(), raw.end(), [](char c) { return (c & 0x80) == 0; });
  if (!plain || raw.find('&') != std::string_view::npos) {
    key = WideToLower(FromUtf8(OffMsgAttributes::Unescape(raw)));
    return;
  }
  key.resize(raw.size());
  for (size_t i = 0; i < raw.size(); ++i) {
    char c = raw[i];
    key[i] = static_cast<char16_t>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
  }
}

}  // namespace

void OffMsgIndexView::Add(const OffMsgRecordBatch& batch) {
  using Batch = OffMsgRecordBatch;
  std::u16string key;
  for (const Batch::Record& record : batch.records) {
    const LONG created = record.create_time;
    if (created >= latest_time_) {  // ties go to the later record
      latest_time_ = created;
      latest_addr_ = record.addr;
    }
    const size_t at = records_.size();
    records_.push_back({created, record.addr, record.len, texts_.size()});
    // An attribute value holds no zero character, so a zero byte ends each text.
    for (Batch::Field field : {Batch::kSender, Batch::kReceivers, Batch::kType}) {
      texts_.append(batch.Raw(record, field));
      texts_.push_back('\0');
    }
    LowerKey(batch.Raw(record, Batch::kMsgId), key);
    auto found = by_id_.find(key);
    if (found != by_id_.end()) {
      Message& message = messages_[found->second];
      ++message.conversation.count;
      records_[message.last].next = at;
      message.last = at;
      continue;
    }
    // The conversation shows its first record's texts; only those are turned into text.
    auto text = [&](Batch::Field field) { return FromUtf8(batch.Text(record, field)); };
    Message message{.conversation = {.msg_id = text(Batch::kMsgId),
                                     .create_time = created,
                                     .session_desc = text(Batch::kSessionDesc),
                                     .actor = text(Batch::kReceivers),
                                     .title = text(Batch::kTitle),
                                     .type = text(Batch::kType)},
                    .first = at,
                    .last = at};
    message.key = &by_id_.emplace(key, messages_.size()).first->first;
    messages_.push_back(std::move(message));
  }
}

void OffMsgIndexView::List() {
  // A conversation goes to the end of the list with each of its records: the list follows
  // the conversations' last records.
  std::vector<const Message*> by_last;
  by_last.reserve(messages_.size());
  for (const Message& m : messages_) by_last.push_back(&m);
  std::sort(by_last.begin(), by_last.end(),
            [](const Message* a, const Message* b) { return a->last < b->last; });
  listing_.reserve(by_last.size());
  for (const Message* m : by_last) listing_.push_back({&m->conversation, *m->key});
}

namespace {

using Batches = std::vector<std::unique_ptr<OffMsgRecordBatch>>;

// Scans a part of the index, handing each full batch, then the last one, to `take`; `sum`
// (when given) receives the root's DataSum.
template <typename Take>
bool ScanInto(ReadableFile& file, const OffMsgIndexScan::Part& part, LONG* sum, Take&& take) {
  auto batch = std::make_unique<OffMsgRecordBatch>();
  auto root = [&](const OffMsgAttributes& a) {
    if (sum != nullptr) *sum = a.Int("DataSum");
  };
  auto record = [&](const OffMsgAttributes& a) {
    batch->Append(a);
    if (!batch->Full()) return;
    take(std::move(batch));
    batch = std::make_unique<OffMsgRecordBatch>();
  };
  if (!OffMsgIndexScan::Scan(file, part, root, record)) return false;
  take(std::move(batch));
  return true;
}

}  // namespace

bool OffMsgIndexView::ReadWhole(ReadableFile& file) {
  return ScanInto(file, OffMsgIndexScan::Part{}, &sum_,
                  [&](std::unique_ptr<OffMsgRecordBatch> batch) { Add(*batch); });
}

std::optional<bool> OffMsgIndexView::ReadInTwo(ReadableFile& file,
                                               const OffMsgIndexScan::Split& split) {
  // This thread parses the second part and keeps its batches; the other reads the first
  // part into the view. Out of memory or without a thread, the split is given up.
  bool first = false;
  std::thread other;
  try {
    other = std::thread([&] {
      try {
        first = ScanInto(file, split.First(), &sum_,
                         [&](std::unique_ptr<OffMsgRecordBatch> batch) { Add(*batch); });
      } catch (...) {
        // Out of memory, most likely: the whole read that follows meets it on the caller's
        // thread.
      }
    });
  } catch (const std::system_error&) {
    return std::nullopt;
  }
  Batches later;
  bool second = false;
  try {
    second = ScanInto(file, split.Second(), nullptr, [&](std::unique_ptr<OffMsgRecordBatch> batch) {
      later.push_back(std::move(batch));
    });
  } catch (const std::bad_alloc&) {
    other.join();
    return std::nullopt;
  } catch (...) {
    other.join();
    throw;
  }
  other.join();
  if (!first) return std::nullopt;  // not split between two records, or damaged before
  if (!second) return false;
  for (const auto& batch : later) Add(*batch);
  return true;
}

OffMsgIndexView OffMsgIndexView::Read(std::u16string_view path) {
  ReadableFile file(path);
  if (!file.IsOpen()) return OffMsgIndexView();
  OffMsgIndexView view;
  std::optional<bool> read;
  if (file.Size() >= kSplitFrom) {
    // The part this thread parses also waits for the other's grouping: it gets less.
    if (std::optional<OffMsgIndexScan::Split> split = OffMsgIndexScan::FindSplit(file, 0.45)) {
      read = view.ReadInTwo(file, *split);
      if (!read) view = OffMsgIndexView();
    }
  }
  if (!read) read = view.ReadWhole(file);
  if (!*read) return OffMsgIndexView();
  view.readable_ = true;
  view.List();
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

std::vector<OffMsgBody> OffMsgIndexView::BodiesOf(std::u16string_view id) const {
  std::vector<OffMsgBody> bodies;
  auto found = by_id_.find(WideToLower(id));
  if (found == by_id_.end()) return bodies;
  for (size_t at = messages_[found->second].first; at != kNone; at = records_[at].next) {
    const Record& record = records_[at];
    OffMsgBody body{record.create_time, record.addr, record.len, {}, {}, {}};
    std::string_view texts = std::string_view(texts_).substr(record.texts);
    for (std::string* text : {&body.sender, &body.receivers, &body.type}) {
      const size_t end = texts.find('\0');
      *text = OffMsgAttributes::Unescape(texts.substr(0, end));
      texts.remove_prefix(end + 1);
    }
    bodies.push_back(std::move(body));
  }
  return bodies;
}

}  // namespace vk
