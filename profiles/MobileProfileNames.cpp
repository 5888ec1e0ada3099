#include "profiles/MobileProfileNames.h"

#include "platform/Text.h"

namespace vk {

std::u16string EntryName(const DomNode& entry) {
  return entry.IsElement() ? entry.GetAttribute(u"Name").value_or(std::u16string())
                           : std::u16string();
}

void MobileProfileNames::Reset() {
  built_ = false;
  all_elements_ = true;
  counts_.clear();
}

void MobileProfileNames::Build(const DomNode& root) {
  Reset();
  DomNode child = root.FirstChild();
  for (; child.IsElement(); child = child.NextSibling()) ++counts_[WideToLower(EntryName(child))];
  all_elements_ = child.IsNull();
  built_ = true;
}

bool MobileProfileNames::Taken(const DomNode& root, std::u16string_view name) {
  if (!built_) Build(root);
  auto found = counts_.find(WideToLower(name));
  return found != counts_.end() && found->second > 0;
}

void MobileProfileNames::Appended(const DomNode& entry) {
  if (built_ && all_elements_) ++counts_[WideToLower(EntryName(entry))];
}

void MobileProfileNames::Removing(const DomNode& child, bool leading) {
  if (!built_ || !leading) return;
  auto found = counts_.find(WideToLower(EntryName(child)));
  if (found != counts_.end() && found->second > 0) --found->second;
}

}  // namespace vk
