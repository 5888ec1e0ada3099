// Index records grouped by conversation (MsgID regardless of case), in the order the
// client's list takes them: a new conversation goes to the end, and so does a conversation
// that gets another record; its attributes stay those of its first record. One channel's
// conversations added to another's in their order give what adding the records one by one
// gives.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "vaultkit/vkcom.h"

namespace vk {

class OffMsgIndexView;

struct OffMsgConversation {
  std::u16string msg_id;
  LONG count = 1;  // the records it stands for
  LONG create_time = 0;
  std::u16string session_desc, actor, title, type;
};

class OffMsgConversations {
 public:
  struct Entry {
    const OffMsgConversation* first;  // as its first channel read it
    LONG count;                       // in both channels
    bool discussion;  // first seen in the discussion channel's pass, not the IM one's
  };

  // Adds a channel's conversations in their order; the list keeps the view it points into.
  void Add(std::shared_ptr<const OffMsgIndexView> view, bool discussion);
  std::vector<Entry> InOrder() const;

 private:
  struct Placed {
    Entry entry;
    std::u16string_view key;
    size_t moved_to;  // its place in the list: the later, the further down
  };

  std::vector<std::shared_ptr<const OffMsgIndexView>> views_;
  std::vector<Placed> placed_;
  // Filled when a second channel comes: the conversations within one channel are distinct.
  std::unordered_map<std::u16string_view, size_t> by_key_;
  size_t places_ = 0;
  bool moved_ = false;
};

}  // namespace vk
