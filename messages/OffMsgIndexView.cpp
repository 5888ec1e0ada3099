#include "messages/OffMsgIndexView.h"

#include <algorithm>

#include "platform/Text.h"
#include "storage/OffMsgIndexScan.h"

namespace vk {
namespace {

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

OffMsgIndexView OffMsgIndexView::Read(std::u16string_view path) {
  OffMsgIndexView view;
  size_t position = 0;
  auto root = [&](const OffMsgAttributes& a) { view.sum_ = a.Int("DataSum"); };
  auto record = [&](const OffMsgAttributes& a) {
    const std::string id = a.Utf8("MsgID").value_or("");
    const LONG created = a.Int("CreateTime");
    OffMsgBody body{created,
                    a.Int("Addr"),
                    a.Int("Len"),
                    a.Utf8("Sender").value_or(""),
                    a.Utf8("Recievers").value_or(""),
                    a.Utf8("Type").value_or("")};
    if (created >= view.latest_time_) {  // ties go to the later record
      view.latest_time_ = created;
      view.latest_addr_ = body.addr;
    }
    auto [found, added] = view.by_id_.try_emplace(LowerKey(id), view.messages_.size());
    if (added) {
      // The conversation shows its first record's texts; only those are turned into text.
      Message message;
      message.conversation = {.msg_id = FromUtf8(id),
                              .create_time = created,
                              .session_desc = a.Text("SessionDesc"),
                              .actor = FromUtf8(body.receivers),
                              .title = a.Text("Title"),
                              .type = FromUtf8(body.type)};
      view.messages_.push_back(std::move(message));
    } else {
      ++view.messages_[found->second].conversation.count;
    }
    Message& message = view.messages_[found->second];
    message.last = position++;
    message.bodies.push_back(std::move(body));
  };
  if (!OffMsgIndexScan::Scan(path, root, record)) return OffMsgIndexView();
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
