// Index records grouped by conversation (MsgID regardless of case), in the order the
// client's list takes them: a new conversation goes to the end, and so does a conversation
// that gets another record; its attributes stay those of its first record. One channel's
// conversations added to another's in their order give what adding the records one by one
// gives.
#pragma once

#include <list>
#include <string>
#include <unordered_map>

#include "vaultkit/vkcom.h"

namespace vk {

struct OffMsgConversation {
  std::u16string msg_id;
  LONG count = 1;  // the records it stands for
  LONG create_time = 0;
  std::u16string session_desc, actor, title, type;
  bool discussion = false;  // first seen in the discussion channel's pass, not the IM one's
};

class OffMsgConversations {
 public:
  void Add(OffMsgConversation record);
  const std::list<OffMsgConversation>& InOrder() const { return order_; }

 private:
  std::list<OffMsgConversation> order_;
  std::unordered_map<std::u16string, std::list<OffMsgConversation>::iterator> by_key_;
};

}  // namespace vk
