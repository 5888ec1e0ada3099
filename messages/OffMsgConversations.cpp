#include "messages/OffMsgConversations.h"

#include <algorithm>

#include "messages/OffMsgIndexView.h"

namespace vk {

void OffMsgConversations::Add(std::shared_ptr<const OffMsgIndexView> view, bool discussion) {
  const bool merging = !placed_.empty();
  if (merging && by_key_.empty()) {
    by_key_.reserve(placed_.size() + view->Conversations().size());
    for (size_t i = 0; i < placed_.size(); ++i) by_key_.emplace(placed_[i].key, i);
  }
  for (const OffMsgIndexView::Listed& listed : view->Conversations()) {
    const OffMsgConversation* c = listed.conversation;
    if (merging) {
      auto [found, added] = by_key_.try_emplace(listed.key, placed_.size());
      if (!added) {
        Placed& placed = placed_[found->second];
        placed.entry.count += c->count;
        placed.moved_to = places_++;
        moved_ = true;
        continue;
      }
    }
    placed_.push_back({{c, c->count, discussion}, listed.key, places_++});
  }
  views_.push_back(std::move(view));
}

std::vector<OffMsgConversations::Entry> OffMsgConversations::InOrder() const {
  std::vector<const Placed*> order;
  order.reserve(placed_.size());
  for (const Placed& p : placed_) order.push_back(&p);
  if (moved_) {
    std::sort(order.begin(), order.end(),
              [](const Placed* a, const Placed* b) { return a->moved_to < b->moved_to; });
  }
  std::vector<Entry> entries;
  entries.reserve(order.size());
  for (const Placed* p : order) entries.push_back(p->entry);
  return entries;
}

}  // namespace vk
