#include "messages/OffMsgConversations.h"

#include "platform/Text.h"

namespace vk {

void OffMsgConversations::Add(OffMsgConversation record) {
  std::u16string key = WideToLower(record.msg_id);
  auto found = by_key_.find(key);
  if (found == by_key_.end()) {
    order_.push_back(std::move(record));
    by_key_.emplace(std::move(key), std::prev(order_.end()));
    return;
  }
  found->second->count += record.count;
  order_.splice(order_.end(), order_, found->second);
}

}  // namespace vk
