#include "messages/OffMsgIndexCache.h"

#include <algorithm>

namespace vk {

std::shared_ptr<const OffMsgIndexView> OffMsgIndexCache::Get(const std::u16string& path) {
  auto entry = std::find_if(entries_.begin(), entries_.end(),
                            [&](const Entry& e) { return e.path == path; });
  const std::optional<FileIdentity> before = FileIdentity::Of(path);
  if (entry != entries_.end()) {
    if (before && *before == entry->identity) return entry->view;
    entries_.erase(entry);
  }
  auto view = std::make_shared<const OffMsgIndexView>(OffMsgIndexView::Read(path));
  // Kept only when the file did not change while it was read and a later change cannot keep
  // its modification time; a missing or irregular file is read at every call.
  const std::optional<FileIdentity> after = FileIdentity::Of(path);
  if (before && after && *before == *after && after->Settled()) {
    if (entries_.size() == kEntries) entries_.erase(entries_.begin());
    entries_.push_back({path, *after, view});
  }
  return view;
}

}  // namespace vk
