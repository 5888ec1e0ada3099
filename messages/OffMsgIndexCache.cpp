#include "messages/OffMsgIndexCache.h"

#include <algorithm>

namespace vk {

OffMsgIndexCache::Entry* OffMsgIndexCache::Current(const std::u16string& path,
                                                   const std::optional<FileIdentity>& now) {
  auto entry = std::find_if(entries_.begin(), entries_.end(),
                            [&](const Entry& e) { return e.path == path; });
  if (entry == entries_.end()) return nullptr;
  if (now && *now == entry->identity) return &*entry;
  entries_.erase(entry);
  return nullptr;
}

OffMsgIndexCache::Entry* OffMsgIndexCache::Keep(const std::u16string& path,
                                                const std::optional<FileIdentity>& before) {
  const std::optional<FileIdentity> after = FileIdentity::Of(path);
  if (!before || !after || *before != *after || !after->Settled()) return nullptr;
  if (Entry* entry = Current(path, after)) return entry;
  if (entries_.size() == kEntries) entries_.erase(entries_.begin());
  Entry entry;
  entry.path = path;
  entry.identity = *after;
  entries_.push_back(std::move(entry));
  return &entries_.back();
}

std::optional<LONG> OffMsgIndexCache::Sum(const std::u16string& path) {
  const std::optional<FileIdentity> before = FileIdentity::Of(path);
  if (Entry* entry = Current(path, before)) {
    if (entry->view)
      return entry->view->Readable() ? std::optional(entry->view->Sum()) : std::nullopt;
    if (entry->sum_read) return entry->sum;
  }
  std::optional<LONG> sum = OffMsgIndexView::ReadSum(path);
  if (Entry* entry = Keep(path, before)) {
    entry->sum_read = true;
    entry->sum = sum;
  }
  return sum;
}

std::optional<LONG> OffMsgIndexCache::CountedSum(const std::u16string& path) {
  const std::optional<FileIdentity> before = FileIdentity::Of(path);
  const Entry* entry = Current(path, before);
  // A file already read through answers as it does for Sum.
  if (entry != nullptr && (entry->view || entry->sum_read)) return Sum(path);
  if (entry != nullptr && entry->root_sum) return entry->root_sum;
  if (std::optional<LONG> sum = OffMsgIndexView::ReadRootSum(path)) {
    if (Entry* kept = Keep(path, before)) kept->root_sum = sum;
    return sum;
  }
  return Sum(path);
}

std::shared_ptr<const OffMsgIndexView> OffMsgIndexCache::View(const std::u16string& path) {
  const std::optional<FileIdentity> before = FileIdentity::Of(path);
  Entry* entry = Current(path, before);
  if (entry != nullptr && entry->view) return entry->view;
  auto view = std::make_shared<const OffMsgIndexView>(OffMsgIndexView::Read(path));
  if (Entry* kept = Keep(path, before)) kept->view = view;
  return view;
}

}  // namespace vk
